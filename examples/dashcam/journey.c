/* The journey: its stops, each with its name in its own script and its local time. */

#include "phrases.h"
#include "screens.h"
#include "widgets.h"
#include "words.h"

#include <stdio.h>

static const struct stop {
  const char *name, *land;
  int hours_ahead; /* relative to the first stop, in summer */
} stops[] = {
    {"Zürich", "Schweiz", 0}, {"Αθήνα", "Ελλάδα", 1},  {"Москва", "Россия", 1},
    {"北京", "中国", 6},      {"서울", "대한민국", 7}, {"東京", "日本", 7},
};
enum { STOPS = sizeof stops / sizeof stops[0], HERE = 0, LIST_WIDTH = 372, GAP = 16 };

static int list_bottom(void) {
  return canvas_height() - 18;
}

static int stop_height(void) {
  return (list_bottom() - PAGE_TOP) / STOPS;
}

static int stop_middle(int index) {
  return PAGE_TOP + index * stop_height() + stop_height() / 2;
}

static void draw_time(int index, const struct ride *ride) {
  const int is_here = index == HERE;
  char time[8];
  snprintf(time, sizeof time, "%02d:%02d", (ride->hour + stops[index].hours_ahead) % 24, ride->minute);
  words(MARGIN + LIST_WIDTH - 20, stop_middle(index), WORDS_BODY, is_here ? DRAVIK_THEME : DRAVIK_BLACK,
        RIGHT, time);
}

static void draw_stop(int index, const struct ride *ride) {
  const int is_here = index == HERE, middle = stop_middle(index);
  const uint16_t ground = is_here ? DRAVIK_THEME : DRAVIK_BLACK;
  if (is_here)
    plate(MARGIN, PAGE_TOP, LIST_WIDTH, stop_height(), 1);
  disc(MARGIN + 30, middle, 9, is_here ? DRAVIK_WHITE : SILVER);
  disc(MARGIN + 30, middle, 5, is_here ? get_theme_color() : DRAVIK_BLACK);
  words(MARGIN + 58, middle, WORDS_TITLE, ground, LEFT, stops[index].name);
  words(MARGIN + 168, middle, WORDS_SMALL, ground, LEFT, stops[index].land);
  draw_time(index, ride);
}

/* ------------------------------------------------------------------------------------------ next to it */

static int side_left(void) {
  return MARGIN + LIST_WIDTH + GAP;
}

static int side_middle(void) {
  return (side_left() + canvas_width() - MARGIN) / 2;
}

static void draw_clock(const struct ride *ride) {
  char time[16];
  snprintf(time, sizeof time, "%02d:%02d:%02d", ride->hour, ride->minute, ride->second);
  fill(side_left() + 8, PAGE_TOP + 72, canvas_width() - MARGIN - side_left() - 16, 48, DRAVIK_BLACK);
  words(side_middle(), PAGE_TOP + 96, WORDS_CLOCK, DRAVIK_BLACK, CENTRE, time);
}

static void draw_distance(int y, const char *to, const char *distance, int percent) {
  const int left = side_left() + 20, right = canvas_width() - MARGIN - 20;
  words(left, y, WORDS_BODY, DRAVIK_BLACK, LEFT, to);
  words(right, y, WORDS_SMALL, DRAVIK_BLACK, RIGHT, distance);
  level(left, y + 26, right - left, percent, EDGE);
}

static void draw_side(const struct ride *ride) {
  plate(side_left(), PAGE_TOP, canvas_width() - MARGIN - side_left(), list_bottom() - PAGE_TOP, 0);
  words(side_middle(), PAGE_TOP + 44, WORDS_TITLE, DRAVIK_BLACK, CENTRE, phrase(PHRASE_PLACE));
  draw_clock(ride);
  words(side_middle(), PAGE_TOP + 146, WORDS_SMALL, DRAVIK_BLACK, CENTRE, "2025-06-14");
  fill(side_left() + 20, PAGE_TOP + 180, canvas_width() - MARGIN - side_left() - 40, 2, EDGE);
  draw_distance(PAGE_TOP + 220, stops[1].name, "2 420 km", 12);
  draw_distance(PAGE_TOP + 296, stops[STOPS - 1].name, "13 900 km", 3);
}

void journey_draw(const struct ride *ride) {
  page(ride, ICONS_TITLE_GPS, phrase(PHRASE_JOURNEY), "1 / 6");
  plate(MARGIN, PAGE_TOP, LIST_WIDTH, list_bottom() - PAGE_TOP, 0);
  line(MARGIN + 30, stop_middle(0), MARGIN + 30, stop_middle(STOPS - 1), EDGE, 3);
  for (int i = 0; i < STOPS; ++i)
    draw_stop(i, ride);
  draw_side(ride);
}

void journey_refresh(const struct ride *ride) {
  status_clock(ride);
  draw_clock(ride);
  for (int i = 0; i < STOPS && ride->second == 0; ++i)
    draw_time(i, ride);
}
