/* An application that does what lines on its serial port ask for, through the library, and reports there. */

#define _POSIX_C_SOURCE 200809L

#include <dravik.h>

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

enum { LINES = 256, POLL_MS = 5, LONGEST_SENDING_MS = 20000, REBOOTED = 1 };

static volatile sig_atomic_t is_asked_to_end;

static void ask_to_end(int signal) {
  (void)signal;
  is_asked_to_end = 1;
}

static void pause_ms(long ms) {
  const struct timespec pause = {ms / 1000, ms % 1000 * 1000000};
  nanosleep(&pause, NULL);
}

static int is_sending(void) {
  return *(char *volatile *)&ptr_rb_head != *(char *volatile *)&ptr_rb_tail;
}

/* On a busy machine, the thread that sends may wait for long. */
static void end(int status) {
  console_printf("ending %d\r\n", status);
  for (long waited_ms = 0; is_sending() && waited_ms < LONGEST_SENDING_MS; waited_ms += POLL_MS)
    pause_ms(POLL_MS);
  exit(status);
}

static void fill(const char *colour) {
  const int32_t right = (int32_t)fbinfo[FBINFO_XRES] - 1, bottom = (int32_t)fbinfo[FBINFO_YRES] - 1;
  fb_put_rect_fill(0, 0, right, bottom, (uint16_t)strtoul(colour, NULL, 16));
}

/* All of the screen, each pixel in a colour of its own, another one at each call. */
static void draw_pattern(void) {
  static uint32_t seed = 1;
  for (uint32_t y = 0; y < fbinfo[FBINFO_YRES]; ++y)
    for (uint32_t x = 0; x < fbinfo[FBINFO_XRES]; ++x) {
      seed = seed * 1664525 + 1013904223;
      fb_put_pixel(x, y, (uint16_t)(seed >> 16));
    }
}

/* Processor time of drawing, for measurements: each pixel changes with each fill. */
static void time_drawing(void) {
  struct timespec begin, now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &begin);
  for (int i = 0; i < 20000; ++i)
    fill(i % 2 == 0 ? "1234" : "edcb");
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  const long seconds = (long)(now.tv_sec - begin.tv_sec);
  console_printf("drawn in %ld us\r\n", seconds * 1000000 + (now.tv_nsec - begin.tv_nsec) / 1000);
}

static void report_inputs(void) {
  int32_t x = 0, y = 0, z = 0;
  uint32_t codes[4] = {0};
  uint8_t card = 0;
  gsensor_check_data_ready();
  gsensor_get_data(&x, &y, &z);
  read_adc(codes);
  sd_card_check(&card);
  console_printf("accel %d %d %d adc %u %u %u %u temperature %d hdmi %d card %u\r\n", x, y, z, codes[0],
                 codes[1], codes[2], codes[3], read_temperature(), hdmi_detect(), card);
}

static void obey(const char *command) {
  if (strncmp(command, "fill ", 5) == 0)
    fill(command + 5);
  else if (strcmp(command, "pattern") == 0)
    draw_pattern();
  else if (strcmp(command, "time") == 0)
    time_drawing();
  else if (strcmp(command, "read") == 0)
    report_inputs();
  else if (strncmp(command, "play ", 5) == 0)
    snd_play_direct(command + 5, 0);
  else if (strcmp(command, "dark") == 0)
    fb_lcd_off();
  else if (strcmp(command, "light") == 0)
    fb_lcd_on();
  else if (strcmp(command, "green") == 0)
    led_green();
  else if (strcmp(command, "reboot") == 0)
    exit(system("/sbin/reboot") == 0 ? REBOOTED : EXIT_FAILURE);
  else if (strncmp(command, "end ", 4) == 0)
    end(atoi(command + 4));
  log_printf("done %s", command);
  console_printf("done %s\r\n", command);
}

static void report_lines(void) {
  static int levels[LINES];
  for (uint32_t line = 60; line < 64; ++line) {
    const int level = gpio_get(line);
    if (level != levels[line])
      console_printf("line %u = %d\r\n", line, level);
    levels[line] = level;
  }
}

static void read_commands(int port) {
  static char line[256];
  static size_t length;
  char next;
  while (read(port, &next, 1) == 1) {
    if (next != '\n' && next != '\r') {
      line[length++ % sizeof line] = next;
      continue;
    }
    line[length % sizeof line] = '\0';
    length = 0;
    if (line[0] != '\0')
      obey(line);
  }
}

int main(void) {
  struct sigaction action = {.sa_handler = ask_to_end};
  sigaction(SIGINT, &action, NULL);
  sigaction(SIGTERM, &action, NULL);
  fb_init();
  gpio_init();
  gsensor_init();
  snd_init();
  console_init();
  const int port = open("/dev/ttyS0", O_RDONLY | O_NONBLOCK | O_NOCTTY);
  console_printf("guest ready\r\n");
  while (!is_asked_to_end) {
    read_commands(port);
    report_lines();
    pause_ms(POLL_MS);
  }
  end(0);
}
