#include "widgets.h"

#include "board.h"
#include "camera.h"
#include "volume.h"
#include "words.h"

#include <math.h>
#include <stdio.h>

/* --------------------------------------------------------------------------------------------- the bar */

static void battery(int x, int middle, int percent) {
  icon(x, middle, ICONS_STATUS_BATTERY, DRAVIK_WHITE, DRAVIK_BLACK);
  fill(x - 11, middle - 5, 19, 10, DRAVIK_BLACK);
  fill(x - 11, middle - 5, 19 * percent / 100, 10, percent > 20 ? DRAVIK_WHITE : DRAVIK_RED);
}

/* Draw a red spot that blinks while recording, a sign for the parked car, or a warning. */
static void state_mark(const struct ride *ride) {
  const enum camera_state state = camera_state();
  if (state != CAMERA_PARKED && !ride->is_lit)
    fill(12, 7, 29, 28, DRAVIK_BLACK);
  else if (state == CAMERA_RECORDING)
    icon(26, 21, ICONS_STATUS_REC, DRAVIK_RED, DRAVIK_BLACK);
  else if (state == CAMERA_PARKED)
    icon(26, 21, ICONS_TITLE_PARKING, DRAVIK_WHITE, DRAVIK_BLACK);
  else
    icon(26, 21, ICONS_TITLE_WARNING, DRAVIK_RED, DRAVIK_BLACK);
}

static const char *state_word(void) {
  static const char *const words[] = {
      [CAMERA_RECORDING] = "REC",     [CAMERA_PARKED] = "PARK",     [CAMERA_CARD_FULL] = "FULL",
      [CAMERA_CARD_MISSING] = "CARD", [CAMERA_CARD_ERROR] = "CARD",
  };
  return words[camera_state()];
}

void status_clock(const struct ride *ride) {
  char clock[16];
  snprintf(clock, sizeof clock, "%02d:%02d:%02d", ride->hour, ride->minute, ride->second);
  digits(canvas_width() / 2, 21, DIGITS_SMALL, clock, DRAVIK_BLACK, CENTRE);
  state_mark(ride);
  fill(106, 9, 80, 24, DRAVIK_BLACK);
  if (camera_is_recording())
    text(106, 21, FONT_BODY, SILVER, LEFT, "%02d:%02d", ride->recorded_seconds / 60,
         ride->recorded_seconds % 60);
}

void status_bar(const struct ride *ride) {
  const int right = canvas_width();
  fill(0, 0, right, STATUS_BAR - 2, DRAVIK_BLACK);
  fill(0, STATUS_BAR - 2, right, 2, get_theme_color());
  text(46, 21, FONT_TITLE, DRAVIK_WHITE, LEFT, "%s", state_word());
  status_clock(ride);
  battery(right - 32, 21, ride->battery_percent);
  icon(right - 72, 21, ICONS_STATUS_SD, camera_is_recording() ? DRAVIK_WHITE : DRAVIK_RED, DRAVIK_BLACK);
  icon(right - 108, 21, ICONS_STATUS_MIC, microphone_is_on() ? DRAVIK_WHITE : DRAVIK_GREY, DRAVIK_BLACK);
  icon(right - 144, 21, ICONS_STATUS_WIFI, DRAVIK_WHITE, DRAVIK_BLACK);
  text(right - 170, 21, FONT_BODY, SILVER, RIGHT, "%d", ride->satellites);
  icon(right - 210, 21, ICONS_STATUS_GPS, DRAVIK_WHITE, DRAVIK_BLACK);
}

void page(const struct ride *ride, enum icons_image art, const char *title, const char *remark) {
  const int middle = STATUS_BAR + TITLE_BAR / 2 + 2;
  backdrop(STATUS_BAR + TITLE_BAR);
  fill(0, STATUS_BAR, canvas_width(), TITLE_BAR, DRAVIK_BLACK);
  status_bar(ride);
  icon(MARGIN + 14, middle, art, DRAVIK_WHITE, DRAVIK_TRANSPARENT);
  words(MARGIN + 42, middle, WORDS_TITLE, DRAVIK_BLACK, LEFT, title);
  text(canvas_width() - MARGIN, middle, FONT_BODY, SILVER, RIGHT, "%s", remark);
}

/* ----------------------------------------------------------------------------------------- small parts */

static void framed(int x, int y, int width, int height, int is_selected, uint16_t ground) {
  fill(x, y, width, height, is_selected ? get_theme_color() : ground);
  if (is_selected)
    frame(x, y, width, height, DRAVIK_WHITE, 2);
  else
    outline(x, y, width, height, EDGE);
}

void card(int x, int y, int width, int height, int is_selected) {
  framed(x, y, width, height, is_selected, CARD);
}

void plate(int x, int y, int width, int height, int is_selected) {
  framed(x, y, width, height, is_selected, DRAVIK_BLACK);
}

void toggle(int right, int middle, int is_on, int is_selected) {
  const int radius = 12, left = right - 46;
  const uint16_t body = !is_on ? EDGE : is_selected ? DRAVIK_WHITE : get_theme_color();
  const uint16_t knob = !is_on ? SILVER : is_selected ? get_theme_color() : DRAVIK_WHITE;
  disc(left + radius, middle, radius, body);
  disc(right - radius, middle, radius, body);
  fill(left + radius, middle - radius, 46 - 2 * radius, 2 * radius, body);
  disc(is_on ? right - radius : left + radius, middle, radius - 3, knob);
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

/* Full deflection is 0.5 g. */
void sensor_dial(int x, int y, int radius) {
  const int spot = radius > 60 ? 9 : 6, reach = radius - spot - 2;
  disc(x, y, radius, CARD);
  line(x - radius, y, x + radius, y, EDGE, 1);
  line(x, y - radius, x, y + radius, EDGE, 1);
  ring(x, y, radius / 3, EDGE);
  ring(x, y, 2 * radius / 3, EDGE);
  ring(x, y, radius, DRAVIK_GREY);
  if (board()->has_sensor)
    disc(x + limited(board()->x_mg * reach / 500, reach), y - limited(board()->y_mg * reach / 500, reach),
         spot, get_theme_color());
}

void sensor_axis(int x, int middle, enum font font, enum align align, char name, int mg) {
  if (board()->has_sensor)
    text(x, middle, font, SILVER, align, "%c %+.2f", name, mg / 1000.0);
  else
    text(x, middle, font, DRAVIK_GREY, align, "%c  --  ", name);
}

enum { GAUGE_RADIUS = 94, GAUGE_DOTS = 41, GAUGE_KMH = 160, GAUGE_RED_KMH = 130 };

static uint16_t dot_colour(int dot_kmh, int speed_kmh) {
  if (dot_kmh > speed_kmh)
    return dot_kmh >= GAUGE_RED_KMH ? 0x6000 : EDGE;
  return dot_kmh >= GAUGE_RED_KMH ? DRAVIK_RED : get_theme_color();
}

void speed_gauge_reading(int x, int y, const struct ride *ride) {
  char speed[8];
  for (int i = 0; i < GAUGE_DOTS; ++i) {
    const double turn = (150 + 240.0 * i / (GAUGE_DOTS - 1)) * 0.0174533;
    disc(x + (int)lround(GAUGE_RADIUS * cos(turn)), y + (int)lround(GAUGE_RADIUS * sin(turn)), 4,
         dot_colour(i * GAUGE_KMH / (GAUGE_DOTS - 1), ride->speed_kmh));
  }
  snprintf(speed, sizeof speed, "%2d", ride->speed_kmh);
  digits(x, y, DIGITS_LARGE, speed, DRAVIK_BLACK, CENTRE);
}

void speed_gauge(int x, int y, const struct ride *ride) {
  icon(x, y, ICONS_GAUGE, DRAVIK_WHITE, DRAVIK_BLACK);
  speed_gauge_reading(x, y, ride);
  text(x, y + 62, FONT_BODY, SILVER, CENTRE, "km/h");
}
