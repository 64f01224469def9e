/* Parts that pages share, and the distances of the layout. */
#ifndef WIDGETS_H
#define WIDGETS_H

#include "phrases.h"
#include "text.h"

/* From top to bottom: the status bar, the title bar, the page. All in pixels. */
int margin(void);
int bar_height(void);
int title_height(void);
int page_top(void);
int page_bottom(void);
int page_width(void); /* between the margins */
int row_gap(void);

/* The bar at the top: status_draw() draws all of it, status_refresh() the parts that change every second. */
void status_draw(void);
void status_refresh(void);

void title_draw(enum icons_image art, enum phrase title);

/* Draw which item is selected, from 0, and how many there are, in the title bar. */
void title_counter(int selected, int count);

/* A framed surface, in the accent if it is selected. */
void plate(int x, int y, int width, int height, int is_selected);

/* A plate with an icon and a phrase, or with an icon only (PHRASES); greyed if it has no effect. */
enum button_state { BUTTON_OFF, BUTTON_ON, BUTTON_SELECTED };
void button(int x, int y, int width, int height, enum icons_image art, enum phrase label,
            enum button_state state);

void toggle(int right, int middle, int is_on, int is_selected);

/* A bar of which a part is filled. */
void level(int x, int middle, int width, int percent, uint16_t colour);

/* Format a size: "29.7 GiB" or "412 MiB". */
enum { SIZE_TEXT = 24 };
void size_text(char text[SIZE_TEXT], int64_t mib);

/* The ink of a temperature: warm values turn warm. */
enum ink temperature_ink(int tenths_of_a_degree);

#endif
