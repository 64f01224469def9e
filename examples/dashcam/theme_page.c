/* The choice of the accent. */

#include "navigation.h"
#include "settings.h"

enum { COLUMNS = 4, ROWS = THEMES / COLUMNS };

static int selected;

static void draw_swatch(int index) {
  const int gap = pick(14, 8), width = (page_width() - (COLUMNS - 1) * gap) / COLUMNS;
  const int height = (page_bottom() - page_top() - (ROWS - 1) * gap) / ROWS;
  const int left = margin() + index % COLUMNS * (width + gap),
            top = page_top() + index / COLUMNS * (height + gap);
  const int x = left + width / 2, y = top + height / 2;
  fill(left, top, width, height, SURFACE);
  frame(left, top, width, height, index == selected ? DRAVIK_WHITE : EDGE, index == selected ? 2 : 1);
  disc(x, y, pick(46, 26), theme_colours[index]);
  if (index == setting(SETTING_THEME))
    icon(x, y, ICONS_KEY_CHECK, INK_WHITE, ON_ACCENT);
}

static void enter(void) {
  selected = setting(SETTING_THEME);
}

static void draw(void) {
  for (int i = 0; i < THEMES; ++i)
    draw_swatch(i);
  title_counter(selected, THEMES);
}

static void press(enum key key) {
  if (key == KEY_NEXT)
    selected = (selected + 1) % THEMES;
  else
    change_setting(SETTING_THEME, selected);
}

const struct page theme_page = {
    .name = "theme",
    .shows = "the choice of the accent",
    .art = ICONS_TITLE_PALETTE,
    .title = PHRASE_THEME,
    .enter = enter,
    .draw = draw,
    .press = press,
};
