#define _POSIX_C_SOURCE 200809L

#include "tell.h"

#include <stdarg.h>
#include <stdio.h>
#include <time.h>

enum { SEND_MS = 20 }; /* the library sends every millisecond */

static int is_open;

void tell(const char *format, ...) {
  char line[160];
  va_list values;
  va_start(values, format);
  vsnprintf(line, sizeof line, format, values);
  va_end(values);
  log_printf("%s", line);
  if (is_open)
    console_printf("%s\r\n", line);
}

void console_open(void) {
  is_open = console_init() == 0;
  if (!is_open)
    log_printf("console: no serial port; messages are in this log only");
}

void console_close(void) {
  const struct timespec sending = {0, SEND_MS * 1000000};
  if (!is_open)
    return;
  nanosleep(&sending, NULL);
  console_exit();
  is_open = 0;
}
