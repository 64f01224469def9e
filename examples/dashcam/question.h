/* A question over a page, with the answers no and yes. */
#ifndef QUESTION_H
#define QUESTION_H

#include "phrases.h"

/* Draws it with a remark below and one of the answers marked. */
void question_draw(enum phrase asked, enum phrase remark, int is_yes);

/* Draws in its place that the answer is being carried out. */
void question_draw_wait(enum phrase what);

#endif
