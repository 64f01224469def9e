/* The system: sales region, network, and the state of the board. NEXT shows the rest on a small panel. */

#include "list.h"
#include "pages.h"

#include <stdio.h>

enum { ROW_PANEL, ROW_REGION, ROW_WIFI, ROW_ETHERNET, ROW_MONITOR, ROW_TEMPERATURE, ROW_RUNNING, ROWS };

static const struct {
  enum icons_image image;
  enum phrase label;
} rows[ROWS] = {
    [ROW_PANEL] = {ICONS_TITLE_SYSTEM, PHRASE_PANEL},
    [ROW_REGION] = {ICONS_TITLE_LANGUAGE, PHRASE_REGION},
    [ROW_WIFI] = {ICONS_TITLE_WIFI, PHRASE_WIFI},
    [ROW_ETHERNET] = {ICONS_TITLE_NETWORK, PHRASE_ETHERNET},
    [ROW_MONITOR] = {ICONS_TITLE_MONITOR, PHRASES}, /* HDMI in every language */
    [ROW_TEMPERATURE] = {ICONS_TITLE_TEMPERATURE, PHRASE_TEMPERATURE},
    [ROW_RUNNING] = {ICONS_TITLE_CLOCK, PHRASE_RUNNING},
};

static void write_phrase(char value[ROW_VALUE], enum phrase which) {
  snprintf(value, ROW_VALUE, "%s", phrase(which));
}

static void write_region(char value[ROW_VALUE]) {
  char letters[4] = "";
  const uint32_t number = get_area_code(letters);
  if (number == DRAVIK_NONE)
    write_phrase(value, PHRASE_NOT_SET);
  else
    snprintf(value, ROW_VALUE, "%s  %u", letters, (unsigned)number);
}

static void write_address(char value[ROW_VALUE], const char *interface) {
  char address[DRAVIK_IP_TEXT_SIZE];
  const int result = get_netdev_ip(interface, address);
  if (result == 0)
    snprintf(value, ROW_VALUE, "%s", address);
  else
    write_phrase(value, result == 1 ? PHRASE_NO_ADDRESS : PHRASE_NOT_PRESENT);
}

static void write_temperature(char value[ROW_VALUE]) {
  if (board()->has_temperature)
    snprintf(value, ROW_VALUE, "%.1f °C", board()->temperature_c10 / 10.0);
  else
    write_phrase(value, PHRASE_UNKNOWN);
}

static void write_running(char value[ROW_VALUE]) {
  const unsigned seconds = get_tick_count() / 1000;
  snprintf(value, ROW_VALUE, "%u:%02u:%02u", seconds / 3600, seconds / 60 % 60, seconds % 60);
}

static void write_value(int row, char value[ROW_VALUE]) {
  const int32_t monitor = board()->monitor;
  if (row == ROW_PANEL)
    snprintf(value, ROW_VALUE, "%d x %d", panel_width(), panel_height());
  else if (row == ROW_REGION)
    write_region(value);
  else if (row == ROW_WIFI || row == ROW_ETHERNET)
    write_address(value, row == ROW_WIFI ? "wlan0" : "eth0");
  else if (row == ROW_MONITOR)
    write_phrase(value, monitor == 1   ? PHRASE_CONNECTED
                        : monitor == 0 ? PHRASE_NOT_CONNECTED
                                       : PHRASE_UNKNOWN);
  else if (row == ROW_TEMPERATURE)
    write_temperature(value);
  else
    write_running(value);
}

static void describe(int index, struct row *row) {
  row->art = rows[index].image;
  row->label = rows[index].label == PHRASES ? "HDMI" : phrase(rows[index].label);
  row->ink = INK_WHITE;
  if (index == ROW_TEMPERATURE && board()->has_temperature)
    row->ink = temperature_ink(board()->temperature_c10);
  write_value(index, row->value);
}

static struct list list = {.count = ROWS, .selected = -1, .describe = describe};

static void enter(void) {
  list.first = 0;
}

static void draw(void) {
  list_draw(&list);
}

static void refresh(void) {
  for (int i = ROW_MONITOR; i < ROWS; ++i)
    list_draw_row(&list, i);
}

static void press(enum key key) {
  if (key == KEY_NEXT)
    list_scroll(&list);
}

const struct page system_page = {
    .name = "system",
    .shows = "the region, the network and the board",
    .art = ICONS_TITLE_SYSTEM,
    .title = PHRASE_SYSTEM,
    .enter = enter,
    .draw = draw,
    .refresh = refresh,
    .press = press,
};
