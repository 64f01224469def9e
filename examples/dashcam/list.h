/* A list of rows, of which one is selected. It scrolls if the panel has not enough space for it. */
#ifndef LIST_H
#define LIST_H

#include "widgets.h"

enum row_end {
  ROW_PLAIN,
  ROW_MORE,   /* an arrow: OK opens a page */
  ROW_SWITCH, /* on if amount is not 0 */
  ROW_AMOUNT, /* a bar of `amount` per cent */
  ROW_CHECK   /* a check mark if amount is not 0 */
};

enum { ROW_VALUE = 48 };

struct row {
  enum icons_image art;
  const char *label;
  char value[ROW_VALUE]; /* at the right; may be empty */
  enum ink ink;          /* of the value */
  enum row_end end;
  int amount;
};

struct list {
  int count, selected;                          /* none is selected if it is negative */
  int first;                                    /* the first row that is shown */
  void (*describe)(int index, struct row *row); /* fills in a row that is all zero, with a muted value */
};

void list_draw(struct list *list);

/* Draw one row again, if it is shown. */
void list_draw_row(const struct list *list, int index);

/* Select the next row; after the last one, the first. */
void list_next(struct list *list);

/* Show the end of a list without a selection, and its beginning again. */
void list_scroll(struct list *list);

#endif
