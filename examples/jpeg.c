/* A JPEG file in the middle of the screen.
 *
 * Build:  cc -std=c99 jpeg.c -o jpeg -ldravik
 * Run:    ./jpeg NAME.jpg on the device, or on a simulated board:
 *         dravik-sim new board && mkdir -p board/usr/local/dravik/jpg
 *         cp NAME.jpg board/usr/local/dravik/jpg
 *         dravik-sim run board -- ./jpeg NAME.jpg && dravik-sim shot board jpeg.png */
#include <dravik.h>

#include <stdio.h>
#include <unistd.h>

static int show(const char *name) {
  fb_clear_screen(DRAVIK_BLACK);
  if (fb_put_jpeg_file(fbinfo[FBINFO_XRES] / 2, fbinfo[FBINFO_YRES] / 2, name, DRAVIK_CENTRE) != 0)
    return 1; /* the library has written the reason to standard error */
  printf("%s: %u x %u\n", name, jpeginfo[JPEGINFO_WIDTH], jpeginfo[JPEGINFO_HEIGHT]);
  return 0;
}

int main(int argc, char **argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: %s NAME.jpg (a file in /usr/local/dravik/jpg)\n", argv[0]);
    return 2;
  }
  if (access("/dev/fb0", F_OK) != 0)
    fprintf(stderr, "jpeg: no /dev/fb0; run it on a board, or under dravik-sim\n");
  fb_init(); /* terminates the program if there is no screen */
  const int status = show(argv[1]);
  return fb_exit() == 0 ? status : 1;
}
