/* Anti-aliased text in any script, from TrueType fonts, in units of the canvas. */
#ifndef WORDS_H
#define WORDS_H

#include "canvas.h"

enum words_size { WORDS_SMALL, WORDS_BODY, WORDS_TITLE, WORDS_CLOCK };

/* Draw white UTF-8 text around its middle line; texts on one line share their base line. The background must
 * be the library's black or DRAVIK_THEME, against which the letters are anti-aliased. */
void words(int x, int middle, enum words_size size, uint16_t background, enum align align, const char *utf8);

int words_width(enum words_size size, const char *utf8);

/* Draw a label on a dark plate with a mark in the theme colour. It starts at x; if aligned RIGHT, it ends
 * at x. */
void words_plate(int x, int y, enum align align, const char *utf8);

/* Return whether both fonts can be opened. */
int words_are_ready(void);

#endif
