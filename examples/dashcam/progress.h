/* A bar that fills in a time, for the first and the last page. It never moves back. */
#ifndef PROGRESS_H
#define PROGRESS_H

struct progress {
  int steps, of;
};

void progress_draw(const struct progress *progress, int y);

/* Advance by a step. Return 1 at the last one. */
int progress_step(struct progress *progress, int y);

#endif
