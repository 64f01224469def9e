#include "text.h"

#include <stdio.h>
#include <string.h>

enum { LATIN, EAST_ASIAN, LONGEST = 80, RUNS = 6, POINTS_PER_INCH = 72, DOTS_PER_INCH = 80 };

/* Letters of one font. */
struct run {
  uint8_t units[2 * (LONGEST + 1)];
  int length, spaces; /* spaces: before it */
  uint32_t font;
  int width, rise; /* in pixels, without the spaces; from the top to the base line */
};

struct line_of_text {
  struct run runs[RUNS];
  int count, width;
};

static const uint32_t in_points[2][TEXT_SIZES] = {{15, 17, 20}, {15, 15, 15}};

static uint32_t points(enum text_size size) {
  return in_points[panel_is_small()][size];
}

int text_em(enum text_size size) {
  return (int)points(size) * DOTS_PER_INCH / POINTS_PER_INCH;
}

int text_height(enum text_size size) {
  return text_em(size) * 5 / 4;
}

/* Decode one character of up to three bytes; the fonts do not contain longer ones. */
static unsigned take_character(const unsigned char **from) {
  const unsigned char *bytes = *from;
  const int length = bytes[0] < 0x80 || bytes[1] == 0 ? 1 : bytes[0] < 0xE0 || bytes[2] == 0 ? 2 : 3;
  *from += length;
  if (length == 1)
    return bytes[0];
  if (length == 2)
    return (bytes[0] & 0x1FU) << 6 | (bytes[1] & 0x3FU);
  return (bytes[0] & 0x0FU) << 12 | (bytes[1] & 0x3FU) << 6 | (bytes[2] & 0x3FU);
}

/* The East Asian font has neither Latin letters nor figures. */
static uint32_t font_of(unsigned character) {
  const unsigned first_east_asian = 0x1100;
  return character >= first_east_asian ? EAST_ASIAN : LATIN;
}

static void put(struct run *run, unsigned character) {
  run->units[2 * run->length] = (uint8_t)character;
  run->units[2 * run->length + 1] = (uint8_t)(character >> 8);
  ++run->length;
}

/* Append a character after some spaces: to the last run, if that has its font. */
static void append(struct line_of_text *line, unsigned character, int spaces) {
  struct run *run = &line->runs[line->count > 0 ? line->count - 1 : 0];
  if (line->count == 0 || (run->font != font_of(character) && line->count < RUNS)) {
    run = &line->runs[line->count++];
    *run = (struct run){.spaces = spaces, .font = font_of(character)};
    spaces = 0;
  }
  for (; spaces > 0 && run->length < LONGEST - 1; --spaces)
    put(run, ' ');
  if (run->length < LONGEST)
    put(run, character);
}

/* Spaces at the end are dropped: the library draws nothing that ends with one. */
static void split(struct line_of_text *line, const char *utf8) {
  const unsigned char *from = (const unsigned char *)utf8;
  line->count = 0;
  for (int spaces = 0; *from != '\0';) {
    const unsigned character = take_character(&from);
    if (character == ' ') {
      ++spaces;
    } else {
      append(line, character, spaces);
      spaces = 0;
    }
  }
}

/* --------------------------------------------------------------------------------------------- drawing */

/* Far above the screen nothing is drawn, but str_width and sy contain the size of the text. */
static void measure_run(struct run *run, enum text_size size) {
  enum { PLANE_BASE_LINE = 100 };
  const uint32_t far_above = 0U - 10000U;
  put_unicode_string(0, far_above, run->units, points(size), run->font, DRAVIK_WHITE, DRAVIK_BLACK,
                     DRAVIK_TOP_LEFT);
  run->width = str_width;
  run->rise = PLANE_BASE_LINE - sy;
}

static int space_before(const struct run *run, enum text_size size) {
  return run->spaces * text_em(size) / 4;
}

static void measure(struct line_of_text *line, enum text_size size) {
  line->width = line->count > 0 ? line->count - 1 : 0;
  for (int i = 0; i < line->count; ++i) {
    measure_run(&line->runs[i], size);
    line->width += space_before(&line->runs[i], size) + line->runs[i].width;
  }
}

static void cut(struct line_of_text *line, enum text_size size, int room) {
  while (line->width > room && line->count > 0) {
    struct run *last = &line->runs[line->count - 1];
    memset(last->units + 2 * --last->length, 0, 2);
    if (last->length == 0)
      --line->count;
    measure(line, size);
  }
}

static void draw_run(const struct run *run, int x, int middle, struct look look) {
  /* Capitals are 0.72 em high, and 72 points are 80 pixels: half a capital is 0.4 pixels a point. */
  const int base_line = middle + (int)points(look.size) * 2 / 5;
  put_unicode_string((uint32_t)x, (uint32_t)(base_line - run->rise), run->units, points(look.size), run->font,
                     (uint16_t)look.ink, (uint16_t)look.behind, DRAVIK_TOP_LEFT);
}

/* Clear what is above and below the run that was drawn last, in the box of its line. */
static void clear_around(const struct run *run, int x, int middle, struct look look) {
  const int box = text_height(look.size), top = middle - box / 2;
  const int first = middle + (int)points(look.size) * 2 / 5 - run->rise, last = first + str_height;
  fill(x, top, run->width, first - top, behind_colour(look.behind));
  fill(x, last, run->width, top + box - last, behind_colour(look.behind));
}

static void clear_between(int from, int to, int middle, struct look look) {
  const int box = text_height(look.size);
  fill(from, middle - box / 2, to - from, box, behind_colour(look.behind));
}

/* Runs are drawn over what was there, and only the rest of the box is cleared, so that a text that changes
 * does not flicker. */
static void draw_line(struct place at, struct look look, const char *utf8, int is_clearing) {
  static struct line_of_text line;
  split(&line, utf8);
  measure(&line, look.size);
  if (line.width > at.room) {
    log_printf("text: \"%s\" is wider than %d pixels", utf8, at.room);
    cut(&line, look.size, at.room);
  }
  int x = left_edge(at.x, line.width, at.align), cleared = left_edge(at.x, at.room, at.align);
  const int end = cleared + at.room;
  for (int i = 0; i < line.count; ++i) {
    const struct run *run = &line.runs[i];
    x += space_before(run, look.size);
    draw_run(run, x, at.middle, look);
    if (is_clearing) {
      clear_around(run, x, at.middle, look);
      clear_between(cleared, x, at.middle, look);
    }
    x += run->width;
    cleared = x++;
  }
  if (is_clearing)
    clear_between(cleared, end, at.middle, look);
}

void text(struct place at, struct look look, const char *utf8) {
  draw_line(at, look, utf8, 0);
}

void text_again(struct place at, struct look look, const char *utf8) {
  draw_line(at, look, utf8, 1);
}

int text_width(enum text_size size, const char *utf8) {
  static struct line_of_text line;
  split(&line, utf8);
  measure(&line, size);
  return line.width;
}

int text_is_ready(void) {
  for (int i = 0; i < DRAVIK_FONT_FILES; ++i) {
    FILE *file = fopen(ttf_font_file[i], "rb");
    if (file == NULL)
      return 0;
    fclose(file);
  }
  return 1;
}
