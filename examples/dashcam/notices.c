#include "notices.h"

#include "speaker.h"
#include "widgets.h"

enum { SHOWN_MS = 3000 };

static const struct {
  enum sound sound;
  enum phrase phrase;
  enum icons_image image;
} notices[NOTICES] = {
    [NOTICE_RECORDING] = {SOUND_RECORDING, PHRASE_RECORDING, ICONS_TITLE_VIDEO},
    [NOTICE_PARKING] = {SOUND_PARKING, PHRASE_PARKING_MODE, ICONS_TITLE_PARKING},
    [NOTICE_PROTECTED] = {SOUND_PROTECTED, PHRASE_PROTECTED, ICONS_TITLE_LOCK},
    [NOTICE_MONITOR_ATTACHED] = {SOUND_MONITOR_ATTACHED, PHRASE_MONITOR_ATTACHED, ICONS_TITLE_MONITOR},
    [NOTICE_MONITOR_REMOVED] = {SOUND_MONITOR_REMOVED, PHRASE_MONITOR_REMOVED, ICONS_TITLE_MONITOR},
    [NOTICE_CARD_FULL] = {SOUND_CARD_FULL, PHRASE_CARD_FULL, ICONS_TITLE_SD},
    [NOTICE_CARD_MISSING] = {SOUND_CARD_MISSING, PHRASE_CARD_MISSING, ICONS_TITLE_SD},
    [NOTICE_CARD_ERROR] = {SOUND_CARD_ERROR, PHRASE_CARD_ERROR, ICONS_TITLE_WARNING},
    [NOTICE_HOT] = {SOUND_HOT, PHRASE_HOT, ICONS_TITLE_TEMPERATURE},
    [NOTICE_IMPACT] = {SOUND_IMPACT, PHRASE_IMPACT, ICONS_TITLE_WARNING},
};

static enum notice shown;
static int is_shown, is_drawn;
static uint32_t since_ms;

void notice(enum notice which) {
  speaker_say(notices[which].sound);
  if (is_shown && shown == NOTICE_IMPACT && which < NOTICE_CARD_FULL)
    return; /* an impact is not covered by what is in order */
  shown = which;
  is_shown = 1;
  is_drawn = 0;
  since_ms = get_tick_count();
}

void notice_draw(void) {
  const int y = bar_height(), height = title_height(), middle = y + height / 2,
            left = margin() + pick(44, 28);
  if (!is_shown || is_drawn)
    return;
  is_drawn = 1;
  fill(0, y, panel_width(), height, SURFACE);
  fill(0, y, pick(8, 4), height, shown < NOTICE_CARD_FULL ? get_theme_color() : ALARM);
  icon(margin() + pick(14, 10), middle, notices[shown].image, INK_WHITE, ON_SURFACE);
  text((struct place){left, middle, panel_width() - left - margin(), LEFT},
       (struct look){TEXT_TITLE, INK_WHITE, ON_SURFACE}, phrase(notices[shown].phrase));
}

void notice_is_covered(void) {
  is_drawn = 0;
}

int notice_is_over(void) {
  if (!is_shown || get_tick_count() - since_ms < SHOWN_MS)
    return 0;
  is_shown = 0;
  return 1;
}
