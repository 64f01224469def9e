/* Readings of the ride: speed, acceleration, and the state of the camera. */

#include "screens.h"
#include "widgets.h"

#include <stdio.h>

enum { READINGS = 4, READINGS_HEIGHT = 128, READING_GAP = 12 };

static int dials_middle(void) {
  return (STATUS_BAR + canvas_height() - READINGS_HEIGHT - MARGIN) / 2;
}

static int gauge_x(void) {
  return canvas_width() / 4;
}

static int dial_x(void) {
  return canvas_width() * 3 / 4;
}

/* ---------------------------------------------------------------------------------------- acceleration */

static void draw_movement(void) {
  const int x = canvas_width() / 2, y = dials_middle();
  sensor_dial(dial_x(), y, 92);
  fill(x - 50, y - 52, 100, 104, DRAVIK_BLACK);
  sensor_axis(x, y - 38, FONT_BODY, CENTRE, 'X', board()->x_mg);
  sensor_axis(x, y, FONT_BODY, CENTRE, 'Y', board()->y_mg);
  sensor_axis(x, y + 38, FONT_BODY, CENTRE, 'Z', board()->z_mg);
}

/* The directions around the dial. */
static void draw_directions(void) {
  const int x = dial_x(), y = dials_middle(), out = 108;
  arrow(x, y - out, x - 8, y - out + 10, x + 8, y - out + 10, SILVER);
  arrow(x, y + out, x - 8, y + out - 10, x + 8, y + out - 10, SILVER);
  arrow(x - out, y, x - out + 10, y - 8, x - out + 10, y + 8, SILVER);
  arrow(x + out, y, x + out - 10, y - 8, x + out - 10, y + 8, SILVER);
  text(x + 118, y - 92, FONT_SMALL, DRAVIK_GREY, RIGHT, "0.5 g");
}

/* -------------------------------------------------------------------------------------------- readings */

struct reading {
  enum icons_image image;
  const char *label, *unit;
  char figures[16]; /* empty if unknown */
  int percent;      /* for the bar */
};

static int reading_top(void) {
  return canvas_height() - READINGS_HEIGHT - MARGIN;
}

/* The plate of a reading: its left edge, and its width. */
static int reading_width(void) {
  return (canvas_width() - 2 * MARGIN - (READINGS - 1) * READING_GAP) / READINGS;
}

static int reading_x(int index) {
  return MARGIN + index * (reading_width() + READING_GAP);
}

static void draw_card(int index, enum icons_image art, const char *label) {
  const int x = reading_x(index), y = reading_top();
  card(x, y, reading_width(), READINGS_HEIGHT, 0);
  icon(x + 30, y + 30, art, DRAVIK_WHITE, DRAVIK_TRANSPARENT);
  text(x + reading_width() - 14, y + 30, FONT_SMALL, SILVER, RIGHT, "%s", label);
}

static void draw_reading(int index, const struct reading *reading) {
  const int x = reading_x(index), y = reading_top(), width = reading_width() - 28;
  draw_card(index, reading->image, reading->label);
  if (reading->figures[0] == '\0') {
    text(x + 14, y + 74, FONT_HUGE, DRAVIK_GREY, LEFT, "--");
    level(x + 14, y + READINGS_HEIGHT - 20, width, 0, EDGE);
    return;
  }
  digits(x + 14, y + 74, DIGITS_MEDIUM, reading->figures, DRAVIK_TRANSPARENT, LEFT);
  text(x + 14 + width, y + 78, FONT_SMALL, DRAVIK_GREY, RIGHT, "%s", reading->unit);
  level(x + 14, y + READINGS_HEIGHT - 20, width, reading->percent, EDGE);
}

static void draw_temperature(void) {
  struct reading reading = {ICONS_TITLE_TEMPERATURE, "Inside", "C", "", 0};
  if (board()->has_temperature) {
    const int shown = board()->temperature_c10 > 0 ? board()->temperature_c10 : 0;
    snprintf(reading.figures, sizeof reading.figures, "%d.%d", shown / 10, shown % 10);
    reading.percent = shown < 1000 ? shown / 10 : 100;
  }
  draw_reading(2, &reading);
}

static void draw_monitor(void) {
  const int x = reading_x(3), y = reading_top(), is_attached = board()->monitor == 1;
  const char *state = is_attached ? "attached" : board()->monitor == 0 ? "none" : "--";
  draw_card(3, ICONS_TITLE_MONITOR, "HDMI");
  text(x + 14, y + 76, FONT_BODY, is_attached ? DRAVIK_WHITE : DRAVIK_GREY, LEFT, "%s", state);
  level(x + 14, y + READINGS_HEIGHT - 20, reading_width() - 28, is_attached ? 100 : 0, EDGE);
}

static void draw_readings(const struct ride *ride) {
  struct reading satellites = {ICONS_TITLE_GPS, "GPS", "sats", "", ride->satellites * 100 / 16};
  struct reading supply = {ICONS_TITLE_BATTERY, "Supply", "V", "", (ride->supply_mv - 10000) / 50};
  snprintf(satellites.figures, sizeof satellites.figures, "%d", ride->satellites);
  snprintf(supply.figures, sizeof supply.figures, "%.1f", ride->supply_mv / 1000.0);
  draw_reading(0, &satellites);
  draw_reading(1, &supply);
  draw_temperature();
  draw_monitor();
}

void sensor_draw(const struct ride *ride) {
  fb_clear_screen(DRAVIK_BLACK);
  status_bar(ride);
  speed_gauge(gauge_x(), dials_middle(), ride);
  draw_movement();
  draw_directions();
  draw_readings(ride);
}

void sensor_refresh(const struct ride *ride) {
  status_clock(ride);
  speed_gauge_reading(gauge_x(), dials_middle(), ride);
  draw_temperature();
  draw_monitor();
}

void sensor_follow(void) {
  draw_movement();
}
