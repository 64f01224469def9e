/* The home screen: the road, the detected objects, and the readings of the ride. */

#include "phrases.h"
#include "screens.h"
#include "widgets.h"
#include "words.h"

#include <stdio.h>

enum { FIGURES = 96, SCENE_WIDTH = 640, SCENE_HEIGHT = 340 };

static int figures_top(void) {
  return canvas_height() - FIGURES;
}

static int scene_left(void) {
  return (canvas_width() - SCENE_WIDTH) / 2;
}

static int scene_top(void) {
  return STATUS_BAR + (figures_top() - STATUS_BAR - SCENE_HEIGHT) / 2;
}

/* ----------------------------------------------------------------------------------------- on the road */

/* Draw a short label on a dark plate. */
static void tag(int x, int y, int width, uint16_t colour, const char *label) {
  fill(x, y, width, 26, DRAVIK_BLACK);
  fill(x, y, 4, 26, colour);
  text(x + 4 + (width - 4) / 2, y + 13, FONT_SMALL, DRAVIK_WHITE, CENTRE, "%s", label);
}

/* Draw the four corners of a box around a detected object. */
static void corners(int x, int y, int width, int height, uint16_t colour) {
  const int arm = 16, thick = 3;
  for (int side = 0; side < 2; ++side) {
    const int edge = side == 0 ? x : x + width - thick, start = side == 0 ? x : x + width - arm;
    fill(start, y, arm, thick, colour);
    fill(start, y + height - thick, arm, thick, colour);
    fill(edge, y, thick, arm, colour);
    fill(edge, y + height - arm, thick, arm, colour);
  }
}

static void car_ahead(int left, int top, const struct ride *ride) {
  char gap[16];
  snprintf(gap, sizeof gap, "%d m", ride->gap_m);
  corners(left + 308, top + 154, 100, 78, MINT);
  tag(left + 322, top + 122, 72, MINT, gap);
}

static void lane(int left, int top) {
  line(left + 281, top + 240, left + 238, top + 298, MINT, 4);
  line(left + 444, top + 240, left + 524, top + 298, MINT, 4);
}

static void road(const struct ride *ride) {
  const int left = scene_left(), top = scene_top();
  fill(0, STATUS_BAR, canvas_width(), figures_top() - STATUS_BAR, DRAVIK_BLACK);
  picture(left, top, PICTURE_SCENE);
  lane(left, top);
  car_ahead(left, top, ride);
  tag(left + 12, top + 12, 112, get_theme_color(), "1440P 30");
  tag(left + SCENE_WIDTH - 84, top + 12, 72, get_theme_color(), "FRONT");
  words_plate(left + 12, top + SCENE_HEIGHT - 40, LEFT, phrase(PHRASE_PLACE));
  words_plate(left + SCENE_WIDTH - 12, top + SCENE_HEIGHT - 40, RIGHT, "N 47.3769°  E 8.5417°");
}

/* ----------------------------------------------------------------------------------------- the figures */

static void speed(int top, const struct ride *ride) {
  char figures[8];
  snprintf(figures, sizeof figures, "%3d", ride->speed_kmh);
  digits(146, top + 49, DIGITS_LARGE, figures, DRAVIK_BLACK, RIGHT);
}

static void limit(int top, const struct ride *ride) {
  char figures[8];
  snprintf(figures, sizeof figures, "%d", ride->limit_kmh);
  icon(240, top + 49, ICONS_LIMIT, DRAVIK_RED, DRAVIK_BLACK);
  digits(240, top + 49, DIGITS_SMALL, figures, DRAVIK_TRANSPARENT, CENTRE);
}

static void acceleration(int top) {
  sensor_dial(338, top + 48, 38);
  fill(394, top + 20, 84, 56, DRAVIK_BLACK);
  sensor_axis(394, top + 34, FONT_SMALL, LEFT, 'X', board()->x_mg);
  sensor_axis(394, top + 62, FONT_SMALL, LEFT, 'Y', board()->y_mg);
}

/* A small panel has no space for the labels. */
static void key(int x, int top, enum icons_image art, const char *label) {
  icon(x, top + (canvas_is_small() ? 49 : 38), art, DRAVIK_WHITE, DRAVIK_BLACK);
  if (!canvas_is_small())
    text(x, top + 76, FONT_SMALL, SILVER, CENTRE, "%s", label);
}

static void figures(const struct ride *ride) {
  const int top = figures_top(), right = canvas_width();
  fill(0, top, right, FIGURES, DRAVIK_BLACK);
  fill(0, top, right, 2, get_theme_color());
  speed(top, ride);
  text(154, top + 70, FONT_BODY, SILVER, LEFT, "km/h");
  limit(top, ride);
  fill(286, top + 18, 2, FIGURES - 34, EDGE);
  acceleration(top);
  fill(right - 160, top + 18, 2, FIGURES - 34, EDGE);
  key(right - 122, top, ICONS_KEY_MENU, "MENU");
  key(right - 74, top, ICONS_KEY_PHOTO, "PHOTO");
  key(right - 26, top, ICONS_KEY_LOCK, "LOCK");
}

void home_draw(const struct ride *ride) {
  status_bar(ride);
  road(ride);
  figures(ride);
}

void home_refresh(const struct ride *ride) {
  status_clock(ride);
  speed(figures_top(), ride);
}

void home_follow(void) {
  acceleration(figures_top());
}
