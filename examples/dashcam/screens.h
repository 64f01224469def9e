/* The screens, in the order in which they are shown. */
#ifndef SCREENS_H
#define SCREENS_H

#include "ride.h"

struct screen {
  const char *name;
  const char *shows;                        /* for the list of screens */
  void (*draw)(const struct ride *ride);    /* the whole screen */
  void (*refresh)(const struct ride *ride); /* what changes every half second */
};

extern const struct screen screens[];
extern const int screen_count;

void splash_draw(const struct ride *ride);
void splash_refresh(const struct ride *ride);
void home_draw(const struct ride *ride);
void home_refresh(const struct ride *ride);
void menu_draw(const struct ride *ride);
void settings_draw(const struct ride *ride);
void playback_draw(const struct ride *ride);
void gallery_draw(const struct ride *ride);
void gallery_refresh(const struct ride *ride);
void journey_draw(const struct ride *ride);
void journey_refresh(const struct ride *ride);
void languages_draw(const struct ride *ride);
void sensor_draw(const struct ride *ride);
void sensor_refresh(const struct ride *ride);
void theme_draw(const struct ride *ride);
void shutdown_draw(const struct ride *ride);
void shutdown_refresh(const struct ride *ride);

/* Takes the next theme colour; the first after a whole round. */
void next_theme(void);

#endif
