#define _POSIX_C_SOURCE 200809L

#include "show.h"

#include "camera.h"
#include "notices.h"
#include "phrases.h"
#include "screenshot.h"
#include "speaker.h"
#include "tell.h"
#include "volume.h"

#include <signal.h>
#include <string.h>
#include <time.h>

/* Keys are read at every tick, the movement at every second one, and the rest twice per second. */
enum { TICK_MS = 50, TICKS_A_LOOK = 2, TICKS_A_HALF_SECOND = 10 };

static volatile sig_atomic_t is_told_to_end, is_told_to_save;

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

/* ------------------------------------------------------------------------------------------------ time */

static int ticks;

static int seconds_of_day(void) {
  const time_t now = time(NULL);
  struct tm local;
  localtime_r(&now, &local);
  return (local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec;
}

static struct ride ride_now(const struct options *options) {
  const int half_seconds = ticks / TICKS_A_HALF_SECOND;
  return options->start >= 0 ? ride_at(options->start, half_seconds)
                             : ride_at(seconds_of_day(), half_seconds % 2);
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

/* --------------------------------------------------------------------------------------------- drawing */

static void draw(const struct screen *screen, const struct options *options) {
  const struct ride ride = ride_now(options);
  screen->draw(&ride);
  notice_draw();
}

/* Draw a new screen. Return 0, or -1 if it could not be saved as requested. */
static int begin(const struct screen *screen, const struct options *options) {
  tell("screen %s", screen->name);
  if (screen->enter != NULL)
    screen->enter();
  draw(screen, options);
  return options->is_saving ? save_screen() : 0;
}

/* Return 0 if the screen does not use the key. */
static int press(const struct screen *screen, const struct options *options, enum key key) {
  tell("key %s", key == KEY_NEXT ? "next" : "ok");
  const int is_taken = screen->press != NULL && screen->press(key);
  draw(screen, options);
  return is_taken;
}

static void follow_movement(const struct screen *screen) {
  if (!board_look_at_movement())
    return;
  camera_feel();
  if (screen->follow != NULL)
    screen->follow();
  notice_draw();
}

static void follow_board(const struct screen *screen, const struct options *options) {
  const struct ride ride = ride_now(options);
  board_look_around();
  const int is_new_state = camera_follow();
  camera_blink(ride.is_lit);
  if (is_new_state || notice_is_over())
    screen->draw(&ride);
  else
    screen->refresh(&ride);
  notice_draw();
}

/* ---------------------------------------------------------------------------------------------- living */

static int64_t ticks_of(int seconds) {
  return (int64_t)seconds * 1000 / TICK_MS;
}

/* Handle one tick. Return 0 if a key ends the screen. */
static int live(const struct screen *screen, const struct options *options, int64_t *ticks_left) {
  wait_tick();
  const enum key key = board_key();
  if (key != KEY_NONE) {
    speaker_click();
    *ticks_left = ticks_of(options->seconds);
    if (!press(screen, options, key) && key == KEY_NEXT)
      return 0;
  }
  if (ticks % TICKS_A_LOOK == 0)
    follow_movement(screen);
  if (ticks % TICKS_A_HALF_SECOND == 0)
    follow_board(screen, options);
  return 1;
}

static void show_screen(const struct screen *screen, const struct options *options) {
  int64_t ticks_left = ticks_of(options->seconds);
  begin(screen, options);
  while (!is_told_to_end && (options->is_staying || ticks_left-- > 0))
    if (!live(screen, options, &ticks_left) && !options->is_staying)
      return;
}

static void show_all(const struct options *options) {
  for (int turn = 0; (options->turns == 0 || turn < options->turns) && !is_told_to_end; ++turn) {
    for (int i = 0; i < screen_count && !is_told_to_end; ++i)
      show_screen(&screens[i], options);
    next_theme();
    next_language();
  }
}

static void show_live(const struct options *options) {
  console_open();
  speaker_open();
  volume_set_up();
  speaker_say(SOUND_CHIME);
  camera_lights_on();
  camera_follow();
  if (options->only != NULL)
    show_screen(options->only, options);
  else
    show_all(options);
  camera_lights_off();
  speaker_close(is_told_to_end);
  console_close();
}

static int show_still(const struct options *options) {
  const int result = begin(options->only, options);
  for (int i = 0; i < options->key_count; ++i)
    press(options->only, options, options->keys[i]);
  return card_has_failed() ? -1 : result;
}

int show(const struct options *options) {
  int result = 0;
  board_open();
  camera_set_state();
  if (options->only != NULL && !options->is_staying)
    result = show_still(options);
  else
    show_live(options);
  board_close();
  return result;
}
