#include "camera.h"

#include "board.h"
#include "notices.h"
#include "recorder.h"
#include "settings.h"
#include "tell.h"

#include <dravik.h>

#include <stdlib.h>

enum { REST_MG = 500, FULL_PERCENT = 2, HOT_C10 = 800, COOL_C10 = 750, BACKLIGHT_PERCENT = 10 };

static const int impact_mg[] = {2000, 1500, 1000}; /* for a low, medium and high sensitivity */

static const struct {
  const char *name;
  enum notice notice;
} states[] = {
    [CAMERA_RECORDING] = {"recording", NOTICE_RECORDING},
    [CAMERA_PARKED] = {"parking", NOTICE_PARKING},
    [CAMERA_HOT] = {"hot", NOTICE_HOT},
    [CAMERA_CARD_FULL] = {"card full", NOTICE_CARD_FULL},
    [CAMERA_CARD_MISSING] = {"card missing", NOTICE_CARD_MISSING},
    [CAMERA_CARD_ERROR] = {"card error", NOTICE_CARD_ERROR},
};

static enum camera_state state;
static int has_lights;

enum camera_state camera_state(void) {
  return state;
}

int camera_is_recording(void) {
  return state == CAMERA_RECORDING || state == CAMERA_PARKED;
}

/* Once too hot, it must have cooled down well. */
static int is_hot(const struct board *board) {
  const int limit = state == CAMERA_HOT ? COOL_C10 : HOT_C10;
  return board->has_temperature && board->temperature_c10 >= limit;
}

static enum camera_state state_of(const struct board *board) {
  const struct card *card = &board->card;
  if (is_hot(board))
    return CAMERA_HOT;
  if ((card->status & DRAVIK_CARD_PRESENT) == 0)
    return CAMERA_CARD_MISSING;
  if (!card->is_usable)
    return CAMERA_CARD_ERROR;
  if ((int64_t)card->free_mib * 100 < (int64_t)card->part_mib * FULL_PERCENT)
    return CAMERA_CARD_FULL;
  return board->is_parked ? CAMERA_PARKED : CAMERA_RECORDING;
}

void camera_set_state(void) {
  state = state_of(board());
}

/* ---------------------------------------------------------------------------------------------- lights */

void camera_show_lights(void) {
  if (!has_lights)
    return;
  lcd_bl_set(state == CAMERA_PARKED ? DRAVIK_BACKLIGHT_LOW : setting(SETTING_BRIGHTNESS) * BACKLIGHT_PERCENT);
  if (state == CAMERA_PARKED)
    led_green();
  else if (state != CAMERA_RECORDING)
    led_orange();
}

void camera_lights_on(void) {
  lcd_bl_init();
  has_lights = 1;
}

void camera_lights_off(void) {
  lcd_bl_set(DRAVIK_BACKLIGHT_HIGH);
  led_off();
  lcd_bl_exit();
  has_lights = 0;
}

void camera_blink(int is_lit) {
  if (!has_lights || state != CAMERA_RECORDING)
    return;
  if (is_lit)
    led_red();
  else
    led_off();
}

/* ---------------------------------------------------------------------------------------------- events */

int camera_follow(void) {
  static int is_known;
  const enum camera_state before = state;
  camera_set_state();
  if (is_known && state == before)
    return 0;
  is_known = 1;
  tell("state: %s", states[state].name);
  camera_show_lights();
  notice(states[state].notice);
  return 1;
}

int camera_follow_monitor(void) {
  static int32_t before = -1;
  const int32_t monitor = board()->monitor;
  const int has_changed = before >= 0 && monitor >= 0 && monitor != before;
  if (has_changed)
    notice(monitor == 1 ? NOTICE_MONITOR_ATTACHED : NOTICE_MONITOR_REMOVED);
  before = monitor;
  return has_changed;
}

static void save_event(void) {
  if (camera_is_recording() && record_event() == 0)
    tell("event saved");
}

void camera_save_event(void) {
  if (!camera_is_recording())
    return;
  notice(NOTICE_PROTECTED);
  save_event();
}

/* Return the deviation from gravity alone, on the axis where it is largest. */
static int jolt_mg(const struct board *board) {
  const int x = abs(board->x_mg), y = abs(board->y_mg), z = abs(board->z_mg - 1000);
  return x > y ? (x > z ? x : z) : (y > z ? y : z);
}

void camera_feel(void) {
  static int is_shaken;
  const int jolt = board()->has_sensor ? jolt_mg(board()) : 0;
  if (jolt >= impact_mg[setting(SETTING_IMPACT)] && !is_shaken) {
    is_shaken = 1;
    tell("impact of %d mg", jolt);
    notice(NOTICE_IMPACT);
    save_event();
  } else if (jolt < REST_MG) {
    is_shaken = 0;
  }
}
