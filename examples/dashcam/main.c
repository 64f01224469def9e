/* The interface of a dash camera, drawn with libdravik: driven by its two keys.
 *
 * On the device: copy the staged directory usr/local/dravik to /usr/local/dravik, then run `dashcam`.
 * On the simulated board: scripts/demo, or `dravik-sim run BOARD -- dashcam` after the same copy. */

#define _POSIX_C_SOURCE 200809L /* access() */
#include "options.h"
#include "phrases.h"
#include "settings.h"
#include "show.h"
#include "text.h"

#include <stdio.h>
#include <string.h>
#include <unistd.h>

static int fail(const char *problem) {
  fprintf(stderr, "dashcam: %s\n", problem);
  return -1;
}

static int run(const struct options *options) {
  int result = -1;
  log_printf("dashcam on a panel of %u x %u", fbinfo[FBINFO_XRES], fbinfo[FBINFO_YRES]);
  if (!canvas_fits_panel())
    return fail("unsupported panel; must be 640 x 480 or 320 x 240, with 16 bits per pixel");
  load_settings();
  if (options->language >= 0)
    choose_language(options->language);
  if (canvas_open() == 0 && text_is_ready())
    result = show(options);
  else
    fail("missing fonts, artwork or images in /usr/local/dravik");
  canvas_close();
  return result;
}

int main(int count, char **words) {
  struct options options = {.start = -1, .hold_ms = 700, .language = -1};
  if (count == 2 && strcmp(words[1], "--list") == 0)
    return print_pages(), 0;
  if (count == 2 && strcmp(words[1], "--help") == 0)
    return print_help(), 0;
  if (read_options(&options, count, words) != 0)
    return 2;

  listen_to_signals();
  if (access("/dev/fb0", F_OK) != 0)
    fprintf(stderr, "dashcam: no /dev/fb0; run it on a board, or under dravik-sim\n");
  fb_init(); /* terminates the program if there is no screen */
  const int result = run(&options);
  log_printf("dashcam finished");
  fb_exit();
  return result == 0 ? 0 : 1;
}
