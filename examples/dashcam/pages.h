/* The table of pages. Each page is a file of its own. */
#ifndef PAGES_H
#define PAGES_H

#include "board.h"
#include "widgets.h"

struct page {
  const char *name;
  const char *shows; /* for the list of pages */
  enum icons_image art;
  enum phrase title;  /* without one, PHRASES, the page draws all below the status bar */
  int is_whole;       /* the page draws the whole screen, without a status bar */
  void (*draw)(void); /* below the title */
  /* The rest may be null. */
  void (*enter)(void);         /* before it is first drawn */
  void (*refresh)(void);       /* draws the parts that change, every half second */
  void (*follow)(void);        /* draws the parts that show the board's movement */
  void (*step)(void);          /* every tenth of a second */
  void (*press)(enum key key); /* NEXT or OK; the page is drawn again after it */
};

extern const struct page splash_page, home_page, menu_page, playback_page, player_page, gallery_page,
    journey_page, sensor_page, card_page, settings_page, sound_page, languages_page, theme_page, clock_page,
    system_page, shutdown_page;

enum { PAGES = 16 };
extern const struct page *const pages[PAGES];

/* Return null if there is none. */
const struct page *find_page(const char *name);

#endif
