/* The pictures of a recording: JPEG files, one after the other. */
#ifndef FILM_H
#define FILM_H

enum { MOST_PICTURES = 512 };

struct film {
  char path[64];
  int count;
  long starts[MOST_PICTURES + 1]; /* of the pictures in the file; the last one is the end */
};

/* Find the pictures. What is not a complete picture ends the film. */
void film_open(struct film *film, const char *path);

/* Draw a picture with its top-left corner there. Return 0, or -1 if it cannot be read or decoded. */
int film_show(const struct film *film, int number, int x, int y);

#endif
