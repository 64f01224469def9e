#include "screenshot.h"

#include <dravik.h>

#include <stdio.h>
#include <string.h>

enum { WIDTH = 640, HEIGHT = 480 };

/* The visible pixels, without what the device keeps behind each line. */
static const uint16_t *visible_pixels(void) {
  static uint16_t pixels[WIDTH * HEIGHT];
  for (size_t row = 0; row < HEIGHT; ++row)
    memcpy(pixels + row * WIDTH, fbp + row * fbinfo[FBINFO_LINE_LENGTH], WIDTH * sizeof *pixels);
  return pixels;
}

static int report(int result, const char *what) {
  fprintf(stderr, "dashcam: %s\n", what);
  log_printf("screenshot: %s", what);
  return result;
}

int save_screen(void) {
  if (fbinfo[FBINFO_XRES] != WIDTH || fbinfo[FBINFO_YRES] != HEIGHT)
    return report(-1, "only a panel of 640 by 480 can be saved");
  if (fb_get_bmp_file(visible_pixels()) != 0)
    return report(-1, "the screen cannot be saved; is the card in?");
  return report(0, "the screen is saved on the card");
}
