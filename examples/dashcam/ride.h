/* The ride of the demonstration: invented readings that depend on the time, and on whether the car is parked. */
#ifndef RIDE_H
#define RIDE_H

struct ride {
  int hour, minute, second;
  int is_lit;           /* the recording mark blinks */
  int recorded_seconds; /* since the recording started */
  int speed_kmh, limit_kmh;
  int gap_m; /* to the car ahead */
  int satellites;
  int battery_percent;
  int supply_mv;
};

const struct ride *ride(void);

/* Read at a number of half seconds after a time of day in seconds. */
void ride_go_on(int start_seconds, int half_seconds, int is_parked);

/* Read again, after the clock was set. */
void ride_read(void);

#endif
