#include "words.h"

#include <stdio.h>

enum { LATIN, EAST_ASIAN, LONGEST = 64 };

struct line_of_text {
  uint8_t units[2 * (LONGEST + 1)];
  uint32_t font;
};

/* Decode one character of up to three bytes; the fonts do not contain longer ones. */
static unsigned take_character(const unsigned char **from) {
  const unsigned char *bytes = *from;
  if (bytes[0] < 0x80)
    return *from += 1, bytes[0];
  if (bytes[0] < 0xE0)
    return *from += 2, (bytes[0] & 0x1FU) << 6 | (bytes[1] & 0x3FU);
  return *from += 3, (bytes[0] & 0x0FU) << 12 | (bytes[1] & 0x3FU) << 6 | (bytes[2] & 0x3FU);
}

/* A text is drawn with one font: neither contains the letters of the other. */
static struct line_of_text line_of(const char *utf8) {
  const unsigned first_east_asian = 0x1100;
  struct line_of_text line = {{0}, LATIN};
  const unsigned char *from = (const unsigned char *)utf8;
  for (int i = 0; i < LONGEST && *from != '\0'; ++i) {
    const unsigned character = take_character(&from);
    line.units[2 * i] = (uint8_t)character;
    line.units[2 * i + 1] = (uint8_t)(character >> 8);
    if (character >= first_east_asian)
      line.font = EAST_ASIAN;
  }
  return line;
}

static uint32_t points(enum words_size size) {
  static const uint32_t in_points[2][4] = {{8, 9, 10, 17}, {13, 15, 19, 34}};
  return in_points[!canvas_is_small()][size];
}

/* Far above the screen nothing is drawn, but str_width and sy contain the size of the text. */
static void measure(const struct line_of_text *line, enum words_size size) {
  const uint32_t far_above = 0U - 10000U;
  put_unicode_string(0, far_above, line->units, points(size), line->font, DRAVIK_WHITE, DRAVIK_BLACK,
                     DRAVIK_TOP_LEFT);
}

void words(int x, int middle, enum words_size size, uint16_t background, enum align align, const char *utf8) {
  enum { PLANE_BASE_LINE = 100 };
  const struct line_of_text line = line_of(utf8);
  measure(&line, size);
  /* Capitals are 0.72 em high, and 72 points are 80 pixels: half a capital is 0.4 pixels a point. */
  const int base_line = pixels(middle) + (int)points(size) * 2 / 5;
  const int left = left_edge(pixels(x), str_width, align), top = base_line - (PLANE_BASE_LINE - sy);
  put_unicode_string((uint32_t)left, (uint32_t)top, line.units, points(size), line.font, DRAVIK_WHITE,
                     background, DRAVIK_TOP_LEFT);
}

int words_width(enum words_size size, const char *utf8) {
  const struct line_of_text line = line_of(utf8);
  measure(&line, size);
  return units(str_width);
}

void words_plate(int x, int y, enum align align, const char *utf8) {
  const int width = words_width(WORDS_SMALL, utf8) + 28, left = left_edge(x, width, align);
  fill(left, y, width, 28, DRAVIK_BLACK);
  fill(left, y, 4, 28, get_theme_color());
  words(left + 16, y + 14, WORDS_SMALL, DRAVIK_BLACK, LEFT, utf8);
}

int words_are_ready(void) {
  for (int i = 0; i < 2; ++i) {
    FILE *file = fopen(ttf_font_file[i], "rb");
    if (file == NULL)
      return 0;
    fclose(file);
  }
  return 1;
}
