/* The volume of the speaker, in steps of 20 percent, and the microphone.
 *
 * Build:  cc -std=c99 volume.c -o volume -ldravik
 * Run:    ./volume PERCENT on the device, or on a simulated board:
 *         dravik-sim new board
 *         dravik-sim run board -- ./volume 60 */
#include <dravik.h>

#include <stdio.h>
#include <stdlib.h>

int main(int argc, char **argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: %s 0|20|40|60|80|100\n", argv[0]);
    return 2;
  }
  const uint32_t percent = (uint32_t)strtoul(argv[1], NULL, 10);
  const int speaker = percent == DRAVIK_VOLUME_MUTED ? spk_volume_mute() : spk_volume_setup(percent);
  if (speaker != 0 || mic_volume_unmute() != 0) {
    fprintf(stderr, "volume: amixer failed; run it on a board with alsa-utils, or under dravik-sim\n");
    return 1;
  }
  printf("speaker: %u percent\n", (unsigned)percent);
  return 0;
}
