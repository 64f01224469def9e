/* Anti-aliased text in several scripts, from TrueType fonts.
 *
 * Build:  cc -std=c99 truetype.c -o truetype -ldravik
 * Fonts:  arial.ttf and DroidSansFallback.ttf in /usr/local/dravik/font; a new simulated board has them there
 * Run:    ./truetype on the device, or on a simulated board:
 *         dravik-sim new board
 *         dravik-sim run board -- ./truetype && dravik-sim shot board truetype.png */
#include <dravik.h>

#include <stdio.h>
#include <unistd.h>

enum { LATIN_FONT = 0, ASIAN_FONT = 1 }; /* entries of ttf_font_file */
/* Anti-aliased text is laid out for a screen of this size. */
enum { WIDTH = DRAVIK_PLANE_WIDTH, HEIGHT = DRAVIK_PLANE_HEIGHT, GAP = 24 };

/* UTF-16, low byte first, as the processors of the device and of PCs store uint16_t. */
static const uint16_t athens[] = {0x0391, 0x03B8, 0x03AE, 0x03BD, 0x03B1, 0};
static const uint16_t tokyo[] = {0x6771, 0x4EAC, 0x3078, 0x51FA, 0x767A, 0};

/* Return the line below the text; 0 if the text is not drawn. */
static uint32_t put(uint32_t y, const void *text, uint32_t points, uint32_t font, uint16_t foreground) {
  if (y == 0)
    return 0;
  str_height = 0; /* unchanged if the font cannot be read or a character is missing in it */
  put_unicode_string(0, y, text, points, font, foreground, DRAVIK_BLACK, DRAVIK_SCREEN_CENTRE_X);
  return str_height > 0 ? y + (uint32_t)str_height + GAP : 0;
}

static int show(const char *greeting) {
  uint16_t units[64]; /* the text and its end */
  char ascii[64];
  snprintf(ascii, sizeof ascii, "%s", greeting);
  ascii_to_unicode_string(ascii, units);

  fb_clear_screen(DRAVIK_BLACK);
  uint32_t y = put(40, units, 48, LATIN_FONT, DRAVIK_WHITE);
  y = put(y, athens, 32, LATIN_FONT, DRAVIK_CYAN);
  y = put(y, tokyo, 32, ASIAN_FONT, DRAVIK_YELLOW);
  if (y == 0)
    fprintf(stderr, "truetype: not all text drawn; check %s and %s\n", ttf_font_file[0], ttf_font_file[1]);
  return y == 0;
}

int main(int argc, char **argv) {
  if (access("/dev/fb0", F_OK) != 0)
    fprintf(stderr, "truetype: no /dev/fb0; run it on a board, or under dravik-sim\n");
  fb_init(); /* terminates the program if there is no screen */
  const int fits =
      fbinfo[FBINFO_XRES] >= WIDTH && fbinfo[FBINFO_YRES] >= HEIGHT && fbinfo[FBINFO_BITS_PER_PIXEL] == 16;
  if (!fits)
    fprintf(stderr, "truetype: not a 16-bit screen of at least %d x %d\n", WIDTH, HEIGHT);
  const int status = fits ? show(argc > 1 ? argv[1] : "Drive safely") : 1;
  return fb_exit() == 0 ? status : 1;
}
