/* Notices: what the camera tells its driver by voice and by a banner on the screen. */
#ifndef NOTICES_H
#define NOTICES_H

/* Those that are no alarm come first. */
enum notice {
  NOTICE_RECORDING,
  NOTICE_PARKING,
  NOTICE_CARD_FULL,
  NOTICE_CARD_MISSING,
  NOTICE_CARD_ERROR,
  NOTICE_IMPACT
};

/* Speaks it, and shows it for a few seconds instead of the one before. */
void notice(enum notice which);

/* Draws the banner while its time lasts. */
void notice_draw(void);

/* Gives 1, once, when the banner's time is over: what it covered wants to be drawn anew. */
int notice_is_over(void);

#endif
