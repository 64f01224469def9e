/* The voice of the camera. Sounds are played in the background; nobody waits for them. */
#ifndef SPEAKER_H
#define SPEAKER_H

enum sound {
  SOUND_CHIME,
  SOUND_CLICK,
  SOUND_RECORDING,
  SOUND_PARKING,
  SOUND_CARD_FULL,
  SOUND_CARD_MISSING,
  SOUND_CARD_ERROR,
  SOUND_IMPACT,
  SOUND_GOODBYE
};

/* Where the engine cannot start, the camera stays silent and the log says so. */
void speaker_open(void);

/* A notice: spoken when those before it have ended. */
void speaker_say(enum sound sound);

/* A key's click: at once, but never into a notice. */
void speaker_click(void);

/* Ends when all is spoken, or at once. */
void speaker_close(int is_at_once);

#endif
