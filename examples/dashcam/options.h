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
  int seconds;    /* per screen */
  int start;      /* seconds of the day; -1: the clock's */
  int is_saving;  /* each screen when it is first drawn */
};

void print_help(void);
void print_screens(void);

/* Return 0, or -1 after reporting an invalid option. */
int read_options(struct options *options, int count, char **words);

#endif
