/* Repair and format of the memory card. The camera says when they fail. */
#ifndef CARD_CARE_H
#define CARD_CARE_H

#include "board.h"

void card_repair(const struct card *card);

/* Ends with a reboot of the board. */
void card_format(const struct card *card);

/* Whether the last repair or format failed. */
int card_has_failed(void);

#endif
