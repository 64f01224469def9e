#define _POSIX_C_SOURCE 200809L

#include "film.h"

#include "canvas.h"

#include <stdio.h>

#define ONE_PICTURE "/tmp/dashcam.jpg" /* the library decodes files */

enum { MARKER = 0xFF, START = 0xD8, END = 0xD9, FIRST_RESTART = 0xD0, LAST_RESTART = 0xD7, BLOCK = 16384 };

/* Skip compressed data, and return the code of the next marker; EOF at the end of the file. */
static int next_marker(FILE *file) {
  for (;;) {
    int byte = getc_unlocked(file);
    while (byte != MARKER && byte != EOF)
      byte = getc_unlocked(file);
    while (byte == MARKER)
      byte = getc_unlocked(file);
    if (byte == EOF || (byte != 0 && (byte < FIRST_RESTART || byte > LAST_RESTART)))
      return byte;
  }
}

/* Read the length of a segment; -1 at the end of the file. */
static int segment_length(FILE *file) {
  const int high = getc_unlocked(file), low = getc_unlocked(file);
  return high == EOF || low == EOF ? -1 : high * 256 + low;
}

/* Return the position after the picture that starts here, or -1. */
static long skip_picture(FILE *file) {
  enum { LENGTH_SIZE = 2 }; /* a segment's length contains itself */
  if (getc_unlocked(file) != MARKER || getc_unlocked(file) != START)
    return -1;
  for (int marker; (marker = next_marker(file)) != END;) {
    const int length = marker == EOF ? -1 : segment_length(file);
    if (length < LENGTH_SIZE || fseek(file, length - LENGTH_SIZE, SEEK_CUR) != 0)
      return -1;
  }
  return ftell(file);
}

void film_open(struct film *film, const char *path) {
  FILE *file = fopen(path, "rb");
  film->count = 0;
  film->starts[0] = 0;
  snprintf(film->path, sizeof film->path, "%s", path);
  for (long end; file != NULL && film->count < MOST_PICTURES && (end = skip_picture(file)) > 0;)
    film->starts[++film->count] = end;
  if (file != NULL)
    fclose(file);
}

static int copy(FILE *from, long length, FILE *to) {
  char block[BLOCK];
  while (length > 0) {
    const size_t part = length < BLOCK ? (size_t)length : BLOCK;
    if (fread(block, 1, part, from) != part || fwrite(block, 1, part, to) != part)
      return -1;
    length -= (long)part;
  }
  return 0;
}

int film_show(const struct film *film, int number, int x, int y) {
  FILE *from = fopen(film->path, "rb"), *to = fopen(ONE_PICTURE, "wb");
  const int is_copied = from != NULL && to != NULL && fseek(from, film->starts[number], SEEK_SET) == 0 &&
                        copy(from, film->starts[number + 1] - film->starts[number], to) == 0;
  if (from != NULL)
    fclose(from);
  if (to == NULL || fclose(to) != 0 || !is_copied)
    return -1;
  return photograph_file(x, y, ONE_PICTURE);
}
