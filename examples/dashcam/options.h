/* The command line. */
#ifndef OPTIONS_H
#define OPTIONS_H

#include "pages.h"

enum { MOST_KEYS = 32 };

struct options {
  const struct page *only;  /* null: the application from its splash on */
  enum key keys[MOST_KEYS]; /* pressed on that page */
  int key_count;
  int is_staying; /* on that page, until a signal */
  int start;      /* seconds of the day; -1: the clock's */
  int hold_ms;    /* how long OK is held to be BACK */
  int language;   /* instead of that of the settings; -1: none */
  int is_saving;  /* the page */
};

void print_help(void);
void print_pages(void);

/* Return 0, or -1 after reporting an invalid option. */
int read_options(struct options *options, int count, char **words);

#endif
