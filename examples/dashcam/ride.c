#include "ride.h"

#include "recorder.h"
#include "settings.h"

#include <math.h>

enum { DAY_SECONDS = 24 * 60 * 60 };

static struct ride now;
static struct { int start_seconds, half_seconds, is_parked; } moment;

const struct ride *ride(void) {
  return &now;
}

/* Return the sum of two slow waves, which repeats rarely; from -1 to 1. */
static double wave(double seconds, double period) {
  return 0.7 * sin(6.2832 * seconds / period) + 0.3 * sin(6.2832 * seconds / (period * 0.37));
}

void ride_read(void) {
  const double seconds = moment.start_seconds + moment.half_seconds / 2.0;
  const int whole = moment.start_seconds + moment.half_seconds / 2;
  const int of_day = (whole + setting(SETTING_CLOCK) * 60) % DAY_SECONDS;
  now = (struct ride){
      .hour = of_day / 3600,
      .minute = of_day / 60 % 60,
      .second = of_day % 60,
      .is_lit = moment.half_seconds % 2 == 0,
      .recorded_seconds = whole % RECORDING_SECONDS,
      .speed_kmh = moment.is_parked ? 0 : (int)lround(72 + 9 * wave(seconds, 40)),
      .limit_kmh = 80,
      .gap_m = (int)lround(28 + 5 * wave(seconds, 31)),
      .satellites = 11 + whole / 60 % 3,
      .battery_percent = 84,
      .supply_mv = (int)lround((moment.is_parked ? 12600 : 13800) + 150 * wave(seconds, 23)),
  };
}

void ride_go_on(int start_seconds, int half_seconds, int is_parked) {
  moment.start_seconds = start_seconds;
  moment.half_seconds = half_seconds;
  moment.is_parked = is_parked;
  ride_read();
}
