/* The clock: NEXT moves between hour and minute, OK sets the selected one a step ahead. The board's own clock
 * is left alone: the camera keeps how far it is ahead of that. */

#include "pages.h"
#include "ride.h"
#include "settings.h"

#include <stdio.h>

enum { MINUTES_A_DAY = 24 * 60 };

static int is_minute;

static void draw_part(int place, enum phrase label, int value, int is_selected) {
  const int gap = pick(16, 8), width = (page_width() - gap) / 2, height = page_bottom() - page_top();
  const int x = margin() + place * (width + gap), middle = page_top() + height / 2;
  char figures[4];
  snprintf(figures, sizeof figures, "%02d", value);
  fill(x, page_top(), width, height, GROUND);
  frame(x, page_top(), width, height, is_selected ? DRAVIK_WHITE : EDGE, is_selected ? 2 : 1);
  digits(x + width / 2, middle - pick(24, 14), DIGITS_LARGE, INK_WHITE, CENTRE, figures);
  if (is_selected)
    fill(x + width / 2 - pick(44, 24), middle + pick(20, 10), pick(88, 48), pick(6, 4), get_theme_color());
  text((struct place){x + width / 2, middle + pick(60, 36), width - 16, CENTRE},
       (struct look){TEXT_BODY, INK_MUTED, ON_GROUND}, phrase(label));
}

static void draw(void) {
  draw_part(0, PHRASE_HOUR, ride()->hour, !is_minute);
  draw_part(1, PHRASE_MINUTE, ride()->minute, is_minute);
  title_counter(is_minute, 2);
}

static void refresh(void) {
  static int shown;
  if (ride()->minute != shown)
    draw();
  shown = ride()->minute;
}

static void enter(void) {
  is_minute = 0;
}

/* The minute returns to 0 without a new hour. */
static void advance(void) {
  const int minutes = !is_minute ? 60 : ride()->minute == 59 ? -59 : 1;
  change_setting(SETTING_CLOCK, (setting(SETTING_CLOCK) + minutes + MINUTES_A_DAY) % MINUTES_A_DAY);
  ride_read();
}

static void press(enum key key) {
  if (key == KEY_NEXT)
    is_minute = !is_minute;
  else
    advance();
}

const struct page clock_page = {
    .name = "clock",
    .shows = "the setting of the clock",
    .art = ICONS_TITLE_CLOCK,
    .title = PHRASE_CLOCK,
    .enter = enter,
    .draw = draw,
    .refresh = refresh,
    .press = press,
};
