/* Round instruments: the accelerometer and the speed. */
#ifndef DIALS_H
#define DIALS_H

#include "widgets.h"

/* Draw the dial of the accelerometer with its full deflection in mg; without a spot if there is no reading. */
struct level_of_car {
  int x_mg, y_mg; /* the acceleration that is shown as none */
};
void sensor_dial(int x, int y, int radius, int full_mg, struct level_of_car level);

/* Draw one of its axes: "X +0.14", or "X --". */
void sensor_axis(struct place at, char name, int mg);

/* Draw the speed: an arc of dots around a scale, and the figure. */
void speed_gauge(int x, int y);
void speed_gauge_reading(int x, int y);

/* The ink of the speed, which turns warm above the limit. */
enum ink speed_ink(void);

#endif
