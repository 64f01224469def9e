/* The list of languages: each name in its own script. */

#include "phrases.h"
#include "screens.h"
#include "widgets.h"
#include "words.h"

static void draw_language(int index, int y, int height) {
  const int is_selected = index == chosen_language(), middle = y + height / 2;
  const int right = canvas_width() - MARGIN;
  const uint16_t ground = is_selected ? DRAVIK_THEME : DRAVIK_BLACK;
  plate(MARGIN, y, right - MARGIN, height, is_selected);
  if (is_selected)
    icon(MARGIN + 28, middle, ICONS_KEY_CHECK, DRAVIK_WHITE, ground);
  words(MARGIN + 58, middle, WORDS_TITLE, ground, LEFT, phrase_in(index, PHRASE_LANGUAGE_NAME));
  words(right - 22, middle, WORDS_SMALL, ground, RIGHT, phrase_in(index, PHRASE_GREETING));
}

void languages_draw(const struct ride *ride) {
  const int pitch = (canvas_height() - PAGE_TOP - 12) / LANGUAGES;
  page(ride, ICONS_TITLE_LANGUAGE, phrase(PHRASE_LANGUAGE), "3 / 3");
  for (int i = 0; i < LANGUAGES; ++i)
    draw_language(i, PAGE_TOP + i * pitch, pitch - 6);
}
