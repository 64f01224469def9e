/* Phrases of the interface in the languages of its users, in UTF-8. */
#ifndef PHRASES_H
#define PHRASES_H

enum phrase {
  PHRASE_LANGUAGE_NAME,
  PHRASE_GREETING,
  PHRASE_MENU,
  PHRASE_VIDEO,
  PHRASE_PLAYBACK,
  PHRASE_SENSOR,
  PHRASE_PARKING,
  PHRASE_CARD,
  PHRASE_SETTINGS,
  PHRASE_THEME,
  PHRASE_POWER_OFF,
  PHRASE_LANGUAGE,
  PHRASE_JOURNEY,
  PHRASE_PLACE, /* position of the ride */
  PHRASE_SOUND,
  PHRASE_VOLUME,
  PHRASE_MUTE,
  PHRASE_MICROPHONE,
  PHRASE_SYSTEM,
  PHRASE_REPAIR,
  PHRASE_FORMAT,
  PHRASE_REPAIR_QUESTION,
  PHRASE_FORMAT_QUESTION,
  PHRASE_REPAIR_REMARK,
  PHRASE_FORMAT_REMARK,
  PHRASE_PLEASE_WAIT,
  PHRASE_YES,
  PHRASE_NO,
  PHRASE_CARD_READY,
  PHRASE_CARD_MISSING,
  PHRASE_CARD_LOCKED,
  PHRASE_CARD_ERROR,
  PHRASE_CARD_FULL,
  PHRASE_RECORDING,
  PHRASE_PARKING_MODE,
  PHRASE_IMPACT,
  PHRASES
};
enum { LANGUAGES = 7 };

/* Return a phrase in the selected language, or in any language by its number. */
const char *phrase(enum phrase which);
const char *phrase_in(int language, enum phrase which);

int chosen_language(void);

/* Select a language by its code: en, de, el, ru, ja, ko or zh. Return 0, or -1 if there is none. */
int choose_language(const char *code);

/* Select the next language; after the last one, the first. */
void next_language(void);

#endif
