#include "notices.h"

#include "phrases.h"
#include "speaker.h"
#include "widgets.h"
#include "words.h"

enum { SHOWN_MS = 3000, HEIGHT = 52, INDENT = 64 };

static const struct {
  enum sound sound;
  enum phrase phrase;
  enum icons_image image;
} notices[] = {
    [NOTICE_RECORDING] = {SOUND_RECORDING, PHRASE_RECORDING, ICONS_TITLE_VIDEO},
    [NOTICE_PARKING] = {SOUND_PARKING, PHRASE_PARKING_MODE, ICONS_TITLE_PARKING},
    [NOTICE_CARD_FULL] = {SOUND_CARD_FULL, PHRASE_CARD_FULL, ICONS_TITLE_SD},
    [NOTICE_CARD_MISSING] = {SOUND_CARD_MISSING, PHRASE_CARD_MISSING, ICONS_TITLE_SD},
    [NOTICE_CARD_ERROR] = {SOUND_CARD_ERROR, PHRASE_CARD_ERROR, ICONS_TITLE_WARNING},
    [NOTICE_IMPACT] = {SOUND_IMPACT, PHRASE_IMPACT, ICONS_TITLE_WARNING},
};

static enum notice shown;
static int is_shown;
static uint32_t since_ms;

void notice(enum notice which) {
  speaker_say(notices[which].sound);
  shown = which;
  is_shown = 1;
  since_ms = get_tick_count();
}

void notice_draw(void) {
  const char *utf8 = phrase(notices[shown].phrase);
  if (!is_shown)
    return;
  const int width = words_width(WORDS_TITLE, utf8) + INDENT + 24, middle = STATUS_BAR + 8 + HEIGHT / 2;
  const int left = left_edge(canvas_width() / 2, width, CENTRE);
  fill(left, STATUS_BAR + 8, width, HEIGHT, DRAVIK_BLACK);
  outline(left, STATUS_BAR + 8, width, HEIGHT, DRAVIK_WHITE);
  fill(left, STATUS_BAR + 8, 6, HEIGHT, shown <= NOTICE_PARKING ? get_theme_color() : DRAVIK_RED);
  icon(left + 34, middle, notices[shown].image, DRAVIK_WHITE, DRAVIK_BLACK);
  words(left + INDENT, middle, WORDS_TITLE, DRAVIK_BLACK, LEFT, utf8);
}

int notice_is_over(void) {
  if (!is_shown || get_tick_count() - since_ms < SHOWN_MS)
    return 0;
  is_shown = 0;
  return 1;
}
