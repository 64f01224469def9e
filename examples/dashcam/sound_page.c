/* The volume of the speaker, and the microphone. */

#include "list.h"
#include "pages.h"
#include "settings.h"

#include <stdio.h>

static const struct {
  enum setting setting;
  enum phrase label;
  enum icons_image art;
} rows[] = {
    {SETTING_VOLUME, PHRASE_VOLUME, ICONS_TITLE_SPEAKER},
    {SETTING_MUTE, PHRASE_MUTE, ICONS_TITLE_MUTE},
    {SETTING_MICROPHONE, PHRASE_MICROPHONE, ICONS_TITLE_MIC},
};
enum { ROWS = sizeof rows / sizeof rows[0] };

static void describe(int index, struct row *row) {
  row->art = rows[index].art;
  row->label = phrase(rows[index].label);
  row->amount = setting(rows[index].setting);
  row->end = rows[index].setting == SETTING_VOLUME ? ROW_AMOUNT : ROW_SWITCH;
  if (row->end == ROW_AMOUNT)
    snprintf(row->value, ROW_VALUE, "%d %%", row->amount);
}

static struct list list = {.count = ROWS, .describe = describe};

static void enter(void) {
  list.selected = 0;
}

static void draw(void) {
  list_draw(&list);
}

static void press(enum key key) {
  if (key == KEY_NEXT)
    list_next(&list);
  else
    next_setting(rows[list.selected].setting);
}

const struct page sound_page = {
    .name = "sound",
    .shows = "the volume and the microphone",
    .art = ICONS_TITLE_SPEAKER,
    .title = PHRASE_SOUND,
    .enter = enter,
    .draw = draw,
    .press = press,
};
