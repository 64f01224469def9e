/* The way through the pages: OK opens one from another, a held OK returns. */
#ifndef NAVIGATION_H
#define NAVIGATION_H

#include "pages.h"

/* Begin with a page; those that lead to it are behind it. */
void navigation_start(const struct page *page);

void open_page(const struct page *page);
void go_back(void);
void go_home(void);

const struct page *page_shown(void);

/* Draw the page, the question on it, and the notice. */
void draw_page(void);
void draw_notice(void);

void press_key(enum key key);

/* Draw what has changed; the calls do nothing on a page that a question covers. */
void refresh_page(void);
void follow_movement(void);
void step_page(void);

#endif
