/* The application at work: pages on the panel, keys, and the board. */
#ifndef SHOW_H
#define SHOW_H

#include "options.h"

/* SIGINT and SIGTERM end the demonstration, SIGUSR1 saves the screen. */
void listen_to_signals(void);

/* Return 0, or -1 if something that was requested of a single page has failed. */
int show(const struct options *options);

/* The application ends when all has been said. */
void end_show(void);

#endif
