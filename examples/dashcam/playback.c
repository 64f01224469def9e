/* The list of recordings, with the selected one next to it. */

#include "phrases.h"
#include "screens.h"
#include "widgets.h"

enum recording_kind { NORMAL, EVENT, LOCKED };

struct recording {
  enum recording_kind kind;
  enum picture still;
  const char *time, *length, *size;
};

static const struct recording recordings[] = {
    {NORMAL, PICTURE_DUSK, "14:27:00", "3:00", "412 MB"},
    {EVENT, PICTURE_RAIN, "14:25:12", "0:30", "71 MB"},
    {NORMAL, PICTURE_DAY, "14:24:00", "3:00", "408 MB"},
    {LOCKED, PICTURE_DAY, "14:21:00", "3:00", "415 MB"},
    {NORMAL, PICTURE_NIGHT, "05:48:00", "3:00", "388 MB"},
    {NORMAL, PICTURE_NIGHT, "05:45:00", "3:00", "391 MB"},
};
enum { RECORDINGS = sizeof recordings / sizeof recordings[0], SELECTED = 0, LIST_WIDTH = 326 };

static const struct {
  enum icons_image image;
  const char *name;
} kinds[] = {
    [NORMAL] = {ICONS_TITLE_VIDEO, "Normal"},
    [EVENT] = {ICONS_TITLE_WARNING, "Impact"},
    [LOCKED] = {ICONS_TITLE_LOCK, "Locked"},
};

static void draw_recording(int index, int y, int height) {
  const struct recording *recording = &recordings[index];
  const int is_selected = index == SELECTED, middle = y + height / 2;
  card(MARGIN, y, LIST_WIDTH, height, is_selected);
  icon(MARGIN + 30, middle, kinds[recording->kind].image, DRAVIK_WHITE,
       is_selected ? DRAVIK_THEME : DRAVIK_TRANSPARENT);
  text(MARGIN + 60, middle, FONT_BODY, DRAVIK_WHITE, LEFT, "%s", recording->time);
  text(MARGIN + 224, middle, FONT_SMALL, is_selected ? DRAVIK_WHITE : SILVER, RIGHT, "%s", recording->length);
  text(MARGIN + LIST_WIDTH - 18, middle, FONT_SMALL, is_selected ? DRAVIK_WHITE : SILVER, RIGHT, "%s",
       recording->size);
}

static void detail(int x, int right, int middle, const char *label, const char *value) {
  text(x, middle, FONT_SMALL, DRAVIK_GREY, LEFT, "%s", label);
  text(right, middle, FONT_SMALL, DRAVIK_WHITE, RIGHT, "%s", value);
}

enum { STILL_WIDTH = 256, STILL_HEIGHT = 136 };

static void draw_selected(const struct recording *recording, int x, int y) {
  const int right = x + STILL_WIDTH, below = y + STILL_HEIGHT;
  fill(x - 2, y - 2, STILL_WIDTH + 4, STILL_HEIGHT + 4, EDGE);
  picture(x, y, recording->still);
  icon(x + STILL_WIDTH / 2, y + STILL_HEIGHT / 2, ICONS_PLAY, DRAVIK_WHITE, DRAVIK_TRANSPARENT);
  level(x, below + 22, STILL_WIDTH, 35, EDGE);
  text(x, below + 42, FONT_SMALL, SILVER, LEFT, "1:03");
  text(right, below + 42, FONT_SMALL, SILVER, RIGHT, "%s", recording->length);
  detail(x, right, below + 84, "Kind", kinds[recording->kind].name);
  detail(x, right, below + 110, "Picture", "2560 x 1440");
  detail(x, right, below + 136, "Frames", "30 / s");
  detail(x, right, below + 162, "Size", recording->size);
  detail(x, right, below + 188, "Top speed", "84 km/h");
}

void playback_draw(const struct ride *ride) {
  const int pitch = (canvas_height() - PAGE_TOP - 12) / RECORDINGS;
  page(ride, ICONS_TITLE_PLAYBACK, phrase(PHRASE_PLAYBACK), "2025-06-14");
  for (int i = 0; i < RECORDINGS; ++i)
    draw_recording(i, PAGE_TOP + i * pitch, pitch - 6);
  draw_selected(&recordings[SELECTED], canvas_width() - MARGIN - STILL_WIDTH, PAGE_TOP + 2);
}
