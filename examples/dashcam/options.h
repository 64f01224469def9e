/* The command line. */
#ifndef OPTIONS_H
#define OPTIONS_H

#include "screens.h"

enum { MOST_KEYS = 16 };

struct options {
  const struct screen *only; /* null: all in turn */
  enum key keys[MOST_KEYS];  /* pressed on that screen */
  int key_count;
  int is_staying; /* on that screen */
  int turns;      /* 0: until a signal */
  int seconds;    /* a screen */
  int start;      /* seconds of the day, or -1 for the clock's */
  int is_saving;  /* each screen as it is first drawn */
};

void print_help(void);
void print_screens(void);

/* Gives 0, or -1 after telling what is not understood. */
int read_options(struct options *options, int count, char **words);

#endif
