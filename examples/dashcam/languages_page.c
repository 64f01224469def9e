/* The choice of the language: each name in its own script. */

#include "list.h"
#include "navigation.h"
#include "settings.h"

#include <stdio.h>

static void describe(int index, struct row *row) {
  row->art = ICONS_TITLE_LANGUAGE;
  row->label = phrase_in(index, PHRASE_LANGUAGE_NAME);
  row->end = ROW_CHECK;
  row->amount = index == chosen_language();
  snprintf(row->value, ROW_VALUE, "%s", phrase_in(index, PHRASE_GREETING));
}

static struct list list = {.count = LANGUAGES, .describe = describe};

static void enter(void) {
  list.selected = chosen_language();
}

static void draw(void) {
  list_draw(&list);
}

static void press(enum key key) {
  if (key == KEY_NEXT) {
    list_next(&list);
  } else {
    change_setting(SETTING_LANGUAGE, list.selected);
    draw_page();
  }
}

const struct page languages_page = {
    .name = "languages",
    .shows = "the choice of the language",
    .art = ICONS_TITLE_LANGUAGE,
    .title = PHRASE_LANGUAGE,
    .enter = enter,
    .draw = draw,
    .press = press,
};
