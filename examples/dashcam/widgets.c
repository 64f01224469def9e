#include "widgets.h"

#include "board.h"
#include "camera.h"
#include "ride.h"
#include "settings.h"

#include <stdio.h>

int margin(void) {
  return pick(20, 8);
}

int bar_height(void) {
  return pick(44, 28);
}

int title_height(void) {
  return pick(48, 32);
}

int page_top(void) {
  return bar_height() + title_height() + pick(4, 2);
}

int page_bottom(void) {
  return panel_height() - pick(16, 6);
}

int page_width(void) {
  return panel_width() - 2 * margin();
}

int row_gap(void) {
  return pick(6, 4);
}

/* --------------------------------------------------------------------------------------------- the bar */

static int bar_middle(void) {
  return bar_height() / 2 - 1;
}

static void draw_battery(int x, int percent) {
  const int width = pick(19, 13), height = pick(10, 7), left = x - pick(11, 7),
            top = bar_middle() - height / 2;
  icon(x, bar_middle(), ICONS_STATUS_BATTERY, INK_WHITE, ON_GROUND);
  fill(left, top, width, height, GROUND);
  fill(left, top, width * percent / 100, height, percent > 20 ? DRAVIK_WHITE : ALARM);
}

/* Draw a red spot that blinks while recording, a sign for the parked car, or a warning. */
static void draw_state(void) {
  const enum camera_state state = camera_state();
  const int x = pick(30, 16), size = pick(32, 22);
  if (state == CAMERA_PARKED)
    icon(x, bar_middle(), ICONS_TITLE_PARKING, INK_WHITE, ON_GROUND);
  else if (!ride()->is_lit)
    fill(x - size / 2, bar_middle() - size / 2, size, size, GROUND);
  else if (state == CAMERA_RECORDING)
    icon(x, bar_middle(), ICONS_STATUS_REC, INK_ALARM, ON_GROUND);
  else
    icon(x, bar_middle(), ICONS_TITLE_WARNING, INK_ALARM, ON_GROUND);
}

static void draw_recorded_time(void) {
  const struct place place = {pick(54, 30), bar_middle(), pick(72, 56), LEFT};
  char time[16] = "";
  if (camera_state() == CAMERA_RECORDING)
    snprintf(time, sizeof time, "%02d:%02d", ride()->recorded_seconds / 60 % 100,
             ride()->recorded_seconds % 60);
  text_again(place, (struct look){TEXT_BODY, INK_MUTED, ON_GROUND}, time);
}

void status_refresh(void) {
  char clock[16];
  snprintf(clock, sizeof clock, "%02d:%02d:%02d", ride()->hour, ride()->minute, ride()->second);
  digits(panel_width() / 2, bar_middle(), DIGITS_SMALL, INK_WHITE, CENTRE, clock);
  draw_state();
  draw_recorded_time();
}

static void draw_satellites(int right) {
  char count[8];
  snprintf(count, sizeof count, "%d", ride()->satellites);
  text((struct place){right, bar_middle(), 32, RIGHT}, (struct look){TEXT_BODY, INK_MUTED, ON_GROUND}, count);
  icon(right - 40, bar_middle(), ICONS_STATUS_GPS, INK_WHITE, ON_GROUND);
}

static enum ink card_ink(void) {
  const enum camera_state state = camera_state();
  const int is_bad = state == CAMERA_CARD_FULL || state == CAMERA_CARD_MISSING || state == CAMERA_CARD_ERROR;
  return is_bad ? INK_ALARM : INK_WHITE;
}

void status_draw(void) {
  const int right = panel_width(), pitch = pick(36, 24);
  fill(0, 0, right, bar_height() - 2, GROUND);
  fill(0, bar_height() - 2, right, 2, get_theme_color());
  status_refresh();
  draw_battery(right - pick(36, 20), ride()->battery_percent);
  icon(right - pick(76, 46), bar_middle(), ICONS_STATUS_SD, card_ink(), ON_GROUND);
  icon(right - pick(76, 46) - pitch, bar_middle(),
       setting(SETTING_MICROPHONE) ? ICONS_STATUS_MIC : ICONS_STATUS_MUTE,
       setting(SETTING_MICROPHONE) ? INK_WHITE : INK_MUTED, ON_GROUND);
  if (board()->monitor == 1)
    icon(right - pick(76, 46) - 2 * pitch, bar_middle(), ICONS_STATUS_MONITOR, INK_WHITE, ON_GROUND);
  if (!panel_is_small())
    draw_satellites(right - 174);
}

/* ------------------------------------------------------------------------------------------- the title */

static int title_middle(void) {
  return bar_height() + title_height() / 2;
}

void title_draw(enum icons_image art, enum phrase title) {
  const int left = margin() + pick(44, 28);
  fill(0, bar_height(), panel_width(), title_height(), GROUND);
  icon(margin() + pick(14, 10), title_middle(), art, INK_WHITE, ON_GROUND);
  text((struct place){left, title_middle(), panel_width() - left - pick(140, 80), LEFT},
       (struct look){TEXT_TITLE, INK_WHITE, ON_GROUND}, phrase(title));
}

void title_counter(int selected, int count) {
  char position[32] = "";
  if (count > 0)
    snprintf(position, sizeof position, "%d / %d", selected + 1, count);
  text_again((struct place){panel_width() - margin(), title_middle(), pick(100, 70), RIGHT},
             (struct look){TEXT_BODY, INK_MUTED, ON_GROUND}, position);
}

/* ----------------------------------------------------------------------------------------- small parts */

void plate(int x, int y, int width, int height, int is_selected) {
  fill(x, y, width, height, is_selected ? get_theme_color() : SURFACE);
  frame(x, y, width, height, is_selected ? DRAVIK_WHITE : EDGE, is_selected ? 2 : 1);
}

void button(int x, int y, int width, int height, enum icons_image art, enum phrase label,
            enum button_state state) {
  const enum behind behind = state == BUTTON_SELECTED ? ON_ACCENT : ON_SURFACE;
  const enum ink ink = state == BUTTON_OFF ? INK_MUTED : INK_WHITE;
  const int indent = label == PHRASES ? width : pick(60, 32);
  plate(x, y, width, height, state == BUTTON_SELECTED);
  icon(x + indent / 2, y + height / 2, art, ink, behind);
  if (label != PHRASES)
    text((struct place){x + indent, y + height / 2, width - indent - pick(8, 4), LEFT},
         (struct look){TEXT_BODY, ink, behind}, phrase(label));
}

void toggle(int right, int middle, int is_on, int is_selected) {
  const int radius = pick(12, 9), length = pick(46, 34), left = right - length;
  const uint16_t body = !is_on ? EDGE : is_selected ? DRAVIK_WHITE : get_theme_color();
  const uint16_t knob = !is_on ? MUTED : is_selected ? get_theme_color() : DRAVIK_WHITE;
  disc(left + radius, middle, radius, body);
  disc(right - radius, middle, radius, body);
  fill(left + radius, middle - radius, length - 2 * radius, 2 * radius, body);
  disc(is_on ? right - radius : left + radius, middle, radius - 3, knob);
}

void level(int x, int middle, int width, int percent, uint16_t colour) {
  const int height = pick(8, 6), limited = percent < 0 ? 0 : percent > 100 ? 100 : percent;
  fill(x, middle - height / 2, width, height, EDGE);
  fill(x, middle - height / 2, width * limited / 100, height, colour);
}

/* ---------------------------------------------------------------------------------------------- values */

void size_text(char text_[SIZE_TEXT], int64_t mib) {
  enum { GIB = 1024 };
  if (mib >= GIB)
    snprintf(text_, SIZE_TEXT, "%d.%d GiB", (int)(mib / GIB), (int)(mib % GIB * 10 / GIB));
  else
    snprintf(text_, SIZE_TEXT, "%d MiB", (int)mib);
}

enum ink temperature_ink(int tenths_of_a_degree) {
  enum { WARM_C10 = 600, HOT_C10 = 800 };
  return tenths_of_a_degree >= HOT_C10 ? INK_ALARM : tenths_of_a_degree >= WARM_C10 ? INK_WARM : INK_WHITE;
}
