/* Notices: announced by voice and shown as a banner on the screen. */
#ifndef NOTICES_H
#define NOTICES_H

/* Notices that are not alarms come first. */
enum notice {
  NOTICE_RECORDING,
  NOTICE_PARKING,
  NOTICE_CARD_FULL,
  NOTICE_CARD_MISSING,
  NOTICE_CARD_ERROR,
  NOTICE_IMPACT
};

/* Announce a notice, and show it for a few seconds instead of the one before. */
void notice(enum notice which);

/* Draw the banner while its time lasts. */
void notice_draw(void);

/* Return 1, once, when the banner's time is over: the screen below it must be drawn again. */
int notice_is_over(void);

#endif
