#include "ride.h"

#include <math.h>

enum { DAY_SECONDS = 24 * 60 * 60, RECORDING_SECONDS = 180 };

/* Return the sum of two slow waves, which repeats rarely; from -1 to 1. */
static double wave(double seconds, double period) {
  return 0.7 * sin(6.2832 * seconds / period) + 0.3 * sin(6.2832 * seconds / (period * 0.37));
}

struct ride ride_at(int start_seconds, int half_seconds) {
  const double moment = start_seconds + half_seconds / 2.0;
  const int of_day = (start_seconds + half_seconds / 2) % DAY_SECONDS;
  const struct ride ride = {
      .hour = of_day / 3600,
      .minute = of_day / 60 % 60,
      .second = of_day % 60,
      .is_lit = half_seconds % 2 == 0,
      .recorded_seconds = of_day % RECORDING_SECONDS,
      .speed_kmh = (int)lround(72 + 9 * wave(moment, 40)),
      .limit_kmh = 80,
      .gap_m = (int)lround(28 + 5 * wave(moment, 31)),
      .satellites = 11 + of_day / 60 % 3,
      .battery_percent = 84,
      .supply_mv = (int)lround(13800 + 150 * wave(moment, 23)),
  };
  return ride;
}
