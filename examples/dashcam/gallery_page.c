/* Photographs: one large, from its JPEG file, and a strip of all. NEXT shows the next one, OK starts and stops a
 * show of all. */

#include "pages.h"

enum { STEPS_A_PHOTO = 20 };

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

static int shown, is_running, steps;

static int photo_width(void) {
  return pick(496, 232);
}

static int photo_height(void) {
  return pick(280, 130);
}

static int small_width(void) {
  return pick(112, 60);
}

static int small_height(void) {
  return pick(63, 34);
}

static void draw_place(int x, int y) {
  const int width = text_width(TEXT_SMALL, photos[shown].place) + pick(28, 16), height = pick(28, 22);
  fill(x, y, width, height, GROUND);
  fill(x, y, pick(4, 3), height, get_theme_color());
  text((struct place){x + pick(16, 9), y + height / 2, width, LEFT},
       (struct look){TEXT_SMALL, INK_WHITE, ON_GROUND}, photos[shown].place);
}

static void draw_photo(void) {
  const int x = (panel_width() - photo_width()) / 2, y = page_top(), edge = pick(12, 6);
  photograph(x, y, photos[shown].name);
  draw_place(x + edge, y + photo_height() - edge - pick(28, 22));
  if (is_running)
    icon(x + photo_width() - pick(28, 18), y + pick(28, 18), ICONS_TITLE_PLAY, INK_WHITE, ON_SURFACE);
}

static void draw_strip(void) {
  const int left = (panel_width() - photo_width()) / 2, edge = pick(4, 3);
  const int gap = (photo_width() - PHOTOS * small_width()) / (PHOTOS - 1);
  const int y = page_bottom() - small_height();
  for (int i = 0; i < PHOTOS; ++i) {
    const int x = left + i * (small_width() + gap);
    picture(x, y, photos[i].small);
    frame(x - edge, y - edge, small_width() + 2 * edge, small_height() + 2 * edge,
          i == shown ? get_theme_color() : GROUND, edge);
  }
}

static void enter(void) {
  shown = is_running = 0;
}

static void draw(void) {
  draw_photo();
  draw_strip();
  title_counter(shown, PHOTOS);
}

static void step(void) {
  if (!is_running || ++steps % STEPS_A_PHOTO != 0)
    return;
  shown = (shown + 1) % PHOTOS;
  draw();
}

static void press(enum key key) {
  steps = 0;
  if (key == KEY_NEXT)
    shown = (shown + 1) % PHOTOS;
  else
    is_running = !is_running;
}

const struct page gallery_page = {
    .name = "gallery",
    .shows = "the photographs",
    .art = ICONS_TITLE_PHOTO,
    .title = PHRASE_PHOTOS,
    .enter = enter,
    .draw = draw,
    .step = step,
    .press = press,
};
