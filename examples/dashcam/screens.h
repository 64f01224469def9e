/* The screens, in the order of the demonstration. */
#ifndef SCREENS_H
#define SCREENS_H

#include "board.h"
#include "ride.h"

struct screen {
  const char *name;
  const char *shows;                        /* for the list of screens */
  void (*draw)(const struct ride *ride);    /* the whole screen */
  void (*refresh)(const struct ride *ride); /* the parts that change every half second */
  /* The rest may be null. */
  void (*follow)(void);       /* draws the parts that show the board's movement */
  int (*press)(enum key key); /* handles a key; returns 1 if the screen must be drawn again */
  void (*enter)(void);        /* before it is first drawn */
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
void volume_draw(const struct ride *ride);
int volume_press(enum key key);
void volume_enter(void);
void card_draw(const struct ride *ride);
void card_refresh(const struct ride *ride);
int card_press(enum key key);
void card_enter(void);
int card_has_failed(void); /* whether the last repair or format failed */
void system_draw(const struct ride *ride);
void system_refresh(const struct ride *ride);
void home_follow(void);
void sensor_follow(void);
void sensor_draw(const struct ride *ride);
void sensor_refresh(const struct ride *ride);
void theme_draw(const struct ride *ride);
void shutdown_draw(const struct ride *ride);
void shutdown_refresh(const struct ride *ride);
void shutdown_enter(void);

/* Select the next theme colour; after the last one, the first. */
void next_theme(void);

#endif
