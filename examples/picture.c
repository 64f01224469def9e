/* A BMP file in the middle of the screen.
 *
 * Build:  cc -std=c99 picture.c -o picture -ldravik
 * Run:    ./picture FILE.bmp on the device, or on a simulated board:
 *         dravik-sim run BOARD -- ./picture FILE.bmp && dravik-sim shot BOARD picture.png */
#include <dravik.h>

#include <stdio.h>

enum { PLAIN = 0, CENTRED = 3 };

int main(int count, char **words) {
  const char *const path = count > 1 ? words[1] : "/usr/local/dravik/bmp/logo_320.bmp";
  fb_init();
  fb_clear_screen(0x0821);
  if (fb_put_bmp_file(fbinfo[FBINFO_XRES] / 2, fbinfo[FBINFO_YRES] / 2, path, PLAIN, CENTRED) != 0)
    return 1; /* the library said why */
  printf("%s: %u x %u pixels of %u bits\n", path, bmpinfo[0], bmpinfo[1], bmpinfo[2]);
  return fb_exit() == 0 ? 0 : 1;
}
