/* Text in PC Screen Fonts of several sizes.
 *
 * Build:  cc -std=c99 text.c -o text -ldravik
 * Fonts:  gunzip some of /usr/share/consolefonts (package console-setup-linux) into /usr/local/dravik/font;
 *         a new simulated board has them there
 * Run:    ./text on the device, or on a simulated board:
 *         dravik-sim new board && dravik-sim run board -- ./text && dravik-sim shot board text.png */
#include <dravik.h>

#include <stdio.h>

#define FONTS "/usr/local/dravik/font/"

enum { BLACK = 0x0821, WHITE = 0xFFFF, YELLOW = 0xFFE0, KEEP = 0 /* the pixels around the letters */ };

static const char *const fonts[] = {FONTS "Lat15-TerminusBold16.psf", FONTS "Lat15-TerminusBold24x12.psf",
                                    FONTS "Lat15-TerminusBold32x16.psf"};
enum { SMALL, MEDIUM, LARGE, COUNT };

int main(void) {
  fb_init();
  psf_font_alloc(COUNT, fonts); /* what goes wrong is in the event log */
  fb_clear_screen(BLACK);

  uint32_t y = 16;
  for (int font = SMALL; font < COUNT; ++font) {
    if (psf[font].ptr == NULL) {
      fprintf(stderr, "text: no font %s\n", fonts[font]);
      return 1;
    }
    fb_printf(16, y, WHITE, KEEP, font, "%d x %d", psf[font].width, psf[font].height);
    y += (uint32_t)psf[font].height + 8;
  }
  fb_printf(16, y, YELLOW, KEEP, SMALL, "supply %g V, flags 0x%x, 100 %%", 13.8, 0x2Au);
  y += (uint32_t)psf[SMALL].height + 8;
  fb_printf(16, y, WHITE, get_theme_color(), MEDIUM, " on a bar ");
  fb_putc('!', 16 + 11 * (uint32_t)psf[MEDIUM].width, y, YELLOW, BLACK, MEDIUM);

  psf_font_free();
  return fb_exit() == 0 ? 0 : 1;
}
