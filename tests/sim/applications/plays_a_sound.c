/* Plays a hundredth of a second on the card `default`; gives 0 when all of it was heard. */

#include <alsa/asoundlib.h>
#include <stdint.h>

enum { frames = 480 };

int main(void) {
  static int16_t sound[2 * frames];
  for (int i = 0; i < 2 * frames; ++i)
    sound[i] = 1000;
  snd_pcm_t *pcm = NULL;
  if (snd_pcm_open(&pcm, "default", SND_PCM_STREAM_PLAYBACK, 0) < 0)
    return 1;
  if (snd_pcm_set_params(pcm, SND_PCM_FORMAT_S16_LE, SND_PCM_ACCESS_RW_INTERLEAVED, 2, 48000, 0, 100000) < 0)
    return 2;
  if (snd_pcm_writei(pcm, sound, frames) != frames || snd_pcm_drain(pcm) < 0)
    return 3;
  return snd_pcm_close(pcm) < 0 ? 4 : 0;
}
