/* A program in C that shares its globals with the library. Its exit status is the number of failed checks. */

#include "dravik.h"

#include <stdio.h>
#include <stdlib.h>

static uint8_t memory[64];

static void check(int right, const char *what) {
  if (right)
    return;
  fprintf(stderr, "not so: %s\n", what);
  exit(EXIT_FAILURE);
}

static void table_is_shared(void) {
  set_theme_color(DRAVIK_RED);
  check(gc[432] == DRAVIK_RED, "the program sees the table that the library built");
  check(gc[463] == 0, "to its last entry");
  gc[432] = DRAVIK_GREEN;
  check(get_theme_color() == DRAVIK_GREEN, "the library sees what the program wrote into the table");
  check(grad_line[207] == 0x0820, "the program sees the shading");
}

static void screen_is_shared(void) {
  uint32_t record[12];
  fbp = memory;
  fbinfo[FBINFO_LINE_LENGTH] = 16;
  fbinfo[FBINFO_XRES] = 8;
  fbinfo[FBINFO_YRES] = 4;
  fbinfo[FBINFO_SPARE_B] = 0xABCD;
  get_cam_fb_info(record);
  check(record[11] == 0xABCD, "the library sees the program's record");
  fb_put_pixel(7, 3, 0x1F2E);
  check(memory[62] == 0x2E && memory[63] == 0x1F, "the library draws where the program says");
}

static void counts_are_shared(void) {
  psf_font_num = 5;
  check(get_psf_font_num() == 5, "the library sees the program's number of fonts");
  q7bmp_ptr_num = 9;
  check(get_q7bmp_ptr_num() == 9, "the library sees the program's number of archives");
}

int main(void) {
  table_is_shared();
  screen_is_shared();
  counts_are_shared();
  return 0;
}
