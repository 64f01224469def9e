/* The settings. Those with a page of their own are opened from here. */

#include "list.h"
#include "navigation.h"
#include "ride.h"
#include "settings.h"

#include <stdio.h>

enum { ROW_BRIGHTNESS, ROW_SOUND, ROW_IMPACT, ROW_THEME, ROW_LANGUAGE, ROW_CLOCK, ROWS };

static const struct {
  enum icons_image art;
  enum phrase label;
  enum row_end end;
  const struct page *more; /* none: OK changes the setting here */
} rows[ROWS] = {
    [ROW_BRIGHTNESS] = {ICONS_TITLE_SUN, PHRASE_BRIGHTNESS, ROW_AMOUNT, NULL},
    [ROW_SOUND] = {ICONS_TITLE_SPEAKER, PHRASE_SOUND, ROW_MORE, &sound_page},
    [ROW_IMPACT] = {ICONS_TITLE_CAR, PHRASE_IMPACT_SENSOR, ROW_PLAIN, NULL},
    [ROW_THEME] = {ICONS_TITLE_PALETTE, PHRASE_THEME, ROW_MORE, &theme_page},
    [ROW_LANGUAGE] = {ICONS_TITLE_LANGUAGE, PHRASE_LANGUAGE, ROW_MORE, &languages_page},
    [ROW_CLOCK] = {ICONS_TITLE_CLOCK, PHRASE_CLOCK, ROW_MORE, &clock_page},
};

static void write_value(int index, char value[ROW_VALUE]) {
  static const enum phrase sensitivities[] = {PHRASE_LOW, PHRASE_MEDIUM, PHRASE_HIGH};
  if (index == ROW_BRIGHTNESS)
    snprintf(value, ROW_VALUE, "%d %%", setting(SETTING_BRIGHTNESS));
  else if (index == ROW_SOUND)
    snprintf(value, ROW_VALUE, "%d %%", setting(SETTING_MUTE) ? 0 : setting(SETTING_VOLUME));
  else if (index == ROW_IMPACT)
    snprintf(value, ROW_VALUE, "%s", phrase(sensitivities[setting(SETTING_IMPACT)]));
  else if (index == ROW_LANGUAGE)
    snprintf(value, ROW_VALUE, "%s", phrase(PHRASE_LANGUAGE_NAME));
  else if (index == ROW_CLOCK)
    snprintf(value, ROW_VALUE, "%02d:%02d", ride()->hour, ride()->minute);
}

static void describe(int index, struct row *row) {
  row->art = rows[index].art;
  row->label = phrase(rows[index].label);
  row->end = rows[index].end;
  row->amount = setting(SETTING_BRIGHTNESS);
  write_value(index, row->value);
}

static struct list list = {.count = ROWS, .describe = describe};

static void enter(void) {
  list.selected = 0;
}

static void draw(void) {
  list_draw(&list);
}

static void refresh(void) {
  list_draw_row(&list, ROW_CLOCK);
}

static void open_or_change(int row) {
  if (rows[row].more != NULL)
    open_page(rows[row].more);
  else
    next_setting(row == ROW_IMPACT ? SETTING_IMPACT : SETTING_BRIGHTNESS);
}

static void press(enum key key) {
  if (key == KEY_NEXT)
    list_next(&list);
  else
    open_or_change(list.selected);
}

const struct page settings_page = {
    .name = "settings",
    .shows = "the settings",
    .art = ICONS_TITLE_SETTINGS,
    .title = PHRASE_SETTINGS,
    .enter = enter,
    .draw = draw,
    .refresh = refresh,
    .press = press,
};
