/* A BMP file in the middle of the screen.
 *
 * Build:  cc -std=c99 bmp.c -o bmp -ldravik
 * Run:    ./bmp FILE.bmp on the device, or on a simulated board:
 *         dravik-sim new board
 *         dravik-sim run board -- ./bmp FILE.bmp && dravik-sim shot board bmp.png */
#include <dravik.h>

#include <stdio.h>
#include <unistd.h>

static int show(const char *path) {
  fb_clear_screen(DRAVIK_BLACK);
  if (fb_put_bmp_file(fbinfo[FBINFO_XRES] / 2, fbinfo[FBINFO_YRES] / 2, path, DRAVIK_BMP_COPY,
                      DRAVIK_CENTRE) != 0)
    return 1; /* the library has written the reason to standard error */
  printf("%s: %u x %u, %u bits per pixel\n", path, bmpinfo[BMPINFO_WIDTH], bmpinfo[BMPINFO_HEIGHT],
         bmpinfo[BMPINFO_BITS_PER_PIXEL]);
  return 0;
}

int main(int argc, char **argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: %s FILE.bmp\n", argv[0]);
    return 2;
  }
  if (access("/dev/fb0", F_OK) != 0)
    fprintf(stderr, "bmp: no /dev/fb0; run it on a board, or under dravik-sim\n");
  fb_init(); /* terminates the program if there is no screen */
  const int status = show(argv[1]);
  return fb_exit() == 0 ? status : 1;
}
