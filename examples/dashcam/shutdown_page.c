/* The last page: the farewell, while the last recording is saved. */

#include "navigation.h"
#include "progress.h"
#include "recorder.h"
#include "show.h"
#include "speaker.h"

enum { STEPS = 25 }; /* tenths of a second */

static struct progress progress = {0, STEPS};

static int bar_y(void) {
  return panel_height() / 2 + pick(110, 80);
}

static void enter(void) {
  progress.steps = 0;
  speaker_say(SOUND_GOODBYE);
  recorder_close();
}

static void draw(void) {
  const int x = panel_width() / 2, y = panel_height() / 2;
  icon(x, y - pick(84, 56), ICONS_MENU_POWER, INK_WHITE, ON_GROUND);
  text((struct place){x, y, page_width(), CENTRE}, (struct look){TEXT_TITLE, INK_WHITE, ON_GROUND},
       phrase(PHRASE_GOODBYE));
  text((struct place){x, y + pick(44, 30), page_width(), CENTRE},
       (struct look){TEXT_SMALL, INK_MUTED, ON_GROUND}, phrase(PHRASE_SAVING));
  progress_draw(&progress, bar_y());
}

static void step(void) {
  if (progress_step(&progress, bar_y()))
    end_show();
}

const struct page shutdown_page = {
    .name = "shutdown",
    .shows = "the farewell",
    .title = PHRASES,
    .is_whole = 1,
    .enter = enter,
    .draw = draw,
    .step = step,
};
