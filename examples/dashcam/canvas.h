/* Shapes and images in pixels of the panel: 640 by 480 or 320 by 240. */
#ifndef CANVAS_H
#define CANVAS_H

#include "theme.h"

#include <digits.h>
#include <icons.h>

enum digit_size { DIGITS_SMALL, DIGITS_MEDIUM, DIGITS_LARGE };
enum picture {
  PICTURE_SCENE,
  PICTURE_SMALL_ALPS,
  PICTURE_SMALL_COAST,
  PICTURE_SMALL_CITY,
  PICTURE_SMALL_ROAD,
  PICTURES
};
enum align { LEFT, CENTRE, RIGHT };

/* Return whether there are pages of the panel's size. */
int canvas_fits_panel(void);

/* Load artwork and images for the panel's size. Return 0, or -1 if something is missing. */
int canvas_open(void);
void canvas_close(void);

int panel_width(void);
int panel_height(void);
int panel_is_small(void);

/* Return one of two lengths, for the large or the small panel. */
int pick(int large, int small);

/* Return the left edge of an object of this width that is aligned to x. */
int left_edge(int x, int width, enum align align);

void fill(int x, int y, int width, int height, uint16_t colour);
void frame(int x, int y, int width, int height, uint16_t colour, int thickness);
void line(int x0, int y0, int x1, int y1, uint16_t colour, int thickness);
void ring(int x, int y, int radius, uint16_t colour);
void disc(int x, int y, int radius, uint16_t colour);

/* Darken what is on the screen below a line, so that a dialog stands out. */
void dim(int top);

/* Draw an image of icons.h around its middle. On a surface, the ink must be white or muted. */
void icon(int x, int middle, enum icons_image art, enum ink ink, enum behind behind);

/* Draw anti-aliased figures: '0' to '9', ':', '.' and ' '. */
void digits(int x, int middle, enum digit_size size, enum ink ink, enum align align, const char *figures);
int digits_width(enum digit_size size, const char *figures);
int digits_height(enum digit_size size);

/* Draw a JPEG file; the position is its top-left corner. Return 0, or -1 if it cannot be drawn. */
int photograph(int x, int y, const char *name); /* of the library's directory, without its size and suffix */
int photograph_file(int x, int y, const char *path); /* with an absolute path */

/* Draw an image; the position is its top-left corner. */
void picture(int x, int y, enum picture which);
void logo(int x, int middle);

#endif
