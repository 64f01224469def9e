/* Smooth text in any script, from TrueType fonts, in the units of the canvas. */
#ifndef WORDS_H
#define WORDS_H

#include "canvas.h"

enum words_size { WORDS_SMALL, WORDS_BODY, WORDS_TITLE, WORDS_CLOCK };

/* Draws UTF-8 text around its middle line; texts on one line share their base line. The fonts are smoothed
 * against BLACK or DRAVIK_THEME, so it stands on such a ground. It is white. */
void words(int x, int middle, enum words_size size, uint16_t background, enum align align, const char *utf8);

int words_width(enum words_size size, const char *utf8);

/* A label on a dark plate with a mark in the theme colour. It begins at x, or ends there when aligned RIGHT.
 */
void words_plate(int x, int y, enum align align, const char *utf8);

/* Whether both fonts can be opened. */
int words_are_ready(void);

#endif
