/* Flashes the screen and clicks at the same moments, once per second: flashes_and_clicks COUNT. Prints by how many
   microseconds each flash came after its click. */

#define _POSIX_C_SOURCE 200809L

#include <alsa/asoundlib.h>
#include <fcntl.h>
#include <linux/fb.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

enum { RATE = 48000, CLICK_FRAMES = RATE / 50, SOUND_FRAMES = RATE / 8, HALF_WAVE = 24, LEVEL = 24000 };

static int16_t click[SOUND_FRAMES * 2];

static int64_t now_us(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return (int64_t)now.tv_sec * 1000000 + now.tv_nsec / 1000;
}

static void wait_until(int64_t time_us) {
  const struct timespec time = {(time_t)(time_us / 1000000), (long)(time_us % 1000000 * 1000)};
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &time, NULL) != 0) {
  }
}

static uint8_t *map_screen(size_t *size) {
  struct fb_fix_screeninfo fixed;
  const int device = open("/dev/fb0", O_RDWR);
  if (device < 0 || ioctl(device, FBIOGET_FSCREENINFO, &fixed) != 0)
    exit(1);
  *size = fixed.smem_len;
  return mmap(NULL, *size, PROT_READ | PROT_WRITE, MAP_SHARED, device, 0);
}

/* It starts when it is told to. */
static snd_pcm_t *open_sound(void) {
  snd_pcm_t *sound;
  snd_pcm_sw_params_t *settings;
  if (snd_pcm_open(&sound, "default", SND_PCM_STREAM_PLAYBACK, 0) != 0 ||
      snd_pcm_set_params(sound, SND_PCM_FORMAT_S16_LE, SND_PCM_ACCESS_RW_INTERLEAVED, 2, RATE, 0, 200000) !=
          0)
    exit(2);
  snd_pcm_sw_params_malloc(&settings);
  snd_pcm_sw_params_current(sound, settings);
  snd_pcm_sw_params_set_start_threshold(sound, settings, 1 << 30);
  if (snd_pcm_sw_params(sound, settings) != 0)
    exit(3);
  snd_pcm_sw_params_free(settings);
  return sound;
}

int main(int count, char **words) {
  size_t size;
  uint8_t *screen = map_screen(&size);
  snd_pcm_t *sound = open_sound();
  const int flashes = count > 1 ? atoi(words[1]) : 1;
  for (int i = 0; i < CLICK_FRAMES * 2; ++i)
    click[i] = i / 2 / HALF_WAVE % 2 == 0 ? LEVEL : -LEVEL;
  memset(screen, 0, size);
  const int64_t begin = now_us() + 500000;
  for (int i = 0; i < flashes; ++i) {
    if (snd_pcm_prepare(sound) != 0 || snd_pcm_writei(sound, click, SOUND_FRAMES) != SOUND_FRAMES)
      return 4;
    wait_until(begin + (int64_t)i * 1000000);
    if (snd_pcm_start(sound) != 0)
      return 5;
    const int64_t start = now_us();
    memset(screen, 0xFF, size);
    printf("%ld\n", (long)(now_us() - start));
    fflush(stdout);
    snd_pcm_drain(sound);
    memset(screen, 0, size);
  }
  wait_until(now_us() + 300000);
  return snd_pcm_close(sound);
}
