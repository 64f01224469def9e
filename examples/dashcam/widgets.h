/* Parts that screens share. */
#ifndef WIDGETS_H
#define WIDGETS_H

#include "canvas.h"
#include "ride.h"

enum { STATUS_BAR = 44, TITLE_BAR = 52, MARGIN = 20, PAGE_TOP = STATUS_BAR + TITLE_BAR + 6 };

/* The bar at the top: status_bar() draws all of it, status_clock() the parts that change every second. */
void status_bar(const struct ride *ride);
void status_clock(const struct ride *ride);

/* Draw the background of a page, its status bar and its title in UTF-8, with an icon and a remark. */
void page(const struct ride *ride, enum icons_image art, const char *title, const char *remark);

/* A framed background: a card for bitmap text and icons, a black plate also for anti-aliased text. */
void card(int x, int y, int width, int height, int is_selected);
void plate(int x, int y, int width, int height, int is_selected);
void toggle(int right, int middle, int is_on, int is_selected);
void level(int x, int middle, int width, int percent, uint16_t background);

/* Draw the dial of the accelerometer; without a spot if there is no reading. */
void sensor_dial(int x, int y, int radius);

/* Draw one of its axes: "X +0.14", or "X  --". */
void sensor_axis(int x, int middle, enum font font, enum align align, char name, int mg);

/* Draw the speed: an arc of dots around a scale, and the figure. */
void speed_gauge(int x, int y, const struct ride *ride);
void speed_gauge_reading(int x, int y, const struct ride *ride);

#endif
