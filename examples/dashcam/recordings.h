/* The recordings on the memory card. Protected ones are kept in a directory of their own. */
#ifndef RECORDINGS_H
#define RECORDINGS_H

#include <stdint.h>
#include <time.h>

enum { MOST_RECORDINGS = 256, RECORDING_NAME = 12, RECORDING_PATH = 64 };

struct recording {
  char name[RECORDING_NAME]; /* KVX00012.TS, or EMA00012.TS of an event */
  int is_event, is_protected;
  int64_t bytes;
  time_t time;
};

/* Read the newest recordings, newest first. Return their number. */
int read_recordings(struct recording list[MOST_RECORDINGS]);

void recording_path(const struct recording *recording, char path[RECORDING_PATH]);

/* Return 0, or -1 if the card does not let it happen. */
int protect_recording(struct recording *recording, int is_protected);
int delete_recording(const struct recording *recording);

#endif
