/* BMP slots: 16-bit files loaded once and drawn side by side.
 *
 * Build:  cc -std=c99 slots.c -o slots -ldravik
 * Run:    ./slots DIRECTORY FILE.bmp ... on the device, or on a simulated board:
 *         dravik-sim new board
 *         dravik-sim run board -- ./slots pictures a.bmp b.bmp && dravik-sim shot board slots.png */
#include <dravik.h>

#include <stdio.h>
#include <unistd.h>

static int show_all(int count) {
  uint32_t x = 0;
  for (int slot = 0; slot < count; ++slot) {
    if (bmp_mem_ptr[slot] == NULL || bmp_mem_show(x, 0, slot, DRAVIK_BMP_COPY, DRAVIK_TOP_LEFT) != 0) {
      fprintf(stderr, "slots: file %d: not drawn; see /tmp/dravik.log\n", slot + 1);
      return 1;
    }
    x += bmpinfo[BMPINFO_WIDTH];
  }
  return 0;
}

int main(int argc, char **argv) {
  if (argc < 3 || argc - 2 > DRAVIK_BMP_SLOTS) {
    fprintf(stderr, "usage: %s DIRECTORY FILE.bmp ...\n", argv[0]);
    return 2;
  }
  if (access("/dev/fb0", F_OK) != 0)
    fprintf(stderr, "slots: no /dev/fb0; run it on a board, or under dravik-sim\n");
  fb_init(); /* terminates the program if there is no screen */
  fb_clear_screen(DRAVIK_BLACK);
  bmp_mem_alloc(argc - 2, argv[1], (const char *const *)argv + 2);
  const int status = show_all(argc - 2);
  bmp_mem_free();
  return fb_exit() == 0 ? status : 1;
}
