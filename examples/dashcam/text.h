/* Anti-aliased text in any script, from TrueType fonts. Each kind of text has one size, and a box that it
 * must fit into. */
#ifndef TEXT_H
#define TEXT_H

#include "canvas.h"

enum text_size { TEXT_SMALL, TEXT_BODY, TEXT_TITLE, TEXT_SIZES };

struct look {
  enum text_size size;
  enum ink ink;
  enum behind behind; /* on an accent, the ink must be white */
};

/* Where a text is, and how wide it may be. Texts around the same middle line share their base line. */
struct place {
  int x, middle, room;
  enum align align;
};

/* Draw a line of UTF-8. A text that is too wide is cut, which is logged. */
void text(struct place at, struct look look, const char *utf8);

/* The same, and clear the rest of its box: for a text that changes. */
void text_again(struct place at, struct look look, const char *utf8);

int text_width(enum text_size size, const char *utf8);

/* The height of capitals and of the parts below the base line, in pixels. */
int text_height(enum text_size size);

/* The size of a font's em in pixels. */
int text_em(enum text_size size);

/* Return whether both fonts can be opened. */
int text_is_ready(void);

#endif
