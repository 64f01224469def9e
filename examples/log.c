/* The event log, written by two threads at the same time.
 *
 * Build:  cc -std=c99 -pthread log.c -o log -ldravik
 * Run:    ./log [TEXT] && cat /tmp/dravik.log on the device, or on a simulated board:
 *         dravik-sim new board
 *         dravik-sim run board -- ./log && cat board/tmp/dravik.log */
#include <dravik.h>

#include <pthread.h>
#include <stdio.h>

static void *log_temperatures(void *unused) {
  (void)unused;
  for (int celsius = 40; celsius < 44; ++celsius)
    log_printf("temperature %d degrees", celsius);
  return NULL;
}

int main(int argc, char **argv) {
  pthread_t thread;
  if (pthread_create(&thread, NULL, log_temperatures, NULL) != 0) {
    fprintf(stderr, "log: second thread not started\n");
    return 1;
  }
  for (int number = 1; number <= 4; ++number)
    log_printf("recording %04d begins", number);
  pthread_join(thread, NULL);

  const int written = log_printf("%s %.1f V", argc > 1 ? argv[1] : "supply", 13.8);
  if (written <= 0) {
    fprintf(stderr, "log: /tmp/dravik.log is full or cannot be opened\n");
    return 1;
  }
  printf("the last line has %d characters\n", written);
  return 0;
}
