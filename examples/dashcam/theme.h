/* The look of all pages: colours, and the colour of the user's choice. */
#ifndef THEME_H
#define THEME_H

#include <dravik.h>

/* Colours to fill with. The accent is get_theme_color(). */
enum colour {
  GROUND = DRAVIK_BLACK, /* behind everything */
  SURFACE = 0x18E4,      /* of rows, buttons and plates */
  EDGE = 0x3A09,         /* outlines, and the empty part of bars */
  MUTED = 0xA555,        /* secondary text */
  GOOD = 0x67F2,
  WARM = 0xFD80,
  ALARM = 0xFAC9
};

/* Colours to draw text, icons and figures in, and what is behind them: the arguments of the library that
 * select a ramp of `gc`. theme_choose() puts the colours above into these ramps. */
enum ink {
  INK_WHITE = DRAVIK_WHITE,
  INK_MUTED = DRAVIK_GREY,
  INK_GOOD = DRAVIK_GREEN,
  INK_WARM = DRAVIK_ORANGE,
  INK_ALARM = DRAVIK_RED
};
enum behind { ON_GROUND = DRAVIK_BLACK, ON_SURFACE = DRAVIK_MAGENTA, ON_ACCENT = DRAVIK_THEME };

enum { THEMES = 8 };

/* The accents. White text is readable on each of them. */
extern const uint16_t theme_colours[THEMES];

void theme_choose(int theme);

uint16_t ink_colour(enum ink ink);
uint16_t behind_colour(enum behind behind);

#endif
