/* Packed artwork: the images of an archive that fit into a cell, through several ramps of the colour table.
 *
 * Build:    cc -std=c99 artwork.c -o artwork -ldravik
 * Archive:  dravik-art pack icons.q7 home.png back.png
 * Run:      ./artwork icons.q7 on the device, or on a simulated board:
 *           dravik-sim run BOARD -- ./artwork icons.q7 && dravik-sim shot BOARD artwork.png */
#include <dravik.h>

#include <stdio.h>
#include <string.h>

enum { CELL = 80, CENTRED = 3 };

static const struct {
  uint16_t foreground, background;
} ways[] = {{0xFFFF, 0x0821}, {0x07FF, 0x0821}, {0xF800, 0xFFFF}, {0xFFFF, DRAVIK_THEME}};

/* The first word of an image's record is its width; records lie 16 bytes apart, after the header. */
static uint32_t width_of(int image_number) {
  uint32_t width;
  memcpy(&width, q7bmp_ptr[0] + 16 * (image_number + 1), sizeof width);
  return width;
}

int main(int count, char **words) {
  const char *const archive = count > 1 ? words[1] : "/usr/local/dravik/art/icons_640.q7";
  fb_init();
  q7bmp_alloc(1, &archive); /* tells its progress on standard error */
  if (q7bmp_ptr[0] == NULL) {
    fprintf(stderr, "artwork: %s cannot be loaded; the event log says why\n", archive);
    return 1;
  }

  const int columns = (int)fbinfo[FBINFO_XRES] / CELL, rows = (int)fbinfo[FBINFO_YRES] / CELL;
  const int images = (int)get_q7bmp_str_num(0);
  fb_clear_screen(0x0821);
  for (int i = 0; i < columns * rows && i < images; ++i) {
    if (width_of(i) > CELL)
      continue;
    const int x = i % columns * CELL, y = i / columns * CELL;
    const int way = i / columns % (int)(sizeof ways / sizeof ways[0]);
    const uint16_t background = ways[way].background;
    fb_put_rect_fill(x, y, x + CELL - 1, y + CELL - 1,
                     background == DRAVIK_THEME ? get_theme_color() : background);
    fb_q7bmp_show(x + CELL / 2, y + CELL / 2, 0, i, ways[way].foreground, background, CENTRED);
  }

  q7bmp_free();
  return fb_exit() == 0 ? 0 : 1;
}
