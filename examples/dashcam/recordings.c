#define _POSIX_C_SOURCE 200809L

#include "recordings.h"

#include <ctype.h>
#include <dirent.h>
#include <stdio.h>
#include <string.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#define CARD "/tmp/mmcblk0p1"

static const char *const directories[] = {CARD "/REC", CARD "/LOCK"}; /* index: whether protected */

/* The names are those that parse_rec_file_list() counts. */
static int is_recording(const char *name) {
  const int is_normal = strncasecmp(name, "KVX", 3) == 0;
  const int is_event = strncasecmp(name, "EM", 2) == 0 && strchr("ABCDEabcde", name[2]) != NULL;
  return strlen(name) == RECORDING_NAME - 1 && (is_normal || is_event) &&
         strspn(name + 3, "0123456789") == 5 && strcasecmp(name + 8, ".TS") == 0;
}

void recording_path(const struct recording *recording, char path[RECORDING_PATH]) {
  snprintf(path, RECORDING_PATH, "%s/%s", directories[recording->is_protected], recording->name);
}

static int is_newer(const struct recording *one, const struct recording *other) {
  return one->time != other->time ? one->time > other->time : strcmp(one->name, other->name) > 0;
}

/* Insert into the sorted list. A full list loses its oldest. Return the new number. */
static int insert(struct recording *list, int count, const struct recording *found) {
  int place = count;
  while (place > 0 && is_newer(found, &list[place - 1]))
    --place;
  if (place == MOST_RECORDINGS)
    return count;
  const int kept = count < MOST_RECORDINGS ? count : MOST_RECORDINGS - 1;
  memmove(&list[place + 1], &list[place], (size_t)(kept - place) * sizeof *list);
  list[place] = *found;
  return kept + 1;
}

static int read_directory(struct recording *list, int count, int is_protected) {
  DIR *directory = opendir(directories[is_protected]);
  for (const struct dirent *entry; directory != NULL && (entry = readdir(directory)) != NULL;) {
    struct recording found = {.is_protected = is_protected};
    char path[RECORDING_PATH];
    struct stat status;
    if (!is_recording(entry->d_name))
      continue;
    memcpy(found.name, entry->d_name, sizeof found.name);
    found.is_event = toupper((unsigned char)found.name[0]) == 'E';
    recording_path(&found, path);
    if (stat(path, &status) != 0 || !S_ISREG(status.st_mode))
      continue;
    found.bytes = status.st_size;
    found.time = status.st_mtime;
    count = insert(list, count, &found);
  }
  if (directory != NULL)
    closedir(directory);
  return count;
}

int read_recordings(struct recording list[MOST_RECORDINGS]) {
  return read_directory(list, read_directory(list, 0, 0), 1);
}

int protect_recording(struct recording *recording, int is_protected) {
  char from[RECORDING_PATH], to[RECORDING_PATH];
  recording_path(recording, from);
  struct recording moved = *recording;
  moved.is_protected = is_protected;
  recording_path(&moved, to);
  mkdir(directories[is_protected], 0777);
  if (access(to, F_OK) == 0 || rename(from, to) != 0)
    return -1;
  *recording = moved;
  return 0;
}

int delete_recording(const struct recording *recording) {
  char path[RECORDING_PATH];
  recording_path(recording, path);
  return recording->is_protected ? -1 : unlink(path);
}
