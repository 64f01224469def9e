/* The road, the detected objects, and the readings of the ride. OK opens the menu, NEXT saves an event. */

#include "camera.h"
#include "dials.h"
#include "navigation.h"
#include "ride.h"

#include <stdio.h>

enum { FULL_MG = 500 };

static int scene_height(void) {
  return pick(340, 170);
}

static int figures_top(void) {
  return bar_height() + scene_height();
}

/* Convert a position of the scene, which is drawn for 640 by 340, to one on the panel. */
static int scene_x(int x) {
  return pick(x, x / 2);
}

static int scene_y(int y) {
  return bar_height() + pick(y, y / 2);
}

/* ----------------------------------------------------------------------------------------- on the road */

/* Draw a short label on a dark plate with a mark in a colour. */
static void tag(int x, int y, enum align align, uint16_t colour, const char *label) {
  const int mark = pick(4, 3), height = pick(28, 22), width = text_width(TEXT_SMALL, label) + pick(28, 15);
  const int left = left_edge(x, width, align);
  fill(left, y, width, height, GROUND);
  fill(left, y, mark, height, colour);
  text((struct place){left + (width + mark) / 2, y + height / 2, width, CENTRE},
       (struct look){TEXT_SMALL, INK_WHITE, ON_GROUND}, label);
}

/* Draw the four corners of a box around a detected object. */
static void draw_corners(int x, int y, int width, int height) {
  const int arm = pick(16, 8), thick = pick(3, 2);
  for (int side = 0; side < 2; ++side) {
    const int edge = side == 0 ? x : x + width - thick, start = side == 0 ? x : x + width - arm;
    fill(start, y, arm, thick, GOOD);
    fill(start, y + height - thick, arm, thick, GOOD);
    fill(edge, y, thick, arm, GOOD);
    fill(edge, y + height - arm, thick, arm, GOOD);
  }
}

static void draw_car_ahead(void) {
  char gap[16];
  snprintf(gap, sizeof gap, "%d m", ride()->gap_m);
  draw_corners(scene_x(306), scene_y(154), pick(104, 52), pick(80, 40));
  tag(scene_x(358), scene_y(154) - pick(32, 24), CENTRE, GOOD, gap);
}

/* On the markings of the lane: the middle line and the line at its edge. */
static void draw_lane(void) {
  line(scene_x(262), scene_y(240), scene_x(211), scene_y(296), GOOD, pick(5, 3));
  line(scene_x(466), scene_y(240), scene_x(549), scene_y(296), GOOD, pick(5, 3));
}

static void draw_road(void) {
  const int edge = pick(12, 6), below = figures_top() - edge - pick(28, 22);
  picture(0, bar_height(), PICTURE_SCENE);
  if (!board()->is_parked) {
    draw_lane();
    draw_car_ahead();
  }
  tag(edge, below, LEFT, get_theme_color(), phrase(PHRASE_PLACE));
  if (!panel_is_small())
    tag(panel_width() - edge, below, RIGHT, get_theme_color(), "N 47.3769°  E 8.5417°");
}

/* ----------------------------------------------------------------------------------------- the figures */

static int figures_middle(void) {
  return (figures_top() + 2 + panel_height()) / 2;
}

static void draw_speed(void) {
  char figures[8];
  snprintf(figures, sizeof figures, "%3d", ride()->speed_kmh);
  digits(pick(146, 78), figures_middle(), DIGITS_LARGE, speed_ink(), RIGHT, figures);
}

static void draw_limit(void) {
  const int x = pick(250, 162);
  char figures[8];
  snprintf(figures, sizeof figures, "%d", ride()->limit_kmh);
  icon(x, figures_middle(), ICONS_LIMIT, INK_ALARM, ON_GROUND);
  digits(x, figures_middle(), DIGITS_SMALL, INK_WHITE, CENTRE, figures);
}

/* The small panel has no space for the axes. */
static void draw_acceleration(void) {
  const int middle = figures_middle(), apart = 14, room = 80;
  sensor_dial(pick(342, 214), middle, pick(38, 17), FULL_MG, (struct level_of_car){0, 0});
  if (panel_is_small())
    return;
  sensor_axis((struct place){398, middle - apart, room, LEFT}, 'X', board()->x_mg);
  sensor_axis((struct place){398, middle + apart, room, LEFT}, 'Y', board()->y_mg);
}

static void draw_figures(void) {
  const int top = figures_top(), right = panel_width();
  fill(0, top, right, panel_height() - top, GROUND);
  fill(0, top, right, 2, get_theme_color());
  draw_speed();
  text((struct place){pick(154, 82), figures_middle() + pick(21, 0), pick(64, 48), LEFT},
       (struct look){TEXT_SMALL, INK_MUTED, ON_GROUND}, "km/h");
  draw_limit();
  draw_acceleration();
  icon(right - pick(100, 58), figures_middle(), ICONS_KEY_LOCK, INK_WHITE, ON_GROUND);
  icon(right - pick(44, 22), figures_middle(), ICONS_KEY_MENU, INK_WHITE, ON_GROUND);
}

/* -------------------------------------------------------------------------------------------- the page */

static void draw(void) {
  draw_road();
  draw_figures();
}

static void press(enum key key) {
  if (key == KEY_OK)
    open_page(&menu_page);
  else
    camera_save_event();
}

const struct page home_page = {
    .name = "home",
    .shows = "the road and the readings of the ride",
    .title = PHRASES,
    .draw = draw,
    .refresh = draw_speed,
    .follow = draw_acceleration,
    .press = press,
};
