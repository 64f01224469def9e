/* Readings of the ride: speed, acceleration, and the state of the camera. NEXT changes the range of the dial, OK
 * makes the present position of the car the one without acceleration, and back. */

#include "dials.h"
#include "pages.h"
#include "ride.h"

#include <stddef.h>
#include <stdio.h>

enum { READINGS = 4 };

static const int ranges_mg[] = {500, 1000, 2000};
enum { RANGES = sizeof ranges_mg / sizeof ranges_mg[0] };

static int range, is_levelled;
static struct level_of_car level_of_car;

static int readings_height(void) {
  return pick(124, 62);
}

static int readings_top(void) {
  return page_bottom() - readings_height();
}

static int dials_middle(void) {
  return (bar_height() + title_height() + readings_top()) / 2;
}

/* ---------------------------------------------------------------------------------------- acceleration */

static struct place axis_place(int row) {
  const int pitch = pick(36, 24), first = dials_middle() - 3 * pitch / 2;
  return (struct place){panel_width() / 2, first + row * pitch, pick(96, 62), CENTRE};
}

static void draw_movement(void) {
  sensor_dial(pick(480, 260), dials_middle(), pick(100, 48), ranges_mg[range], level_of_car);
  sensor_axis(axis_place(0), 'X', board()->x_mg - level_of_car.x_mg);
  sensor_axis(axis_place(1), 'Y', board()->y_mg - level_of_car.y_mg);
  sensor_axis(axis_place(2), 'Z', board()->z_mg);
}

/* The full deflection of the dial. */
static void draw_range(void) {
  char text_[16];
  snprintf(text_, sizeof text_, "%.1f g", ranges_mg[range] / 1000.0);
  text_again(axis_place(3), (struct look){TEXT_SMALL, INK_WHITE, ON_GROUND}, text_);
  title_counter(range, RANGES);
}

/* -------------------------------------------------------------------------------------------- readings */

struct reading {
  enum icons_image image;
  const char *unit;
  char figures[16];
  const char *word; /* instead of figures, for what is not a number */
  enum ink ink;
  int percent; /* for the bar of the large panel */
};

static int32_t shown_temperature_c10, shown_monitor;

static int reading_width(void) {
  return (page_width() - (READINGS - 1) * pick(12, 6)) / READINGS;
}

static void draw_reading(int index, const struct reading *reading) {
  const int width = reading_width(), x = margin() + index * (width + pick(12, 6)), pad = pick(16, 6);
  const int top = readings_top(), head = top + pick(28, 15), middle = top + pick(72, 44);
  fill(x, top, width, readings_height(), GROUND);
  frame(x, top, width, readings_height(), EDGE, 1);
  icon(x + pick(30, 16), head, reading->image, INK_WHITE, ON_GROUND);
  text((struct place){x + width - pad, head, width - pick(60, 32), RIGHT},
       (struct look){TEXT_SMALL, INK_MUTED, ON_GROUND}, reading->unit);
  if (reading->word == NULL)
    digits(x + pad, middle, DIGITS_MEDIUM, reading->ink, LEFT, reading->figures);
  else
    text((struct place){x + pad, middle, width - 2 * pad, LEFT},
         (struct look){TEXT_BODY, reading->ink, ON_GROUND}, reading->word);
  if (!panel_is_small())
    level(x + pad, top + readings_height() - 16, width - 2 * pad, reading->percent,
          reading->ink == INK_WARM || reading->ink == INK_ALARM ? ink_colour(reading->ink)
                                                                : get_theme_color());
}

static void draw_temperature(void) {
  struct reading reading = {ICONS_TITLE_TEMPERATURE, "°C", "", "--", INK_MUTED, 0};
  const int shown = board()->temperature_c10 > 0 ? board()->temperature_c10 : 0;
  if (board()->has_temperature) {
    snprintf(reading.figures, sizeof reading.figures, "%d.%d", shown / 10, shown % 10);
    reading.word = NULL;
    reading.percent = shown / 10;
    reading.ink = temperature_ink(shown);
  }
  draw_reading(2, &reading);
  shown_temperature_c10 = board()->temperature_c10;
}

static void draw_monitor(void) {
  const int is_attached = board()->monitor == 1;
  const char *word = board()->monitor < 0 ? "--" : phrase(is_attached ? PHRASE_ON : PHRASE_OFF);
  const struct reading reading = {
      ICONS_TITLE_MONITOR,  panel_is_small() ? "" : "HDMI", "", word, is_attached ? INK_WHITE : INK_MUTED,
      is_attached ? 100 : 0};
  draw_reading(3, &reading);
  shown_monitor = board()->monitor;
}

static void draw_readings(void) {
  struct reading satellites = {ICONS_TITLE_GPS, "GPS", "", NULL, INK_WHITE, ride()->satellites * 100 / 16};
  struct reading supply = {ICONS_TITLE_BATTERY, "V", "", NULL, INK_WHITE, (ride()->supply_mv - 10000) / 50};
  snprintf(satellites.figures, sizeof satellites.figures, "%d", ride()->satellites);
  snprintf(supply.figures, sizeof supply.figures, "%.1f", ride()->supply_mv / 1000.0);
  draw_reading(0, &satellites);
  draw_reading(1, &supply);
  draw_temperature();
  draw_monitor();
}

/* -------------------------------------------------------------------------------------------- the page */

static void enter(void) {
  range = is_levelled = 0;
  level_of_car = (struct level_of_car){0, 0};
}

static void draw(void) {
  speed_gauge(pick(160, 60), dials_middle());
  draw_movement();
  draw_range();
  draw_readings();
}

static void refresh(void) {
  speed_gauge_reading(pick(160, 60), dials_middle());
  if (board()->temperature_c10 != shown_temperature_c10)
    draw_temperature();
  if (board()->monitor != shown_monitor)
    draw_monitor();
}

static void press(enum key key) {
  if (key == KEY_NEXT) {
    range = (range + 1) % RANGES;
  } else {
    is_levelled = !is_levelled;
    level_of_car =
        is_levelled ? (struct level_of_car){board()->x_mg, board()->y_mg} : (struct level_of_car){0, 0};
  }
}

const struct page sensor_page = {
    .name = "sensor",
    .shows = "speed, movement and readings",
    .art = ICONS_TITLE_SENSOR,
    .title = PHRASE_SENSOR,
    .enter = enter,
    .draw = draw,
    .refresh = refresh,
    .follow = draw_movement,
    .press = press,
};
