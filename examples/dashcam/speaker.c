/* snd_play_direct() waits for the current playback. A thread of its own calls it, so that drawing does
 * not wait. */
#define _POSIX_C_SOURCE 200809L

#include "speaker.h"

#include "phrases.h"

#include <dravik.h>

#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

#define FILES "/usr/local/dravik/snd"

enum { PLACES = 8, START_STEPS = 50, STEP_NS = 4000000 };

/* Of notices: in the directory of each language. */
static const char *const files[] = {
    [SOUND_CHIME] = "chime.wav",
    [SOUND_CLICK] = "click.pcm",
    [SOUND_RECORDING] = "recording.mp3",
    [SOUND_PARKING] = "parking.mp3",
    [SOUND_PROTECTED] = "protected.mp3",
    [SOUND_MONITOR_ATTACHED] = "monitor_attached.mp3",
    [SOUND_MONITOR_REMOVED] = "monitor_removed.mp3",
    [SOUND_CARD_FULL] = "card_full.mp3",
    [SOUND_CARD_MISSING] = "card_missing.mp3",
    [SOUND_CARD_ERROR] = "card_error.mp3",
    [SOUND_HOT] = "hot.mp3",
    [SOUND_IMPACT] = "impact.mp3",
    [SOUND_GOODBYE] = "goodbye.mp3",
};

static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t news = PTHREAD_COND_INITIALIZER;
static pthread_t thread;
static int is_open;

/* Guarded by the lock. */
struct queued {
  enum sound sound;
  const char *language; /* a code; none for sounds without words */
};
static struct queued waiting[PLACES];
static int count, is_ending;
static struct queued playing; /* the last one handed over */
static int is_handing;        /* it has not started yet */

/* Remove the next sound from the queue. Return 0 if it is empty and the speaker is closed. */
static int take_next(void) {
  pthread_mutex_lock(&lock);
  is_handing = 0;
  while (count == 0 && !is_ending)
    pthread_cond_wait(&news, &lock);
  if (count > 0) {
    is_handing = 1;
    playing = waiting[0];
    memmove(waiting, waiting + 1, (size_t)--count * sizeof *waiting);
  }
  pthread_mutex_unlock(&lock);
  return is_handing;
}

/* The engine takes a moment to start. */
static void await_begin(void) {
  const struct timespec step = {0, STEP_NS};
  for (int i = 0; i < START_STEPS && get_snd_thread_state() == 0; ++i)
    nanosleep(&step, NULL);
}

/* A click stops the click before it. */
static void play_next(void) {
  char path[64];
  const char *language = playing.language != NULL ? playing.language : ".";
  snprintf(path, sizeof path, FILES "/%s/%s", language, files[playing.sound]);
  snd_play_direct(path, playing.sound == SOUND_CLICK);
}

static void *play_all(void *nothing) {
  while (take_next()) {
    play_next();
    await_begin();
  }
  return nothing;
}

void speaker_open(void) {
  if (snd_init() != 1) {
    log_printf("sound: engine cannot start; the camera stays silent");
    return;
  }
  is_open = pthread_create(&thread, NULL, play_all, NULL) == 0;
  if (!is_open)
    snd_exit();
}

/* A full queue drops the sound. */
static void queue(enum sound sound) {
  if (count < PLACES)
    waiting[count++] = (struct queued){sound, sound > SOUND_CLICK ? language_code() : NULL};
  pthread_cond_signal(&news);
}

void speaker_say(enum sound sound) {
  if (!is_open)
    return;
  pthread_mutex_lock(&lock);
  queue(sound);
  pthread_mutex_unlock(&lock);
}

void speaker_click(void) {
  if (!is_open)
    return;
  pthread_mutex_lock(&lock);
  const int is_silent = !is_handing && get_snd_thread_state() == 0;
  if (count == 0 && (is_silent || playing.sound == SOUND_CLICK))
    queue(SOUND_CLICK);
  pthread_mutex_unlock(&lock);
}

void speaker_close(int is_at_once) {
  if (!is_open)
    return;
  pthread_mutex_lock(&lock);
  is_ending = 1;
  count = is_at_once ? 0 : count;
  pthread_cond_signal(&news);
  pthread_mutex_unlock(&lock);
  if (is_at_once)
    snd_stopall();
  pthread_join(thread, NULL);
  if (is_at_once)
    snd_stopall(); /* the sound that was being handed over */
  snd_exit();
  is_open = 0;
}
