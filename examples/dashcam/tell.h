/* What the dash-camera is doing, for people who watch it from outside. */
#ifndef TELL_H
#define TELL_H

#include <dravik.h>

/* Adds a line to the event log, and sends it to the serial console once that is open. */
void tell(const char *format, ...) DRAVIK_PRINTF(1, 2);

void console_open(void);

/* Waits a little for what has not been sent yet. */
void console_close(void);

#endif
