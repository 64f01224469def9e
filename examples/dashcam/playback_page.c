/* The recordings on the memory card, newest first. OK plays the selected one. */

#define _POSIX_C_SOURCE 200809L /* localtime_r() */

#include "list.h"
#include "navigation.h"
#include "player.h"
#include "recordings.h"

#include <stdio.h>

static struct recording recordings[MOST_RECORDINGS];

static void write_time(time_t time, char text_[32]) {
  struct tm local;
  localtime_r(&time, &local);
  strftime(text_, 32, pick(1, 0) ? "%Y-%m-%d  %H:%M" : "%m-%d %H:%M", &local);
}

static void describe(int index, struct row *row) {
  const struct recording *recording = &recordings[index];
  static char time[32];
  char size[SIZE_TEXT];
  write_time(recording->time, time);
  size_text(size, (recording->bytes + (1 << 20) - 1) >> 20);
  row->art = recording->is_protected ? ICONS_TITLE_LOCK
             : recording->is_event   ? ICONS_TITLE_WARNING
                                     : ICONS_TITLE_VIDEO;
  row->label = time;
  if (recording->is_event && !panel_is_small())
    snprintf(row->value, ROW_VALUE, "%s     %s", phrase(PHRASE_EVENT), size);
  else
    snprintf(row->value, ROW_VALUE, "%s", size);
  row->end = ROW_MORE;
}

static struct list list = {.describe = describe};

static void enter(void) {
  list.selected = list.first = 0;
}

static void draw_none(void) {
  const int x = panel_width() / 2, y = (page_top() + page_bottom()) / 2;
  icon(x, y - pick(40, 26), ICONS_MENU_SD, INK_MUTED, ON_GROUND);
  text((struct place){x, y + pick(36, 20), page_width(), CENTRE},
       (struct look){TEXT_BODY, INK_MUTED, ON_GROUND}, phrase(PHRASE_NO_RECORDINGS));
}

/* The card changes: a recording may have been deleted since the last time. */
static void draw(void) {
  list.count = read_recordings(recordings);
  if (list.selected >= list.count)
    list.selected = list.count > 0 ? list.count - 1 : 0;
  list_draw(&list);
  if (list.count == 0)
    draw_none();
}

static void press(enum key key) {
  if (list.count == 0)
    return;
  if (key == KEY_NEXT) {
    list_next(&list);
  } else {
    player_choose(&recordings[list.selected]);
    open_page(&player_page);
  }
}

const struct page playback_page = {
    .name = "playback",
    .shows = "the recordings on the memory card",
    .art = ICONS_TITLE_PLAYBACK,
    .title = PHRASE_PLAYBACK,
    .enter = enter,
    .draw = draw,
    .press = press,
};
