#include "dials.h"

#include "board.h"
#include "ride.h"

#include <math.h>
#include <stdio.h>

static int limited(int value, int most) {
  return value > most ? most : value < -most ? -most : value;
}

void sensor_dial(int x, int y, int radius, int full_mg, struct level_of_car level) {
  const int spot = radius > 60 ? 9 : radius > 30 ? 6 : 4, reach = radius - spot - 2;
  disc(x, y, radius, SURFACE);
  line(x - radius, y, x + radius, y, EDGE, 1);
  line(x, y - radius, x, y + radius, EDGE, 1);
  ring(x, y, radius / 3, EDGE);
  ring(x, y, 2 * radius / 3, EDGE);
  ring(x, y, radius, MUTED);
  if (!board()->has_sensor)
    return;
  const int right = limited((board()->x_mg - level.x_mg) * reach / full_mg, reach);
  const int forwards = limited((board()->y_mg - level.y_mg) * reach / full_mg, reach);
  disc(x + right, y - forwards, spot, get_theme_color());
}

void sensor_axis(struct place at, char name, int mg) {
  char reading[16];
  if (board()->has_sensor)
    snprintf(reading, sizeof reading, "%c %+.2f", name, mg / 1000.0);
  else
    snprintf(reading, sizeof reading, "%c --", name);
  text_again(at, (struct look){TEXT_SMALL, INK_MUTED, ON_GROUND}, reading);
}

enum { GAUGE_DOTS = 41, GAUGE_KMH = 160 };

enum ink speed_ink(void) {
  return ride()->speed_kmh > ride()->limit_kmh ? INK_WARM : INK_WHITE;
}

static uint16_t dot_colour(int dot_kmh) {
  if (dot_kmh > ride()->speed_kmh || ride()->speed_kmh == 0)
    return EDGE;
  return dot_kmh > ride()->limit_kmh ? WARM : get_theme_color();
}

void speed_gauge_reading(int x, int y) {
  const int radius = pick(94, 46), dot = pick(4, 2);
  char speed[8];
  for (int i = 0; i < GAUGE_DOTS; ++i) {
    const double turn = (150 + 240.0 * i / (GAUGE_DOTS - 1)) * 0.0174533;
    disc(x + (int)lround(radius * cos(turn)), y + (int)lround(radius * sin(turn)), dot,
         dot_colour(i * GAUGE_KMH / (GAUGE_DOTS - 1)));
  }
  snprintf(speed, sizeof speed, "%2d", ride()->speed_kmh);
  digits(x, y, pick(DIGITS_LARGE, DIGITS_MEDIUM), speed_ink(), CENTRE, speed);
}

void speed_gauge(int x, int y) {
  icon(x, y, ICONS_GAUGE, INK_WHITE, ON_GROUND);
  speed_gauge_reading(x, y);
  text((struct place){x, y + pick(62, 30), pick(100, 60), CENTRE},
       (struct look){TEXT_SMALL, INK_MUTED, ON_GROUND}, "km/h");
}
