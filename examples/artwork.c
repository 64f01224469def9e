/* Packed artwork: the images of an archive in four columns, each row through another ramp.
 *
 * Build:    cc -std=c99 artwork.c -o artwork -ldravik
 * Archive:  dravik-art pack icons.q7 home.png back.png, of images up to 80 x 80
 * Run:      ./artwork icons.q7 on the device, or on a simulated board:
 *           dravik-sim new board
 *           dravik-sim run board -- ./artwork icons.q7 && dravik-sim shot board artwork.png */
#include <dravik.h>

#include <stdio.h>
#include <unistd.h>

enum { CELL = 80, COLUMNS = 4, WAYS = 4 };

/* The library centres an image in a quarter of 320 columns; the application needs no image sizes. */
static const int quarters[COLUMNS] = {DRAVIK_QUARTER_1, DRAVIK_QUARTER_2, DRAVIK_QUARTER_3, DRAVIK_QUARTER_4};

static const uint16_t ways[WAYS][2] = {{DRAVIK_WHITE, DRAVIK_BLACK},
                                       {DRAVIK_CYAN, DRAVIK_BLACK},
                                       {DRAVIK_RED, DRAVIK_WHITE},
                                       {DRAVIK_WHITE, DRAVIK_THEME}};

static void show_row(int row, int first, int count) {
  const uint16_t foreground = ways[row % WAYS][0], background = ways[row % WAYS][1];
  const int y = row * CELL;
  fb_put_rect_fill(0, y, COLUMNS * CELL - 1, y + CELL - 1,
                   background == DRAVIK_THEME ? get_theme_color() : background);
  for (int column = 0; column < COLUMNS && column < count; ++column)
    fb_q7bmp_show(0, y, 0, first + column, foreground, background, quarters[column]);
}

static int show(const char *path) {
  q7bmp_alloc(1, &path); /* writes its progress to standard error */
  if (q7bmp_ptr[0] == NULL) {
    fprintf(stderr, "artwork: %s: not loaded; see /tmp/dravik.log\n", path);
    return 1;
  }
  const int count = (int)get_q7bmp_str_num(0), rows = (int)fbinfo[FBINFO_YRES] / CELL;
  fb_clear_screen(DRAVIK_BLACK);
  for (int row = 0; row < rows && row * COLUMNS < count; ++row)
    show_row(row, row * COLUMNS, count - row * COLUMNS);
  q7bmp_free();
  return 0;
}

int main(int argc, char **argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: %s ARCHIVE.q7\n", argv[0]);
    return 2;
  }
  if (access("/dev/fb0", F_OK) != 0)
    fprintf(stderr, "artwork: no /dev/fb0; run it on a board, or under dravik-sim\n");
  fb_init(); /* terminates the program if there is no screen */
  const int is_wide = fbinfo[FBINFO_XRES] >= COLUMNS * CELL && fbinfo[FBINFO_BITS_PER_PIXEL] == 16;
  if (!is_wide)
    fprintf(stderr, "artwork: not a 16-bit screen of at least %d columns\n", COLUMNS * CELL);
  const int status = is_wide ? show(argv[1]) : 1;
  return fb_exit() == 0 ? status : 1;
}
