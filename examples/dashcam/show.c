#define _POSIX_C_SOURCE 200809L

#include "show.h"

#include "camera.h"
#include "card_care.h"
#include "navigation.h"
#include "notices.h"
#include "question.h"
#include "recorder.h"
#include "ride.h"
#include "screenshot.h"
#include "settings.h"
#include "speaker.h"
#include "tell.h"

#include <signal.h>
#include <string.h>
#include <time.h>

/* Keys are read at every tick, the movement at every second one, and the rest twice per second. */
enum { TICK_MS = 50, TICKS_A_STEP = 2, TICKS_A_HALF_SECOND = 10 };

static volatile sig_atomic_t is_told_to_end, is_told_to_save;
static int is_over;

static void on_signal(int number) {
  if (number == SIGUSR1)
    is_told_to_save = 1;
  else
    is_told_to_end = 1;
}

void listen_to_signals(void) {
  struct sigaction action;
  memset(&action, 0, sizeof action);
  action.sa_handler = on_signal;
  sigaction(SIGINT, &action, NULL);
  sigaction(SIGTERM, &action, NULL);
  sigaction(SIGUSR1, &action, NULL);
}

void end_show(void) {
  is_over = 1;
}

/* ------------------------------------------------------------------------------------------------ time */

static int ticks;

static int seconds_of_day(void) {
  const time_t now = time(NULL);
  struct tm local;
  localtime_r(&now, &local);
  return (local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec;
}

/* Without a time to start at, the board's clock leads. */
static void ride_on(const struct options *options) {
  const int half_seconds = ticks / TICKS_A_HALF_SECOND, is_parked = board()->is_parked;
  if (options->start >= 0)
    ride_go_on(options->start, half_seconds, is_parked);
  else
    ride_go_on(seconds_of_day(), half_seconds % 2, is_parked);
}

static void save_when_told(void) {
  if (is_told_to_save) {
    is_told_to_save = 0;
    save_screen();
  }
}

static void wait_tick(void) {
  struct timespec left = {0, TICK_MS * 1000000};
  do
    save_when_told();
  while (!is_told_to_end && nanosleep(&left, &left) != 0);
  ++ticks;
}

/* ---------------------------------------------------------------------------------------------- living */

static void follow_key(const struct options *options) {
  const enum key key = board_key(options->hold_ms / TICK_MS);
  if (key == KEY_NONE)
    return;
  speaker_click();
  press_key(key);
}

static void follow_fast(void) {
  if (board_look_at_movement()) {
    camera_feel();
    follow_movement();
  }
  step_page();
}

/* A question about a state that is over would make no sense. */
static void follow_board(const struct options *options) {
  board_look_around();
  ride_on(options);
  const int is_new_monitor = camera_follow_monitor(), is_new_state = camera_follow();
  camera_blink(ride()->is_lit);
  if (camera_state() == CAMERA_RECORDING)
    record();
  if (is_new_state)
    question_close();
  if (is_new_state || is_new_monitor || notice_is_over())
    draw_page();
  else
    refresh_page();
}

static void live(const struct options *options) {
  while (!is_told_to_end && !is_over) {
    wait_tick();
    follow_key(options);
    if (ticks % TICKS_A_STEP == 0)
      follow_fast();
    if (ticks % TICKS_A_HALF_SECOND == 0)
      follow_board(options);
    draw_notice();
  }
}

static void show_live(const struct options *options) {
  console_open();
  speaker_open();
  recorder_open();
  apply_sound();
  speaker_say(SOUND_CHIME);
  camera_lights_on();
  camera_follow();
  navigation_start(options->only != NULL ? options->only : &splash_page);
  live(options);
  camera_lights_off();
  speaker_close(is_told_to_end);
  console_close();
}

static int show_still(const struct options *options) {
  navigation_start(options->only);
  for (int i = 0; i < options->key_count; ++i)
    press_key(options->keys[i]);
  return options->is_saving ? save_screen() : 0;
}

int show(const struct options *options) {
  int result = 0;
  board_open();
  camera_set_state();
  ride_on(options);
  if (options->only != NULL && !options->is_staying)
    result = show_still(options);
  else
    show_live(options);
  board_close();
  return card_has_failed() ? -1 : result;
}
