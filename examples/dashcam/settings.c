#define _POSIX_C_SOURCE 200809L

#include "settings.h"

#include "camera.h"
#include "phrases.h"
#include "tell.h"
#include "theme.h"

#include <dravik.h>

#include <stdio.h>
#include <string.h>
#include <unistd.h>

#define FILE_NAME "/usr/local/dravik/dashcam.conf"

static void apply_theme(void) {
  theme_choose(setting(SETTING_THEME));
}

static void apply_language(void) {
  choose_language(setting(SETTING_LANGUAGE));
}

static void apply_nothing(void) {}

static struct {
  const char *name;
  int value, least, most, step;
  void (*apply)(void);
} settings[SETTINGS] = {
    [SETTING_BRIGHTNESS] = {"brightness", 100, 20, 100, 20, camera_show_lights},
    [SETTING_VOLUME] = {"volume", DRAVIK_VOLUME_MEDIUM, 0, DRAVIK_VOLUME_FULL, 20, apply_sound},
    [SETTING_MUTE] = {"mute", 0, 0, 1, 1, apply_sound},
    [SETTING_MICROPHONE] = {"microphone", 1, 0, 1, 1, apply_sound},
    [SETTING_IMPACT] = {"impact", 1, 0, 2, 1, apply_nothing},
    [SETTING_THEME] = {"theme", 0, 0, THEMES - 1, 1, apply_theme},
    [SETTING_LANGUAGE] = {"language", 0, 0, LANGUAGES - 1, 1, apply_language},
    [SETTING_CLOCK] = {"clock", 0, 0, 24 * 60 - 1, 1, apply_nothing},
    [SETTING_DESTINATION] = {"destination", 5, 0, 5, 1, apply_nothing},
};

int setting(enum setting which) {
  return settings[which].value;
}

void apply_sound(void) {
  if (setting(SETTING_MUTE))
    spk_volume_mute();
  else
    spk_volume_setup((uint32_t)setting(SETTING_VOLUME));
  if (setting(SETTING_MICROPHONE))
    mic_volume_unmute();
  else
    mic_volume_mute();
}

/* ------------------------------------------------------------------------------------------------ file */

/* A power cut leaves the old file or the new one. */
static int save(void) {
  FILE *file = fopen(FILE_NAME ".new", "w");
  if (file == NULL)
    return -1;
  for (int i = 0; i < SETTINGS; ++i)
    fprintf(file, "%s=%d\n", settings[i].name, settings[i].value);
  const int is_written = fflush(file) == 0 && fsync(fileno(file)) == 0;
  if (fclose(file) != 0 || !is_written)
    return -1;
  return rename(FILE_NAME ".new", FILE_NAME);
}

static void take(int which, int value) {
  const int least = settings[which].least, most = settings[which].most;
  value = value < least ? least : value > most ? most : value;
  settings[which].value = value - (value - least) % settings[which].step;
}

static void read_line(const char *line) {
  char name[16];
  int value;
  if (sscanf(line, "%15[a-z]=%9d", name, &value) != 2)
    return;
  for (int i = 0; i < SETTINGS; ++i)
    if (strcmp(settings[i].name, name) == 0)
      take(i, value);
}

void load_settings(void) {
  char line[64];
  FILE *file = fopen(FILE_NAME, "r");
  while (file != NULL && fgets(line, sizeof line, file) != NULL)
    read_line(line);
  if (file != NULL)
    fclose(file);
  apply_theme();
  apply_language();
}

/* --------------------------------------------------------------------------------------------- changes */

void change_setting(enum setting which, int value) {
  take((int)which, value);
  tell("setting %s %d", settings[which].name, settings[which].value);
  settings[which].apply();
  if (save() != 0)
    tell("settings: cannot be saved");
}

void next_setting(enum setting which) {
  const int next = setting(which) + settings[which].step;
  change_setting(which, next > settings[which].most ? settings[which].least : next);
}
