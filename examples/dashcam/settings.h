/* The user's settings. They take effect immediately, and are kept in a file on the board's flash. */
#ifndef SETTINGS_H
#define SETTINGS_H

enum setting {
  SETTING_BRIGHTNESS, /* per cent */
  SETTING_VOLUME,     /* per cent */
  SETTING_MUTE,
  SETTING_MICROPHONE,
  SETTING_IMPACT, /* sensitivity, 0 to 2 */
  SETTING_THEME,
  SETTING_LANGUAGE,
  SETTING_CLOCK, /* minutes that the camera's clock is ahead of the board's */
  SETTING_DESTINATION,
  SETTINGS
};

int setting(enum setting which);

/* Store a value, let it take effect, and save all. Values out of range become the nearest ones. */
void change_setting(enum setting which, int value);

/* Move to the next value; after the last one, to the first. */
void next_setting(enum setting which);

/* Read the file, as far as it is there and valid. */
void load_settings(void);

/* Set the speaker and the microphone to the settings. */
void apply_sound(void);

#endif
