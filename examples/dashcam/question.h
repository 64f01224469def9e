/* A question on a page, with the answers no and yes. */
#ifndef QUESTION_H
#define QUESTION_H

#include "phrases.h"

/* Draw the question with a remark below it and one answer selected. */
void question_draw(enum phrase asked, enum phrase remark, int is_yes);

/* Draw in its place that the answer is being executed. */
void question_draw_wait(enum phrase what);

#endif
