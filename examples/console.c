/* Lines on the serial console.
 *
 * Build:  cc -std=c99 console.c -o console -ldravik
 * Run:    ./console [TEXT] on the device, or on a simulated board:
 *         dravik-sim new board
 *         dravik-sim run board -- ./console hello && cat board/console */
#define _POSIX_C_SOURCE 200809L /* nanosleep() */
#include <dravik.h>

#include <stdio.h>
#include <time.h>

enum { LINES = 3, STEP_NS = 1000000, SEND_STEPS = 5000 };

/* A thread of the library sends the ring buffer every millisecond; console_exit() drops the rest. */
static int await_sent(void) {
  const struct timespec step = {0, STEP_NS};
  for (int i = 0; i < SEND_STEPS && ptr_rb_head != ptr_rb_tail; ++i)
    nanosleep(&step, NULL);
  return ptr_rb_head == ptr_rb_tail;
}

int main(int argc, char **argv) {
  if (console_init() != 0) { /* writes the reason to standard error */
    fprintf(stderr, "console: no serial port; run it on a board, or under dravik-sim\n");
    return 1;
  }
  for (int number = 1; number <= LINES; ++number)
    console_printf("%s %d of %d\r\n", argc > 1 ? argv[1] : "line", number, LINES);
  const int is_sent = await_sent();
  if (!is_sent)
    fprintf(stderr, "console: not sent\n");
  return console_exit() == 0 && is_sent ? 0 : 1;
}
