/* The first page: the logo, for a moment. A key ends it. */

#include "navigation.h"
#include "progress.h"

enum { BEGIN = 4, STEPS = 20 }; /* tenths of a second; files have been loaded when it begins */

static struct progress progress = {BEGIN, STEPS};

static int bar_y(void) {
  return panel_height() / 2 + pick(90, 56);
}

static void enter(void) {
  progress.steps = BEGIN;
}

static void draw(void) {
  const int edge = pick(6, 4);
  fill(0, 0, panel_width(), edge, get_theme_color());
  fill(0, panel_height() - edge, panel_width(), edge, get_theme_color());
  logo(panel_width() / 2, panel_height() / 2 - pick(20, 10));
  progress_draw(&progress, bar_y());
}

static void step(void) {
  if (progress_step(&progress, bar_y()))
    go_home();
}

static void press(enum key key) {
  (void)key;
  go_home();
}

const struct page splash_page = {
    .name = "splash",
    .shows = "the logo",
    .title = PHRASES,
    .is_whole = 1,
    .enter = enter,
    .draw = draw,
    .step = step,
    .press = press,
};
