/* Text in bitmap fonts (PSF) of three sizes.
 *
 * Build:  cc -std=c99 text.c -o text -ldravik
 * Fonts:  console fonts (package console-setup-linux), unpacked in /usr/local/dravik/font; a new simulated board has them
 * Run:    ./text on the device, or on a simulated board:
 *         dravik-sim new board
 *         dravik-sim run board -- ./text && dravik-sim shot board text.png */
#include <dravik.h>

#include <stdio.h>
#include <unistd.h>

#define FONTS "/usr/local/dravik/font/"

enum { SMALL, MEDIUM, LARGE, COUNT };
enum { WIDTH = 320, HEIGHT = 180 }; /* text is not clipped: the screen must have these pixels */

static const char *const fonts[COUNT] = {FONTS "Lat15-TerminusBold16.psf",
                                         FONTS "Lat15-TerminusBold24x12.psf",
                                         FONTS "Lat15-TerminusBold32x16.psf"};

static int are_loaded(void) {
  for (int font = SMALL; font < COUNT; ++font)
    if (psf[font].ptr == NULL) {
      fprintf(stderr, "text: %s: not loaded; see /tmp/dravik.log\n", fonts[font]);
      return 0;
    }
  return 1;
}

static void show(void) {
  uint32_t y = 16;
  fb_clear_screen(DRAVIK_BLACK);
  for (int font = SMALL; font < COUNT; ++font) {
    fb_printf(16, y, DRAVIK_WHITE, DRAVIK_TRANSPARENT, font, "%d x %d", psf[font].width, psf[font].height);
    y += (uint32_t)psf[font].height + 8;
  }
  fb_printf(16, y, DRAVIK_YELLOW, DRAVIK_TRANSPARENT, SMALL, "%g V, 0x%x, 100 %%", 13.8, 0x2Au);
  y += (uint32_t)psf[SMALL].height + 8;
  fb_printf(16, y, DRAVIK_WHITE, get_theme_color(), MEDIUM, " on a bar ");
  fb_putc('!', 16 + 11 * (uint32_t)psf[MEDIUM].width, y, DRAVIK_YELLOW, DRAVIK_BLACK, MEDIUM);
}

int main(int argc, char **argv) {
  (void)argc, (void)argv;
  if (access("/dev/fb0", F_OK) != 0)
    fprintf(stderr, "text: no /dev/fb0; run it on a board, or under dravik-sim\n");
  fb_init(); /* terminates the program if there is no screen */
  const int fits =
      fbinfo[FBINFO_XRES] >= WIDTH && fbinfo[FBINFO_YRES] >= HEIGHT && fbinfo[FBINFO_BITS_PER_PIXEL] == 16;
  if (!fits)
    fprintf(stderr, "text: not a 16-bit screen of at least %d x %d\n", WIDTH, HEIGHT);
  psf_font_alloc(COUNT, fonts);
  const int is_shown = fits && are_loaded();
  if (is_shown)
    show();
  psf_font_free();
  return fb_exit() == 0 && is_shown ? 0 : 1;
}
