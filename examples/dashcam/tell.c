#define _POSIX_C_SOURCE 200809L

#include "tell.h"

#include <stdarg.h>
#include <stdio.h>
#include <time.h>

enum { LONGEST_SENDING_MS = 1000 }; /* a line of 115200 baud sends the whole ring in 356 ms */

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

/* console_exit() drops what has not been sent. */
static void wait_until_sent(void) {
  const struct timespec millisecond = {0, 1000000};
  for (int left = LONGEST_SENDING_MS; ptr_rb_head != ptr_rb_tail && left > 0; --left)
    nanosleep(&millisecond, NULL);
}

void console_close(void) {
  if (!is_open)
    return;
  wait_until_sent();
  console_exit();
  is_open = 0;
}
