#define _POSIX_C_SOURCE 200809L

#include "recorder.h"

#include "recordings.h"
#include "tell.h"

#include <dravik.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#define DIRECTORY "/tmp/mmcblk0p1/REC"

enum { SCENES = 12, EVENT_PICTURES = 24, MOST_NUMBERS = 100000, BLOCK = 16384 };

static int is_open, recorded; /* pictures in the recording */
static char recording[RECORDING_PATH];

void recorder_open(void) {
  is_open = 1;
}

void recorder_close(void) {
  is_open = 0;
}

/* Append a file to another. Return 0, or -1. */
static int append(const char *from, const char *to) {
  char block[BLOCK];
  size_t length;
  FILE *source = fopen(from, "rb"), *target = source != NULL ? fopen(to, "ab") : NULL;
  int result = target != NULL ? 0 : -1;
  while (result == 0 && (length = fread(block, 1, sizeof block, source)) > 0)
    result = fwrite(block, 1, length, target) == length ? 0 : -1;
  if (source != NULL)
    fclose(source);
  return target != NULL && fclose(target) == 0 ? result : -1;
}

/* The camera's picture: the scenes of the demonstration in turn. */
static int append_picture(const char *to) {
  static int scene;
  char from[RECORDING_PATH];
  scene = (scene + 1) % SCENES;
  snprintf(from, sizeof from, "/usr/local/dravik/jpg/drive%02d_%u.jpg", scene, fbinfo[FBINFO_XRES]);
  return append(from, to);
}

/* ---------------------------------------------------------------------------------- normal recordings */

/* The number after the newest one on the card. */
static int next_number(void) {
  static struct recording list[MOST_RECORDINGS];
  int number = -1;
  for (int i = read_recordings(list) - 1; i >= 0; --i) {
    const int other = atoi(list[i].name + 3);
    number = other > number ? other : number;
  }
  return (number + 1) % MOST_NUMBERS;
}

static void begin(void) {
  mkdir(DIRECTORY, 0777);
  snprintf(recording, sizeof recording, DIRECTORY "/KVX%05d.TS", next_number());
  tell("recording %s", recording + sizeof DIRECTORY);
}

/* A recording that is gone is not continued. The next one waits for the next call: the card may be leaving. */
void record(void) {
  if (!is_open)
    return;
  if (recorded > 0 && access(recording, W_OK) != 0) {
    recorded = 0;
    return;
  }
  if (recorded == 0 || recorded == RECORDED_PER_SECOND * RECORDING_SECONDS) {
    recorded = 0;
    begin();
  }
  recorded = append_picture(recording) == 0 ? recorded + 1 : 0;
}

void end_recording(void) {
  recorded = 0;
}

/* ---------------------------------------------------------------------------------------------- events */

/* The files of a slot are replaced. */
static void empty_slot(char slot) {
  static struct recording list[MOST_RECORDINGS];
  for (int i = read_recordings(list) - 1; i >= 0; --i)
    if (list[i].is_event && list[i].name[2] == slot)
      delete_recording(&list[i]);
}

int record_event(void) {
  struct rec_file_list known;
  char path[RECORDING_PATH];
  int result = 0;
  if (!is_open)
    return -1;
  mkdir(DIRECTORY, 0777);
  if (parse_rec_file_list(&known) != 0)
    return -1;
  const int slot = known.event_next >= 0 ? known.event_next : known.event_count > 0 ? known.event_oldest : 0;
  empty_slot((char)('A' + slot));
  snprintf(path, sizeof path, DIRECTORY "/EM%c%05d.TS", 'A' + slot, next_number());
  for (int i = 0; i < EVENT_PICTURES && result == 0; ++i)
    result = append_picture(path);
  return result;
}
