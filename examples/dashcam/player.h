/* What the page of the player plays. */
#ifndef PLAYER_H
#define PLAYER_H

#include "recordings.h"

void player_choose(const struct recording *recording);

#endif
