/* The ride that the demonstration shows: made-up readings that depend on the time alone. */
#ifndef RIDE_H
#define RIDE_H

struct ride {
  int hour, minute, second;
  int is_lit;           /* the recording mark blinks */
  int recorded_seconds; /* since the recording began */
  int speed_kmh, limit_kmh;
  int gap_m; /* to the car ahead */
  int satellites;
  int battery_percent;
  int supply_mv;
};

/* The readings so many half seconds after a time of day in seconds. */
struct ride ride_at(int start_seconds, int half_seconds);

#endif
