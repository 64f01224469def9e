/* A WAV file, played by the engine while the program continues.
 *
 * Build:  cc -std=c99 sound.c -o sound -ldravik
 * File:   sox INPUT -r 48000 -b 16 -c 1 FILE.wav pad 0 0.4 (the engine converts nothing and drops the end)
 * Run:    ./sound FILE.wav on the device, or on a simulated board:
 *         dravik-sim new board
 *         dravik-sim run board -- ./sound FILE.wav && aplay board/sound/played.wav */
#define _POSIX_C_SOURCE 200809L /* nanosleep() */
#include <dravik.h>

#include <stdio.h>
#include <time.h>

enum { STEP_NS = 5000000, START_STEPS = 400, KEEP_CURRENT = 0 };

static int is_readable(const char *path) {
  FILE *file = fopen(path, "rb");
  return file != NULL && fclose(file) == 0;
}

/* The engine starts asynchronously; snd_exit() would drop a file that has not started. */
static void await_start(void) {
  const struct timespec step = {0, STEP_NS};
  for (int i = 0; i < START_STEPS && get_snd_thread_state() == 0; ++i)
    nanosleep(&step, NULL);
}

static int fail(const char *path, const char *problem) {
  fprintf(stderr, "sound: %s: %s\n", path, problem);
  return 1;
}

int main(int argc, char **argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: %s FILE.wav\n", argv[0]);
    return 2;
  }
  if (!is_readable(argv[1]))
    return fail(argv[1], "cannot be read");
  if (snd_init() != 1)
    return fail(argv[1], "engine not started; run it on a board as root, or under dravik-sim");
  spk_volume_setup(DRAVIK_VOLUME_HIGH);
  snd_play_direct(argv[1], KEEP_CURRENT);
  await_start();
  printf("playing %s\n", argv[1]); /* the program is free to do other work */
  snd_exit();                      /* waits for the end of the file */
  return bits_per_frame != 0
             ? 0
             : fail(argv[1], "not played; run it on a board with a sound card, or under dravik-sim");
}
