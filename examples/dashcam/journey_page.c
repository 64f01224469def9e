/* The journey: its stops, each with its name in its own script, its distance and its local time. OK makes the
 * selected one the destination. */

#include "list.h"
#include "pages.h"
#include "ride.h"
#include "settings.h"

#include <stdio.h>

static const struct stop {
  const char *name;
  const char *distance; /* from the first stop, in kilometres */
  int hours_ahead;      /* of the first stop, in summer */
} stops[] = {
    {"Zürich", "0", 0},    {"Αθήνα", "2 420", 1}, {"Москва", "4 650", 1},
    {"北京", "12 300", 6}, {"서울", "13 200", 7}, {"東京", "14 100", 7},
};
enum { STOPS = sizeof stops / sizeof stops[0] };

static void describe(int index, struct row *row) {
  const struct stop *stop = &stops[index];
  row->art = index == setting(SETTING_DESTINATION) ? ICONS_TITLE_FLAG : ICONS_TITLE_PIN;
  row->label = stop->name;
  snprintf(row->value, ROW_VALUE, pick(1, 0) ? "%s km        %02d:%02d" : "%s km  %02d:%02d", stop->distance,
           (ride()->hour + stop->hours_ahead) % 24, ride()->minute);
}

static struct list list = {.count = STOPS, .describe = describe};

static void enter(void) {
  list.selected = list.first = 0;
}

static void draw(void) {
  list_draw(&list);
}

static void refresh(void) {
  for (int i = 0; i < STOPS && ride()->second == 0; ++i)
    list_draw_row(&list, i);
}

static void press(enum key key) {
  if (key == KEY_NEXT)
    list_next(&list);
  else
    change_setting(SETTING_DESTINATION, list.selected);
}

const struct page journey_page = {
    .name = "journey",
    .shows = "the stops of the journey",
    .art = ICONS_TITLE_PIN,
    .title = PHRASE_JOURNEY,
    .enter = enter,
    .draw = draw,
    .refresh = refresh,
    .press = press,
};
