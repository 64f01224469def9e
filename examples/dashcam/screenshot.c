#define _POSIX_C_SOURCE 200809L

#include "screenshot.h"

#include <dravik.h>

#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

enum { WIDTH = 640, HEIGHT = 480, HEADER = 66, WHOLE_FILE = HEADER + WIDTH * HEIGHT * 2 };

/* Copies the visible pixels, without the padding of lines. */
static const uint16_t *visible_pixels(void) {
  static uint16_t pixels[WIDTH * HEIGHT];
  for (size_t row = 0; row < HEIGHT; ++row)
    memcpy(pixels + row * WIDTH, fbp + row * fbinfo[FBINFO_LINE_LENGTH], WIDTH * sizeof *pixels);
  return pixels;
}

static int report(int result, const char *what) {
  fprintf(stderr, "dashcam: screenshot: %s\n", what);
  log_printf("screenshot: %s", what);
  return result;
}

/* Removes what a full card has of a screenshot that was begun in a second. */
static void remove_cut_file(time_t second) {
  char path[64];
  struct tm local;
  struct stat status;
  localtime_r(&second, &local);
  strftime(path, sizeof path, "/tmp/mmcblk0p1/q7_%H%M%S.bmp", &local);
  if (stat(path, &status) == 0 && status.st_size < WHOLE_FILE)
    unlink(path);
}

/* The library names the file after the second in which it begins. */
static int save_or_remove(const uint16_t *pixels) {
  const time_t before = time(NULL);
  const int result = fb_get_bmp_file(pixels);
  if (result != 0) {
    remove_cut_file(before);
    remove_cut_file(before + 1);
  }
  return result;
}

int save_screen(void) {
  if (fbinfo[FBINFO_XRES] != WIDTH || fbinfo[FBINFO_YRES] != HEIGHT)
    return report(-1, "requires a panel of 640 by 480");
  if (save_or_remove(visible_pixels()) != 0)
    return report(-1, "cannot be saved; requires a memory card with free space");
  return report(0, "saved on the memory card");
}
