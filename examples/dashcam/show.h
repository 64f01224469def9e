/* The screens on the panel: a single one, or all in turn. */
#ifndef SHOW_H
#define SHOW_H

#include "options.h"

/* SIGINT and SIGTERM end the demonstration, SIGUSR1 saves the screen. */
void listen_to_signals(void);

/* Return 0, or -1 if the single screen could not be saved as requested. */
int show(const struct options *options);

#endif
