/* Notices: announced by voice and shown on the screen, in the strip of the title. */
#ifndef NOTICES_H
#define NOTICES_H

/* Notices that are not alarms come first. */
enum notice {
  NOTICE_RECORDING,
  NOTICE_PARKING,
  NOTICE_PROTECTED,
  NOTICE_MONITOR_ATTACHED,
  NOTICE_MONITOR_REMOVED,
  NOTICE_CARD_FULL,
  NOTICE_CARD_MISSING,
  NOTICE_CARD_ERROR,
  NOTICE_HOT,
  NOTICE_IMPACT,
  NOTICES
};

/* Announce a notice, and show it for a few seconds instead of the one before. */
void notice(enum notice which);

/* Draw the notice while its time lasts, if it was not drawn yet. */
void notice_draw(void);

/* The page was drawn over the notice. */
void notice_is_covered(void);

/* Return 1, once, when its time is over: the page must be drawn again. */
int notice_is_over(void);

#endif
