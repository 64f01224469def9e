/* The voice of the camera. Sounds are played in the background; callers do not wait for them. */
#ifndef SPEAKER_H
#define SPEAKER_H

enum sound {
  SOUND_CHIME,
  SOUND_CLICK,
  SOUND_RECORDING,
  SOUND_PARKING,
  SOUND_PROTECTED,
  SOUND_MONITOR_ATTACHED,
  SOUND_MONITOR_REMOVED,
  SOUND_CARD_FULL,
  SOUND_CARD_MISSING,
  SOUND_CARD_ERROR,
  SOUND_HOT,
  SOUND_IMPACT,
  SOUND_GOODBYE
};

/* If the engine cannot start, the camera stays silent and the log contains the reason. */
void speaker_open(void);

/* Queue a notice, announced after those before it. */
void speaker_say(enum sound sound);

/* Play the click of a key immediately, but never during a notice. */
void speaker_click(void);

/* Close the speaker when all notices have been announced, or immediately. */
void speaker_close(int is_at_once);

#endif
