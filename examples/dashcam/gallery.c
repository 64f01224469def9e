/* Photographs: one large, from its JPEG file, and a strip of all. */

#include "screens.h"
#include "widgets.h"
#include "words.h"

#include <stdio.h>

enum { PHOTO_WIDTH = 560, PHOTO_HEIGHT = 316, SMALL_WIDTH = 128, SMALL_HEIGHT = 72, SECONDS_A_PHOTO = 2 };

static const struct photo {
  const char *name;
  enum picture small;
  const char *place;
} photos[] = {
    {"alps", PICTURE_SMALL_ALPS, "Zermatt, Schweiz"},
    {"coast", PICTURE_SMALL_COAST, "Σαντορίνη"},
    {"city", PICTURE_SMALL_CITY, "東京 新宿"},
    {"road", PICTURE_SMALL_ROAD, "Дорога на Москву"},
};
enum { PHOTOS = sizeof photos / sizeof photos[0] };

static int shown;

static int left(void) {
  return (canvas_width() - PHOTO_WIDTH) / 2;
}

/* The space above, between and below photograph and strip. */
static int gap(void) {
  return (canvas_height() - STATUS_BAR - PHOTO_HEIGHT - SMALL_HEIGHT) / 3;
}

static void draw_photo(void) {
  const int x = left(), y = STATUS_BAR + gap(), bottom = y + PHOTO_HEIGHT;
  char number[16];
  snprintf(number, sizeof number, "%d / %d", shown + 1, (int)PHOTOS);
  photograph(x, y, photos[shown].name);
  words_plate(x + 12, bottom - 40, LEFT, photos[shown].place);
  words_plate(x + PHOTO_WIDTH - 12, bottom - 40, RIGHT, number);
}

static void draw_strip(void) {
  const int pitch = (PHOTO_WIDTH - SMALL_WIDTH) / (PHOTOS - 1);
  const int y = canvas_height() - gap() - SMALL_HEIGHT;
  for (int i = 0; i < PHOTOS; ++i) {
    const int x = left() + i * pitch;
    picture(x, y, photos[i].small);
    frame(x - 4, y - 4, SMALL_WIDTH + 8, SMALL_HEIGHT + 8, i == shown ? get_theme_color() : DRAVIK_BLACK, 4);
  }
}

static int photo_at(const struct ride *ride) {
  return ride->second / SECONDS_A_PHOTO % PHOTOS;
}

void gallery_draw(const struct ride *ride) {
  fb_clear_screen(DRAVIK_BLACK);
  status_bar(ride);
  shown = photo_at(ride);
  draw_photo();
  draw_strip();
}

void gallery_refresh(const struct ride *ride) {
  status_clock(ride);
  if (photo_at(ride) == shown)
    return;
  shown = photo_at(ride);
  draw_photo();
  draw_strip();
}
