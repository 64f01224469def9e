/* A question on a darkened page, with the answers no and yes: NEXT moves between them, OK answers, a held OK
 * is a no. */
#ifndef QUESTION_H
#define QUESTION_H

#include "board.h"
#include "phrases.h"

/* Ask. The call is made if the answer is yes. */
void ask(enum phrase question, enum phrase remark, void (*on_yes)(void));

int question_is_open(void);

/* Darken the page and draw the question. */
void question_draw(void);

void question_press(enum key key);

/* The question no longer makes sense. */
void question_close(void);

/* Draw on a darkened page that something is being done. */
void draw_wait(enum phrase what);

#endif
