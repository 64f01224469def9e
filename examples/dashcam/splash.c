/* The first and the last screen. */

#include "screens.h"
#include "speaker.h"
#include "widgets.h"

enum { BAR_WIDTH = 300, BAR_STEPS = 6 };

static int bar_steps;

static void draw_progress(int y) {
  level((canvas_width() - BAR_WIDTH) / 2, y, BAR_WIDTH, bar_steps * 100 / BAR_STEPS, CARD);
}

static void advance(int y) {
  if (bar_steps < BAR_STEPS)
    ++bar_steps;
  draw_progress(y);
}

static int splash_bar(void) {
  return canvas_height() / 2 + 90;
}

static int shutdown_bar(void) {
  return canvas_height() / 2 + 110;
}

void splash_draw(const struct ride *ride) {
  (void)ride;
  fb_clear_screen(DRAVIK_BLACK);
  fill(0, 0, canvas_width(), 6, get_theme_color());
  fill(0, canvas_height() - 6, canvas_width(), 6, get_theme_color());
  logo(canvas_width() / 2, canvas_height() / 2 - 40);
  bar_steps = 2;
  draw_progress(splash_bar());
  text(canvas_width() / 2, splash_bar() + 40, FONT_BODY, DRAVIK_GREY, CENTRE, "Dash camera demonstration");
}

void splash_refresh(const struct ride *ride) {
  (void)ride;
  advance(splash_bar());
}

void shutdown_draw(const struct ride *ride) {
  const int x = canvas_width() / 2, y = canvas_height() / 2;
  (void)ride;
  fb_clear_screen(DRAVIK_BLACK);
  icon(x, y - 90, ICONS_MENU_POWER, DRAVIK_WHITE, DRAVIK_BLACK);
  text(x, y, FONT_HUGE, DRAVIK_WHITE, CENTRE, "Goodbye");
  text(x, y + 50, FONT_BODY, SILVER, CENTRE, "Saving the last recording");
  bar_steps = 2;
  draw_progress(shutdown_bar());
}

void shutdown_refresh(const struct ride *ride) {
  (void)ride;
  advance(shutdown_bar());
}

void shutdown_enter(void) {
  speaker_say(SOUND_GOODBYE);
}
