/* Shapes and clears.
 *
 * Build:  cc -std=c99 draw.c -o draw -ldravik
 * Run:    ./draw on the device, or on a simulated board:
 *         dravik-sim new board && dravik-sim run board -- ./draw && dravik-sim shot board draw.png */
#include <dravik.h>

enum { BLACK = 0x0821, WHITE = 0xFFFF, RED = 0xF800, YELLOW = 0xFFE0, CYAN = 0x07FF, GREY = 0x7BEF };

/* Rays from one point: lines are not clipped, so both ends stay on the screen. */
static void draw_rays(int x, int y, int reach) {
  for (int step = -reach; step <= reach; step += 8)
    fb_put_line(x, y, x + reach, y + step, CYAN);
}

static void draw_target(int x, int y) {
  fb_put_circle_fill(x, y, 40, WHITE);
  fb_put_circle_fill(x, y, 26, RED);
  fb_put_circle_fill(x, y, 12, WHITE);
  fb_put_circle(x, y, 48, GREY);
}

int main(void) {
  fb_init(); /* ends the program when there is no screen */
  const int right = (int)fbinfo[FBINFO_XRES] - 1, bottom = (int)fbinfo[FBINFO_YRES] - 1;

  fb_clear_screen(BLACK);
  fb_clear_screen_gradient();
  fb_put_rect_thick(0, 0, right, bottom, get_theme_color(), 4);

  draw_rays(20, 100, 60);
  draw_target(160, 100);
  fb_put_rect_fill(230, 60, 300, 90, get_theme_color());
  fb_put_rect(230, 110, 300, 140, YELLOW);
  fb_put_triangle(265, 20, 240, 50, 290, 50, YELLOW);
  for (int step = 0; step < 16; ++step) /* the ramp from the theme colour to white */
    fb_put_rect_fill(20 + step * 17, 180, 36 + step * 17, 210, gc[432 + step]);

  return fb_exit() == 0 ? 0 : 1;
}
