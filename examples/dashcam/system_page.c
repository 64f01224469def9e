/* The system: sales region, network, and the state of the board. */

#include "phrases.h"
#include "screens.h"
#include "widgets.h"

#include <stdio.h>

enum row { ROW_PANEL, ROW_REGION, ROW_WIFI, ROW_ETHERNET, ROW_MONITOR, ROW_TEMPERATURE, ROW_RUNNING, ROWS };
enum { VALUE = 40 };

static const struct {
  enum icons_image image;
  const char *label;
} rows[ROWS] = {
    [ROW_PANEL] = {ICONS_TITLE_SYSTEM, "Panel"},      [ROW_REGION] = {ICONS_TITLE_LANGUAGE, "Region"},
    [ROW_WIFI] = {ICONS_TITLE_WIFI, "Wi-Fi"},         [ROW_ETHERNET] = {ICONS_TITLE_NETWORK, "Ethernet"},
    [ROW_MONITOR] = {ICONS_TITLE_MONITOR, "Monitor"}, [ROW_TEMPERATURE] = {ICONS_TITLE_TEMPERATURE, "Inside"},
    [ROW_RUNNING] = {ICONS_TITLE_CLOCK, "Running"},
};

/* Known values are bright, unknown ones grey. Each function returns whether its value is known. */

static int write_region(char value[VALUE]) {
  char letters[4] = "";
  const uint32_t number = get_area_code(letters);
  if (number == DRAVIK_NONE)
    return snprintf(value, VALUE, "not set"), 0;
  return snprintf(value, VALUE, "%s  %u", letters, (unsigned)number), 1;
}

static int write_address(char value[VALUE], const char *interface) {
  char address[DRAVIK_IP_TEXT_SIZE];
  const int result = get_netdev_ip(interface, address);
  if (result != 0)
    return snprintf(value, VALUE, result == 1 ? "no address" : "not present"), 0;
  return snprintf(value, VALUE, "%s", address), 1;
}

static int write_monitor(char value[VALUE]) {
  const int monitor = board()->monitor;
  return snprintf(value, VALUE, monitor == 1 ? "attached" : monitor == 0 ? "none" : "unknown"), monitor == 1;
}

static int write_temperature(char value[VALUE]) {
  if (!board()->has_temperature)
    return snprintf(value, VALUE, "unknown"), 0;
  return snprintf(value, VALUE, "%.1f deg C", board()->temperature_c10 / 10.0), 1;
}

static int write_running(char value[VALUE]) {
  const unsigned seconds = get_tick_count() / 1000;
  return snprintf(value, VALUE, "%u:%02u:%02u", seconds / 3600, seconds / 60 % 60, seconds % 60), 1;
}

static int write_value(enum row row, char value[VALUE]) {
  switch (row) {
  case ROW_PANEL:
    return snprintf(value, VALUE, "%u x %u", fbinfo[FBINFO_XRES], fbinfo[FBINFO_YRES]), 1;
  case ROW_REGION:
    return write_region(value);
  case ROW_WIFI:
    return write_address(value, "wlan0");
  case ROW_ETHERNET:
    return write_address(value, "eth0");
  case ROW_MONITOR:
    return write_monitor(value);
  case ROW_TEMPERATURE:
    return write_temperature(value);
  default:
    return write_running(value);
  }
}

static void draw_hardware_address(int x, int middle, const char *interface) {
  uint8_t mac[DRAVIK_MAC_SIZE];
  get_netdev_mac(interface, mac);
  text(x, middle, FONT_SMALL, DRAVIK_GREY, LEFT, "%s  %02x:%02x:%02x:%02x:%02x:%02x", interface, mac[0],
       mac[1], mac[2], mac[3], mac[4], mac[5]);
}

static void draw_row(enum row row) {
  const int pitch = (canvas_height() - PAGE_TOP - 12) / ROWS, y = PAGE_TOP + (int)row * pitch;
  const int middle = y + (pitch - 6) / 2;
  char value[VALUE];
  const int is_there = write_value(row, value);
  card(MARGIN, y, canvas_width() - 2 * MARGIN, pitch - 6, 0);
  icon(MARGIN + 32, middle, rows[row].image, DRAVIK_WHITE, DRAVIK_TRANSPARENT);
  text(MARGIN + 66, middle, FONT_BODY, DRAVIK_WHITE, LEFT, "%s", rows[row].label);
  text(canvas_width() - MARGIN - 20, middle, FONT_BODY, is_there ? DRAVIK_WHITE : DRAVIK_GREY, RIGHT, "%s",
       value);
  if (is_there && (row == ROW_WIFI || row == ROW_ETHERNET))
    draw_hardware_address(MARGIN + 180, middle, row == ROW_WIFI ? "wlan0" : "eth0");
}

void system_draw(const struct ride *ride) {
  page(ride, ICONS_TITLE_SYSTEM, phrase(PHRASE_SYSTEM), "");
  for (int i = 0; i < ROWS; ++i)
    draw_row((enum row)i);
}

void system_refresh(const struct ride *ride) {
  status_clock(ride);
  for (int i = ROW_MONITOR; i < ROWS; ++i)
    draw_row((enum row)i);
}
