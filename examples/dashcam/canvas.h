/* Drawing in the units of a screen of 640 by 480: used by every screen of the dash camera.
 *
 * A unit is one pixel on a panel of 640 by 480 or more, and half a pixel on a smaller one. A panel of other
 * proportions has a wider or a higher canvas. The y of text, icons and digits is their middle line. */
#ifndef CANVAS_H
#define CANVAS_H

#include <dravik.h>

#include <digits.h>
#include <icons.h>

/* In addition to the colours of dravik.h. */
enum colour { CARD = 0x18E4, EDGE = 0x3A09, SILVER = 0xBE18, MINT = 0x67F2 };

enum font { FONT_SMALL, FONT_BODY, FONT_TITLE, FONT_HUGE, FONTS };
enum digit_size { DIGITS_SMALL, DIGITS_MEDIUM, DIGITS_LARGE };
enum picture {
  PICTURE_SCENE,
  PICTURE_DUSK,
  PICTURE_DAY,
  PICTURE_NIGHT,
  PICTURE_RAIN,
  PICTURE_SMALL_ALPS,
  PICTURE_SMALL_COAST,
  PICTURE_SMALL_CITY,
  PICTURE_SMALL_ROAD,
  PICTURES
};
enum align { LEFT, CENTRE, RIGHT };

/* Load fonts, artwork and images for the panel's size. Return 0, or -1 if something is missing. */
int canvas_open(void);
void canvas_close(void);

int canvas_width(void);
int canvas_height(void);
int canvas_is_small(void);

/* Convert units to pixels of the panel and back. */
int pixels(int units_);
int units(int pixels_);

/* Return the left edge of an object of this width that is aligned to x. */
int left_edge(int x, int width, enum align align);

void fill(int x, int y, int width, int height, uint16_t colour);
void frame(int x, int y, int width, int height, uint16_t colour, int thickness);
void outline(int x, int y, int width, int height, uint16_t colour);
void line(int x0, int y0, int x1, int y1, uint16_t colour, int thickness);
void ring(int x, int y, int radius, uint16_t colour);
void disc(int x, int y, int radius, uint16_t colour);
void arrow(int x0, int y0, int x1, int y1, int x2, int y2, uint16_t colour);

/* Draw the dark gradient from a line down to the bottom of the screen. */
void backdrop(int top);

void text(int x, int middle, enum font font, uint16_t colour, enum align align, const char *format, ...)
    DRAVIK_PRINTF(6, 7);

/* Draw an image of icons.h around its middle line. */
void icon(int x, int middle, enum icons_image art, uint16_t colour, uint16_t background);

/* Draw anti-aliased figures: '0' to '9', ':', '.' and ' '. Each figure is two thirds as wide as high. */
void digits(int x, int middle, enum digit_size size, const char *figures, uint16_t background,
            enum align align);
int digits_width(enum digit_size size, const char *figures);

/* Draw a JPEG file of the gallery; the position is its top-left corner. */
void photograph(int x, int y, const char *name);

/* Draw an image; the position is its top-left corner. */
void picture(int x, int y, enum picture which);
void logo(int x, int middle);

#endif
