#include "options.h"

#include "phrases.h"

#include <errno.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

void print_help(void) {
  puts("Usage: dashcam [--screen NAME [--press KEYS] [--stay]] [--turns N] [--seconds S]\n"
       "               [--time HH:MM:SS] [--language CODE] [--screenshot]\n"
       "       dashcam --list\n\n"
       "Show the screens of a dash camera in turn, with sound, until SIGINT or SIGTERM.\n\n"
       "The screens follow the board: accelerometer, temperature, memory card, monitor\n"
       "and three GPIO lines. Line 60 is high while the car is parked; lines 61 and 62\n"
       "are the keys NEXT and OK. SIGUSR1 is the screenshot key: it saves the screen as\n"
       "a BMP file in /tmp/mmcblk0p1, on a panel of 640 by 480 only.\n\n"
       "Options:\n"
       "  --screen NAME    draw this screen and exit; it stays on the panel\n"
       "  --press KEYS     press keys on that screen first: a list such as next,ok\n"
       "  --stay           stay on that screen until a signal\n"
       "  --turns N        exit after N turns\n"
       "  --seconds S      time per screen (default: 4)\n"
       "  --time HH:MM:SS  start at this time of day (default: now)\n"
       "  --language CODE  start in en, de, ja, el, ko, ru or zh (default: en); each\n"
       "                   turn uses the next\n"
       "  --screenshot     save each screen when it is first drawn\n"
       "  --list           list the screens");
}

void print_screens(void) {
  for (int i = 0; i < screen_count; ++i)
    printf("%-10s %s\n", screens[i].name, screens[i].shows);
}

static const struct screen *find_screen(const char *name) {
  for (int i = 0; i < screen_count; ++i)
    if (strcmp(screens[i].name, name) == 0)
      return &screens[i];
  return NULL;
}

/* Return a whole number from 1 to INT_MAX; 0 if the text is not one. */
static int read_count(const char *text) {
  char *end;
  errno = 0;
  const long count = strtol(text, &end, 10);
  return errno == 0 && end != text && *end == '\0' && count > 0 && count <= INT_MAX ? (int)count : 0;
}

/* Return HH:MM:SS in seconds; -1 if the text is not a time of day. */
static int read_time(const char *text) {
  int hour, minute, second, length = 0;
  if (sscanf(text, "%2d:%2d:%2d%n", &hour, &minute, &second, &length) != 3 || text[length] != '\0')
    return -1;
  if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59)
    return -1;
  return (hour * 60 + minute) * 60 + second;
}

/* Parse names of keys, separated by commas. Return 0, or -1 if one is not a key or there are too many. */
static int read_keys(struct options *options, const char *text) {
  options->key_count = 0;
  for (const char *rest = text; options->key_count < MOST_KEYS; ++rest) {
    const size_t length = strcspn(rest, ",");
    const int is_next = length == 4 && strncmp(rest, "next", 4) == 0;
    if (!is_next && (length != 2 || strncmp(rest, "ok", 2) != 0))
      return -1;
    options->keys[options->key_count++] = is_next ? KEY_NEXT : KEY_OK;
    rest += length;
    if (*rest == '\0')
      return 0;
  }
  return -1;
}

/* Parse an option with a value. Return 0, or -1 if it is invalid. */
static int read_option(struct options *options, const char *name, const char *value) {
  if (strcmp(name, "--screen") == 0)
    return (options->only = find_screen(value)) != NULL ? 0 : -1;
  if (strcmp(name, "--press") == 0)
    return read_keys(options, value);
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

/* Parse an option without a value. Return 0, or -1 if there is no such option. */
static int read_switch(struct options *options, const char *name) {
  if (strcmp(name, "--screenshot") == 0)
    return options->is_saving = 1, 0;
  if (strcmp(name, "--stay") == 0)
    return options->is_staying = 1, 0;
  return -1;
}

/* Keys and --stay require a single screen. */
static int make_sense(const struct options *options) {
  if (options->only != NULL || (options->key_count == 0 && !options->is_staying))
    return 1;
  fputs("dashcam: missing --screen; --press and --stay require it\n", stderr);
  return 0;
}

int read_options(struct options *options, int count, char **words) {
  for (int i = 1; i < count; ++i) {
    if (read_switch(options, words[i]) == 0)
      continue;
    if (i + 1 < count && read_option(options, words[i], words[i + 1]) == 0) {
      ++i;
      continue;
    }
    fprintf(stderr, "dashcam: invalid option: %s %s; try 'dashcam --help'\n", words[i],
            i + 1 < count ? words[i + 1] : "");
    return -1;
  }
  return make_sense(options) ? 0 : -1;
}
