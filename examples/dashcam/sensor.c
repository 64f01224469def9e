/* The readings of the ride: speed, acceleration, and the state of the camera. */

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

static void draw_dial(const struct ride *ride) {
  sensor_dial(dial_x(), dials_middle(), 92, ride);
}

/* The directions around the dial. */
static void draw_directions(void) {
  const int x = dial_x(), y = dials_middle(), out = 108;
  arrow(x, y - out, x - 8, y - out + 10, x + 8, y - out + 10, SILVER);
  arrow(x, y + out, x - 8, y + out - 10, x + 8, y + out - 10, SILVER);
  arrow(x - out, y, x - out + 10, y - 8, x - out + 10, y + 8, SILVER);
  arrow(x + out, y, x + out - 10, y - 8, x + out - 10, y + 8, SILVER);
  text(x + 118, y - 92, FONT_SMALL, GREY, RIGHT, "0.5 g");
}

/* -------------------------------------------------------------------------------------------- readings */

struct reading {
  enum icons_image image;
  const char *label, *unit;
  double value;
  int decimals;
  int percent; /* for the bar */
};

static void draw_reading(int index, const struct reading *reading) {
  const int width = (canvas_width() - 2 * MARGIN - (READINGS - 1) * READING_GAP) / READINGS;
  const int x = MARGIN + index * (width + READING_GAP), right = x + width - 14;
  const int y = canvas_height() - READINGS_HEIGHT - MARGIN;
  char figures[16];
  snprintf(figures, sizeof figures, "%.*f", reading->decimals, reading->value);
  card(x, y, width, READINGS_HEIGHT, 0);
  icon(x + 30, y + 30, reading->image, WHITE, CLEAR);
  text(right, y + 30, FONT_SMALL, SILVER, RIGHT, "%s", reading->label);
  digits(x + 14, y + 74, DIGITS_MEDIUM, figures, CLEAR, LEFT);
  text(right, y + 78, FONT_SMALL, GREY, RIGHT, "%s", reading->unit);
  level(x + 14, y + READINGS_HEIGHT - 20, width - 28, reading->percent, EDGE);
}

static void draw_readings(const struct ride *ride) {
  const struct reading readings[READINGS] = {
      {ICONS_TITLE_GPS, "GPS", "sats", ride->satellites, 0, ride->satellites * 100 / 16},
      {ICONS_TITLE_BATTERY, "Supply", "V", ride->supply_mv / 1000.0, 1, (ride->supply_mv - 10000) / 50},
      {ICONS_TITLE_TEMPERATURE, "Inside", "deg C", ride->temperature_c, 0, ride->temperature_c},
      {ICONS_TITLE_SD, "Card", "%", ride->card_percent, 0, ride->card_percent},
  };
  for (int i = 0; i < READINGS; ++i)
    draw_reading(i, &readings[i]);
}

void sensor_draw(const struct ride *ride) {
  fb_clear_screen(BLACK);
  status_bar(ride);
  speed_gauge(gauge_x(), dials_middle(), ride);
  draw_dial(ride);
  draw_directions();
  draw_readings(ride);
}

void sensor_refresh(const struct ride *ride) {
  status_clock(ride);
  speed_gauge_reading(gauge_x(), dials_middle(), ride);
  draw_dial(ride);
}
