/* A temperature alarm, as an example of an application that CI drives: see docs/your-application-in-ci.md.
 *
 * The bar is as long as it is warm. From 70 degrees Celsius on the screen turns red, and so does the LED, until the key
 * OK (GPIO line 62) is pressed.
 *
 * Build:  cc -std=c99 alarm.c -o alarm -ldravik
 * Run:    ./alarm on the device, or on a simulated board:
 *         dravik-sim new board && dravik-sim play board drive.scenario -- ./alarm */
#define _POSIX_C_SOURCE 200809L

#include <dravik.h>

#include <signal.h>
#include <stdio.h>
#include <time.h>

enum {
  KEY_OK = 62,
  LIMIT = 70000,
  HOTTEST_DEGREES = 120,
  TICK_MS = 20,
  MARGIN = 20,
  BAR_TOP = 100,
  BAR_BOTTOM = 139
};

enum state { NORMAL, HOT, ACKNOWLEDGED };

static const char *const names[] = {"normal", "hot", "acknowledged"};
static volatile sig_atomic_t is_told_to_end;

static void on_signal(int number) {
  (void)number;
  is_told_to_end = 1;
}

static void draw(enum state state, int32_t temperature) {
  const int32_t right = (int32_t)fbinfo[FBINFO_XRES] - 1 - MARGIN;
  const int32_t warm = MARGIN + (right - MARGIN) * (temperature / 1000) / HOTTEST_DEGREES;
  fb_clear_screen(state == HOT ? DRAVIK_RED : DRAVIK_BLACK);
  fb_put_rect_fill(MARGIN, BAR_TOP, right, BAR_BOTTOM, DRAVIK_BLUE);
  fb_put_rect_fill(MARGIN, BAR_TOP, warm, BAR_BOTTOM, DRAVIK_WHITE);
}

static enum state next_state(enum state state, int32_t temperature, int is_pressed) {
  if (temperature < LIMIT)
    return NORMAL;
  if (state == NORMAL)
    return HOT;
  return is_pressed ? ACKNOWLEDGED : state;
}

static void enter(enum state state) {
  if (state == HOT)
    led_red();
  else
    led_green();
  console_printf("state: %s\r\n", names[state]);
}

static void watch(void) {
  const struct timespec tick = {0, TICK_MS * 1000000L};
  int32_t shown = 0;
  int state = -1; /* none yet */
  while (!is_told_to_end) {
    const int32_t temperature = read_temperature();
    const enum state next = next_state(state < 0 ? NORMAL : (enum state)state, temperature, gpio_get(KEY_OK));
    if ((int)next != state || temperature != shown)
      draw(next, temperature);
    if ((int)next != state)
      enter(next);
    state = (int)next;
    shown = temperature;
    nanosleep(&tick, NULL);
  }
}

int main(void) {
  struct sigaction action = {.sa_handler = on_signal};
  sigaction(SIGTERM, &action, NULL);
  fb_init();
  if (gpio_init() != 0 || console_init() != 0) {
    fprintf(stderr, "alarm: no board; run it on a board, or under dravik-sim\n");
    return 1;
  }
  watch();
  led_off();
  console_exit();
  return fb_exit() == 0 ? 0 : 1;
}
