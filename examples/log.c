/* The event log, from two threads at once.
 *
 * Build:  cc -std=c99 -pthread log.c -o log -ldravik
 * Run:    ./log && cat /tmp/dravik.log on the device, or on a simulated board:
 *         dravik-sim run BOARD -- ./log && cat BOARD/tmp/dravik.log */
#include <dravik.h>

#include <pthread.h>
#include <stdio.h>

static void *watch_temperature(void *unused) {
  (void)unused;
  for (int celsius = 40; celsius < 44; ++celsius)
    log_printf("temperature %d degrees", celsius);
  return NULL;
}

int main(void) {
  pthread_t watcher;
  if (pthread_create(&watcher, NULL, watch_temperature, NULL) != 0) {
    fputs("log: no second thread\n", stderr);
    return 1;
  }
  for (int number = 1; number <= 4; ++number)
    log_printf("recording %04d begins", number);
  pthread_join(watcher, NULL);

  const int written = log_printf("supply %.1f V", 13.8);
  printf("the last line has %d characters\n", written);
  return written > 0 ? 0 : 1;
}
