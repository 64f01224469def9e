#include "widgets.h"

#include "words.h"

#include <math.h>
#include <stdio.h>

/* --------------------------------------------------------------------------------------------- the bar */

static void battery(int x, int middle, int percent) {
  icon(x, middle, ICONS_STATUS_BATTERY, WHITE, BLACK);
  fill(x - 11, middle - 5, 19, 10, BLACK);
  fill(x - 11, middle - 5, 19 * percent / 100, 10, percent > 20 ? WHITE : RED);
}

static void recording_mark(const struct ride *ride) {
  if (ride->is_lit)
    icon(26, 21, ICONS_STATUS_REC, RED, BLACK);
  else
    fill(14, 9, 24, 24, BLACK);
}

void status_clock(const struct ride *ride) {
  char clock[16];
  snprintf(clock, sizeof clock, "%02d:%02d:%02d", ride->hour, ride->minute, ride->second);
  digits(canvas_width() / 2, 21, DIGITS_SMALL, clock, BLACK, CENTRE);
  recording_mark(ride);
  fill(100, 9, 80, 24, BLACK);
  text(100, 21, FONT_BODY, SILVER, LEFT, "%02d:%02d", ride->recorded_seconds / 60,
       ride->recorded_seconds % 60);
}

void status_bar(const struct ride *ride) {
  const int right = canvas_width();
  fill(0, 0, right, STATUS_BAR - 2, BLACK);
  fill(0, STATUS_BAR - 2, right, 2, get_theme_color());
  text(46, 21, FONT_TITLE, WHITE, LEFT, "REC");
  status_clock(ride);
  battery(right - 32, 21, ride->battery_percent);
  icon(right - 72, 21, ICONS_STATUS_SD, WHITE, BLACK);
  icon(right - 108, 21, ICONS_STATUS_MIC, WHITE, BLACK);
  icon(right - 144, 21, ICONS_STATUS_WIFI, WHITE, BLACK);
  text(right - 170, 21, FONT_BODY, SILVER, RIGHT, "%d", ride->satellites);
  icon(right - 210, 21, ICONS_STATUS_GPS, WHITE, BLACK);
}

void page(const struct ride *ride, enum icons_image art, const char *title, const char *remark) {
  const int middle = STATUS_BAR + TITLE_BAR / 2 + 2;
  backdrop(STATUS_BAR + TITLE_BAR);
  fill(0, STATUS_BAR, canvas_width(), TITLE_BAR, BLACK);
  status_bar(ride);
  icon(MARGIN + 14, middle, art, WHITE, CLEAR);
  words(MARGIN + 42, middle, WORDS_TITLE, BLACK, LEFT, title);
  text(canvas_width() - MARGIN, middle, FONT_BODY, SILVER, RIGHT, "%s", remark);
}

/* ----------------------------------------------------------------------------------------- small parts */

static void framed(int x, int y, int width, int height, int is_selected, uint16_t ground) {
  fill(x, y, width, height, is_selected ? get_theme_color() : ground);
  if (is_selected)
    frame(x, y, width, height, WHITE, 2);
  else
    outline(x, y, width, height, EDGE);
}

void card(int x, int y, int width, int height, int is_selected) {
  framed(x, y, width, height, is_selected, CARD);
}

void plate(int x, int y, int width, int height, int is_selected) {
  framed(x, y, width, height, is_selected, BLACK);
}

void toggle(int right, int middle, int is_on) {
  const int radius = 12, left = right - 46;
  const uint16_t body = is_on ? get_theme_color() : EDGE;
  disc(left + radius, middle, radius, body);
  disc(right - radius, middle, radius, body);
  fill(left + radius, middle - radius, 46 - 2 * radius, 2 * radius, body);
  disc(is_on ? right - radius : left + radius, middle, radius - 3, is_on ? WHITE : SILVER);
}

void level(int x, int middle, int width, int percent, uint16_t background) {
  const int done = width * percent / 100;
  fill(x, middle - 4, width, 8, background);
  fill(x, middle - 4, done, 8, get_theme_color());
}

/* ----------------------------------------------------------------------------------------------- dials */

static int limited(int value, int most) {
  return value > most ? most : value < -most ? -most : value;
}

/* A full deflection is half a g. */
void sensor_dial(int x, int y, int radius, const struct ride *ride) {
  const int spot = radius > 60 ? 9 : 6, reach = radius - spot - 2;
  disc(x, y, radius, CARD);
  line(x - radius, y, x + radius, y, EDGE, 1);
  line(x, y - radius, x, y + radius, EDGE, 1);
  ring(x, y, radius / 3, EDGE);
  ring(x, y, 2 * radius / 3, EDGE);
  ring(x, y, radius, GREY);
  disc(x + limited(ride->lateral_mg * reach / 500, reach), y - limited(ride->forward_mg * reach / 500, reach),
       spot, get_theme_color());
}

enum { GAUGE_RADIUS = 94, GAUGE_DOTS = 41, GAUGE_KMH = 160, GAUGE_RED_KMH = 130 };

static uint16_t dot_colour(int dot_kmh, int speed_kmh) {
  if (dot_kmh > speed_kmh)
    return dot_kmh >= GAUGE_RED_KMH ? 0x6000 : EDGE;
  return dot_kmh >= GAUGE_RED_KMH ? RED : get_theme_color();
}

void speed_gauge_reading(int x, int y, const struct ride *ride) {
  char speed[8];
  for (int i = 0; i < GAUGE_DOTS; ++i) {
    const double turn = (150 + 240.0 * i / (GAUGE_DOTS - 1)) * 0.0174533;
    disc(x + (int)lround(GAUGE_RADIUS * cos(turn)), y + (int)lround(GAUGE_RADIUS * sin(turn)), 4,
         dot_colour(i * GAUGE_KMH / (GAUGE_DOTS - 1), ride->speed_kmh));
  }
  snprintf(speed, sizeof speed, "%2d", ride->speed_kmh);
  digits(x, y, DIGITS_LARGE, speed, BLACK, CENTRE);
}

void speed_gauge(int x, int y, const struct ride *ride) {
  icon(x, y, ICONS_GAUGE, WHITE, BLACK);
  speed_gauge_reading(x, y, ride);
  text(x, y + 62, FONT_BODY, SILVER, CENTRE, "km/h");
}
