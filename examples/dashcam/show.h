/* The screens on the panel: one of them, or all in turn. */
#ifndef SHOW_H
#define SHOW_H

#include "options.h"

/* SIGINT and SIGTERM end the show, SIGUSR1 saves the screen. */
void listen_to_signals(void);

/* Gives 0, or -1 when the one screen was to be saved and could not. */
int show(const struct options *options);

#endif
