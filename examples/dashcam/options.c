#include "options.h"

#include "phrases.h"

#include <stdio.h>
#include <string.h>

void print_help(void) {
  puts("Usage: dashcam [--screen NAME [--press KEYS] [--stay]] [--time HH:MM:SS]\n"
       "               [--language CODE] [--hold-time MS] [--screenshot]\n"
       "       dashcam --list\n\n"
       "Run a dash camera with its pages, its sound and its recordings, until it is\n"
       "switched off in its menu, or until SIGINT or SIGTERM.\n\n"
       "The camera follows the board: accelerometer, temperature, memory card, monitor\n"
       "and three GPIO lines. Line 60 is high while the car is parked; lines 61 and 62\n"
       "are the keys NEXT and OK. NEXT selects, OK opens and changes, OK held for 0.7 s\n"
       "goes back. SIGUSR1 is the screenshot key: it saves the screen as a BMP file in\n"
       "/tmp/mmcblk0p1, on a panel of 640 by 480 only. The settings are kept in\n"
       "/usr/local/dravik/dashcam.conf.\n\n"
       "Options:\n"
       "  --screen NAME    draw this page and exit; it stays on the panel\n"
       "  --press KEYS     press keys on that page first: a list such as next,ok,back\n"
       "  --stay           start at that page\n"
       "  --time HH:MM:SS  start at this time of day (default: now)\n"
       "  --language CODE  use en, de, el, ru, ja, ko or zh (default: that of the\n"
       "                   settings)\n"
       "  --hold-time MS   go back when OK is held for 100 to 10000 ms (default: 700)\n"
       "  --screenshot     save the page\n"
       "  --list           list the pages");
}

void print_pages(void) {
  for (int i = 0; i < PAGES; ++i)
    printf("%-10s %s\n", pages[i]->name, pages[i]->shows);
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

/* Return the number of milliseconds; -1 if the text is not one from 100 to 10000. */
static int read_hold_time(const char *text) {
  int ms, length = 0;
  if (sscanf(text, "%5d%n", &ms, &length) != 1 || text[length] != '\0')
    return -1;
  return ms >= 100 && ms <= 10000 ? ms : -1;
}

static enum key find_key(const char *name, size_t length) {
  static const char *const names[] = {[KEY_NEXT] = "next", [KEY_OK] = "ok", [KEY_BACK] = "back"};
  for (int i = KEY_NEXT; i <= KEY_BACK; ++i)
    if (strlen(names[i]) == length && strncmp(names[i], name, length) == 0)
      return (enum key)i;
  return KEY_NONE;
}

/* Parse names of keys, separated by commas. Return 0, or -1 if one is not a key or there are too many. */
static int read_keys(struct options *options, const char *text) {
  options->key_count = 0;
  for (const char *rest = text; options->key_count < MOST_KEYS; ++rest) {
    const size_t length = strcspn(rest, ",");
    const enum key key = find_key(rest, length);
    if (key == KEY_NONE)
      return -1;
    options->keys[options->key_count++] = key;
    rest += length;
    if (*rest == '\0')
      return 0;
  }
  return -1;
}

/* Parse an option with a value. Return 0, or -1 if it is invalid. */
static int read_option(struct options *options, const char *name, const char *value) {
  if (strcmp(name, "--screen") == 0)
    return (options->only = find_page(value)) != NULL ? 0 : -1;
  if (strcmp(name, "--press") == 0)
    return read_keys(options, value);
  if (strcmp(name, "--time") == 0)
    return (options->start = read_time(value)) >= 0 ? 0 : -1;
  if (strcmp(name, "--hold-time") == 0)
    return (options->hold_ms = read_hold_time(value)) > 0 ? 0 : -1;
  if (strcmp(name, "--language") == 0)
    return (options->language = language_of_code(value)) >= 0 ? 0 : -1;
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

/* Keys and --stay require a page. */
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
