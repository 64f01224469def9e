/* The interface of a dash camera, drawn with libdravik: all screens in turn until a signal arrives.
 *
 * On the device: copy the staged directory usr/local/dravik to /usr/local/dravik, then run `dashcam`.
 * On the simulated board: scripts/demo, or `dravik-sim run BOARD -- dashcam` after the same copy. */

#define _POSIX_C_SOURCE 200809L /* access() */
#include "canvas.h"
#include "options.h"
#include "show.h"
#include "words.h"

#include <stdio.h>
#include <string.h>
#include <unistd.h>

int main(int count, char **words) {
  struct options options = {.seconds = 4, .start = -1};
  if (count == 2 && strcmp(words[1], "--list") == 0)
    return print_screens(), 0;
  if (count == 2 && strcmp(words[1], "--help") == 0)
    return print_help(), 0;
  if (read_options(&options, count, words) != 0)
    return 2;

  listen_to_signals();
  if (access("/dev/fb0", F_OK) != 0)
    fprintf(stderr, "dashcam: no /dev/fb0; run it on a board, or under dravik-sim\n");
  fb_init(); /* terminates the program if there is no screen */
  log_printf("dashcam on a panel of %u x %u", fbinfo[FBINFO_XRES], fbinfo[FBINFO_YRES]);
  int result = -1;
  if (canvas_open() == 0 && words_are_ready())
    result = show(&options);
  else
    fprintf(stderr, "dashcam: missing fonts, artwork or images in /usr/local/dravik\n");
  canvas_close();
  log_printf("dashcam finished");
  fb_exit();
  return result == 0 ? 0 : 1;
}
