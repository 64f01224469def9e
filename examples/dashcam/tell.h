/* Messages of the dash camera for observers. */
#ifndef TELL_H
#define TELL_H

#include <dravik.h>

/* Append a line to the event log, and send it to the serial console if that is open. */
void tell(const char *format, ...) DRAVIK_PRINTF(1, 2);

void console_open(void);

/* Wait a little for text that is not sent yet. */
void console_close(void);

#endif
