/* A dash-camera's interface, drawn with libdravik: the screens in turn until a signal comes.
 *
 * On the device: copy the staged folder usr/local/dravik to /usr/local/dravik, then run `dashcam`.
 * On the simulated board: scripts/demo, or `dravik-sim run BOARD -- dashcam` after the same copy. */
#define _POSIX_C_SOURCE 200809L

#include "canvas.h"
#include "phrases.h"
#include "screens.h"
#include "screenshot.h"
#include "words.h"

#include <errno.h>
#include <limits.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

struct options {
  const struct screen *only; /* null: all in turn */
  int turns;                 /* 0: until a signal */
  int seconds;               /* a screen */
  int start;                 /* seconds of the day, or -1 for the clock's */
  int is_saving;             /* each screen as it is first drawn */
};

static volatile sig_atomic_t is_told_to_end, is_told_to_save;

static void on_signal(int number) {
  if (number == SIGUSR1)
    is_told_to_save = 1;
  else
    is_told_to_end = 1;
}

static void listen_to_signals(void) {
  struct sigaction action;
  memset(&action, 0, sizeof action);
  action.sa_handler = on_signal;
  sigaction(SIGINT, &action, NULL);
  sigaction(SIGTERM, &action, NULL);
  sigaction(SIGUSR1, &action, NULL);
}

/* ------------------------------------------------------------------------------------------- arguments */

static void print_help(void) {
  puts("dashcam [--screen NAME] [--turns N] [--seconds S] [--time HH:MM:SS] [--language CODE]\n"
       "        [--screenshot] [--list]\n\n"
       "Shows a dash-camera's screens in turn until SIGINT or SIGTERM. SIGUSR1 is the screenshot key: it "
       "saves\n"
       "the screen on the card, as a BMP file in /tmp/mmcblk0p1; only on a panel of 640 by 480.\n\n"
       "  --screen NAME    draw this screen, leave it there and end\n"
       "  --turns N        end after so many turns\n"
       "  --seconds S      how long each screen stays (4)\n"
       "  --time HH:MM:SS  begin at this time of day instead of now\n"
       "  --language CODE  begin in en, de, ja, el, ko, ru or zh; each turn takes the next\n"
       "  --screenshot     save each screen as it is first drawn\n"
       "  --list           list the screens");
}

static void print_screens(void) {
  for (int i = 0; i < screen_count; ++i)
    printf("%-10s %s\n", screens[i].name, screens[i].shows);
}

static const struct screen *find_screen(const char *name) {
  for (int i = 0; i < screen_count; ++i)
    if (strcmp(screens[i].name, name) == 0)
      return &screens[i];
  return NULL;
}

/* A whole number from 1 to INT_MAX; 0 when the text is none. */
static int read_count(const char *text) {
  char *end;
  errno = 0;
  const long count = strtol(text, &end, 10);
  return errno == 0 && end != text && *end == '\0' && count > 0 && count <= INT_MAX ? (int)count : 0;
}

/* HH:MM:SS in seconds; -1 when the text is no time of day. */
static int read_time(const char *text) {
  int hour, minute, second, length = 0;
  if (sscanf(text, "%2d:%2d:%2d%n", &hour, &minute, &second, &length) != 3 || text[length] != '\0')
    return -1;
  if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59)
    return -1;
  return (hour * 60 + minute) * 60 + second;
}

/* Takes one option with its value. Gives 0, or -1 when they make no sense. */
static int read_option(struct options *options, const char *name, const char *value) {
  if (strcmp(name, "--screen") == 0)
    return (options->only = find_screen(value)) != NULL ? 0 : -1;
  if (strcmp(name, "--turns") == 0)
    return (options->turns = read_count(value)) > 0 ? 0 : -1;
  if (strcmp(name, "--seconds") == 0)
    return (options->seconds = read_count(value)) > 0 ? 0 : -1;
  if (strcmp(name, "--time") == 0)
    return (options->start = read_time(value)) >= 0 ? 0 : -1;
  if (strcmp(name, "--language") == 0)
    return choose_language(value);
  return -1;
}

static int read_options(struct options *options, int count, char **words) {
  for (int i = 1; i < count; ++i) {
    if (strcmp(words[i], "--screenshot") == 0) {
      options->is_saving = 1;
      continue;
    }
    if (i + 1 < count && read_option(options, words[i], words[i + 1]) == 0) {
      ++i;
      continue;
    }
    fprintf(stderr, "dashcam: not understood: %s %s; see dashcam --help\n", words[i],
            i + 1 < count ? words[i + 1] : "");
    return -1;
  }
  return 0;
}

/* --------------------------------------------------------------------------------------------- screens */

static int seconds_of_day(void) {
  const time_t now = time(NULL);
  struct tm local;
  localtime_r(&now, &local);
  return (local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec;
}

/* The ride at so many half seconds after the beginning. */
static struct ride ride_now(const struct options *options, int half_seconds) {
  return options->start >= 0 ? ride_at(options->start, half_seconds)
                             : ride_at(seconds_of_day(), half_seconds % 2);
}

static void save_when_told(void) {
  if (is_told_to_save) {
    is_told_to_save = 0;
    save_screen();
  }
}

static void wait_half_second(void) {
  struct timespec left = {0, 500000000};
  do
    save_when_told();
  while (!is_told_to_end && nanosleep(&left, &left) != 0);
}

/* Draws a screen anew. Gives 0, or -1 when it was to be saved and could not. */
static int draw_screen(const struct screen *screen, const struct options *options, const struct ride *ride) {
  log_printf("screen %s", screen->name);
  screen->draw(ride);
  return options->is_saving ? save_screen() : 0;
}

static void show_screen(const struct screen *screen, const struct options *options, int *half_seconds) {
  struct ride ride = ride_now(options, *half_seconds);
  draw_screen(screen, options, &ride);
  for (int i = 0; i < 2 * options->seconds && !is_told_to_end; ++i) {
    wait_half_second();
    ride = ride_now(options, ++*half_seconds);
    screen->refresh(&ride);
  }
}

static void show_all(const struct options *options) {
  int half_seconds = 0;
  for (int turn = 0; (options->turns == 0 || turn < options->turns) && !is_told_to_end; ++turn) {
    for (int i = 0; i < screen_count && !is_told_to_end; ++i)
      show_screen(&screens[i], options, &half_seconds);
    next_theme();
    next_language();
  }
}

/* Gives 0, or -1 when the one screen was to be saved and could not. */
static int show(const struct options *options) {
  if (options->only == NULL)
    return show_all(options), 0;
  const struct ride ride = ride_now(options, 0);
  return draw_screen(options->only, options, &ride);
}

int main(int count, char **words) {
  struct options options = {NULL, 0, 4, -1, 0};
  if (count == 2 && strcmp(words[1], "--list") == 0)
    return print_screens(), 0;
  if (count == 2 && strcmp(words[1], "--help") == 0)
    return print_help(), 0;
  if (read_options(&options, count, words) != 0)
    return 2;

  listen_to_signals();
  fb_init();
  log_printf("dashcam on a panel of %u x %u", fbinfo[FBINFO_XRES], fbinfo[FBINFO_YRES]);
  int result = -1;
  if (canvas_open() == 0 && words_are_ready())
    result = show(&options);
  else
    fprintf(stderr, "dashcam: fonts, artwork or pictures are missing in /usr/local/dravik\n");
  canvas_close();
  log_printf("dashcam ends");
  fb_exit();
  return result == 0 ? 0 : 1;
}
