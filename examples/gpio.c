/* GPIO: the level of a line, and the colours of the status LED.
 *
 * Build:  cc -std=c99 gpio.c -o gpio -ldravik
 * Run:    ./gpio [LINE] on the device, or on a simulated board:
 *         dravik-sim new board && dravik-sim set board gpio.68=1
 *         dravik-sim run board -- ./gpio 68 && dravik-sim events board --once */
#define _POSIX_C_SOURCE 200809L /* nanosleep() */
#include <dravik.h>

#include <stdio.h>
#include <stdlib.h>
#include <time.h>

enum { STEP_NS = 200000000 };

static int print_level(uint32_t line) {
  const int level = gpio_get(line);
  if (level < 0)
    return 1; /* the library has written the reason to standard error */
  printf("line %u: %d\n", line, level);
  return 0;
}

static int show_colours(void) {
  static int32_t (*const colours[])(void) = {led_red, led_green, led_orange, led_off};
  const struct timespec step = {0, STEP_NS};
  for (size_t i = 0; i < sizeof colours / sizeof *colours; ++i) {
    if (colours[i]() < 0)
      return 1;
    nanosleep(&step, NULL);
  }
  return 0;
}

int main(int argc, char **argv) {
  const uint32_t line = argc > 1 ? (uint32_t)strtoul(argv[1], NULL, 10) : DRAVIK_GPIO_CARD_LOCK;
  if (gpio_init() != 0) {
    fprintf(stderr, "gpio: no GPIO driver; run it on a board, or under dravik-sim\n");
    return 1;
  }
  const int status = print_level(line) != 0 || show_colours() != 0;
  return gpio_exit() == 0 ? status : 1;
}
