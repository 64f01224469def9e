/* A screenshot on the memory card: the contents of the screen as a BMP file.
 *
 * Build:  cc -std=c99 screenshot.c -o screenshot -ldravik
 * Run:    ./screenshot on the device, or on a simulated board:
 *         dravik-sim new board
 *         dravik-sim run board -- ./screenshot && ls board/tmp/mmcblk0p1 */
#include <dravik.h>

#include <stdio.h>
#include <string.h>
#include <unistd.h>

enum { WIDTH = 640, HEIGHT = 480 }; /* fb_get_bmp_file() saves this size only */

static uint16_t pixels[WIDTH * HEIGHT];

/* Lines on the screen may be longer than their pixels. */
static void copy_screen(void) {
  for (size_t y = 0; y < HEIGHT; ++y)
    memcpy(pixels + y * WIDTH, fbp + y * fbinfo[FBINFO_LINE_LENGTH], WIDTH * sizeof *pixels);
}

static int save(void) {
  if (fbinfo[FBINFO_XRES] != WIDTH || fbinfo[FBINFO_YRES] != HEIGHT || fbinfo[FBINFO_BITS_PER_PIXEL] != 16) {
    fprintf(stderr, "screenshot: not a 16-bit screen of %d x %d\n", WIDTH, HEIGHT);
    return 1;
  }
  copy_screen();
  if (fb_get_bmp_file(pixels) != 0) {
    fprintf(stderr, "screenshot: not saved; check the memory card\n");
    return 1;
  }
  puts("saved as /tmp/mmcblk0p1/q7_HHMMSS.bmp, with the time of day");
  return 0;
}

int main(int argc, char **argv) {
  (void)argc;
  (void)argv;
  if (access("/dev/fb0", F_OK) != 0)
    fprintf(stderr, "screenshot: no /dev/fb0; run it on a board, or under dravik-sim\n");
  fb_init(); /* terminates the program if there is no screen; leaves its pixels as they are */
  const int status = save();
  return fb_exit() == 0 ? status : 1;
}
