/* Shapes and fills, and a ramp of the colour table.
 *
 * Build:  cc -std=c99 shapes.c -o shapes -ldravik
 * Run:    ./shapes on the device, or on a simulated board:
 *         dravik-sim new board
 *         dravik-sim run board -- ./shapes && dravik-sim shot board shapes.png */
#include <dravik.h>

#include <stdio.h>
#include <unistd.h>

enum { WIDTH = 320, HEIGHT = 240 }; /* lines and circles are not clipped: the screen must have these pixels */

static void draw_rays(int x, int y, int length) {
  for (int step = -length; step <= length; step += 8)
    fb_put_line(x, y, x + length, y + step, DRAVIK_CYAN);
}

static void draw_target(int x, int y) {
  fb_put_circle_fill(x, y, 40, DRAVIK_WHITE);
  fb_put_circle_fill(x, y, 26, DRAVIK_RED);
  fb_put_circle_fill(x, y, 12, DRAVIK_WHITE);
  fb_put_circle(x, y, 48, DRAVIK_GREY);
}

/* The 16 colours from the theme colour to white. */
static void draw_ramp(int x, int y) {
  for (int step = 0; step < DRAVIK_RAMP_STEPS; ++step)
    fb_put_rect_fill(x + step * 17, y, x + 16 + step * 17, y + 30,
                     gc[DRAVIK_THEME_TO_WHITE * DRAVIK_RAMP_STEPS + step]);
}

int main(int argc, char **argv) {
  (void)argc;
  (void)argv;
  if (access("/dev/fb0", F_OK) != 0)
    fprintf(stderr, "shapes: no /dev/fb0; run it on a board, or under dravik-sim\n");
  fb_init(); /* terminates the program if there is no screen */
  const int xres = (int)fbinfo[FBINFO_XRES], yres = (int)fbinfo[FBINFO_YRES];
  if (xres < WIDTH || yres < HEIGHT || fbinfo[FBINFO_BITS_PER_PIXEL] != 16) {
    fprintf(stderr, "shapes: not a 16-bit screen of at least %d x %d\n", WIDTH, HEIGHT);
    fb_exit();
    return 1;
  }
  fb_clear_screen(DRAVIK_BLACK);
  fb_clear_screen_gradient();
  fb_put_rect_thick(0, 0, xres - 1, yres - 1, get_theme_color(), 4);
  draw_rays(20, 100, 60);
  draw_target(160, 100);
  fb_put_rect_fill(230, 60, 300, 90, get_theme_color());
  fb_put_rect(230, 110, 300, 140, DRAVIK_YELLOW);
  fb_put_triangle(265, 20, 240, 50, 290, 50, DRAVIK_YELLOW);
  draw_ramp(20, 180);
  return fb_exit() == 0 ? 0 : 1;
}
