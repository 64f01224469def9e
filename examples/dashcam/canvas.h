/* Drawing in the units of a screen 640 by 480: what every screen of the dash-camera is drawn with.
 *
 * A unit is one pixel on a panel of 640 by 480 or more, and half a pixel on a smaller one. A panel of other
 * proportions gives a wider or a higher canvas. Text, icons and digits stand around their middle line. */
#ifndef CANVAS_H
#define CANVAS_H

#include <dravik.h>

#include <digits.h>
#include <icons.h>

enum colour {
  BLACK = 0x0821,
  CARD = 0x18E4,
  EDGE = 0x3A09,
  GREY = 0x7BEF,
  SILVER = 0xBE18,
  WHITE = 0xFFFF,
  RED = 0xF800,
  MINT = 0x67F2,
  CLEAR = 0x0000 /* as a background: what is there stays */
};

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

/* Load fonts, artwork and pictures for the panel's size. Gives 0, or -1 when something is missing. */
int canvas_open(void);
void canvas_close(void);

int canvas_width(void);
int canvas_height(void);
int canvas_is_small(void);

/* From units to the panel's pixels and back. */
int pixels(int units_);
int units(int pixels_);

/* The left edge of something so wide that is aligned to x. */
int left_edge(int x, int width, enum align align);

void fill(int x, int y, int width, int height, uint16_t colour);
void frame(int x, int y, int width, int height, uint16_t colour, int thickness);
void outline(int x, int y, int width, int height, uint16_t colour);
void line(int x0, int y0, int x1, int y1, uint16_t colour, int thickness);
void ring(int x, int y, int radius, uint16_t colour);
void disc(int x, int y, int radius, uint16_t colour);
void arrow(int x0, int y0, int x1, int y1, int x2, int y2, uint16_t colour);

/* The dark shading from the given line down to the bottom of the screen. */
void backdrop(int top);

void text(int x, int middle, enum font font, uint16_t colour, enum align align, const char *format, ...)
    DRAVIK_PRINTF(6, 7);

/* One of the images that icons.h names, around its middle. */
void icon(int x, int middle, enum icons_image art, uint16_t colour, uint16_t background);

/* Smooth figures: '0' to '9', ':', '.' and ' '. Each figure is two thirds as wide as high. */
void digits(int x, int middle, enum digit_size size, const char *figures, uint16_t background,
            enum align align);
int digits_width(enum digit_size size, const char *figures);

/* A JPEG file of the gallery, with its top-left corner at the given place. */
void photograph(int x, int y, const char *name);

/* A picture with its top-left corner at the given place. */
void picture(int x, int y, enum picture which);
void logo(int x, int middle);

#endif
