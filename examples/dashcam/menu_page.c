/* The main menu: a tile for each page. */

#include "navigation.h"
#include "question.h"

#include <stddef.h>

static const struct tile {
  enum icons_image image, small_image;
  enum phrase label;
  const struct page *page; /* none: power off */
} tiles[] = {
    {ICONS_MENU_PLAYBACK, ICONS_TITLE_PLAYBACK, PHRASE_PLAYBACK, &playback_page},
    {ICONS_MENU_PHOTO, ICONS_TITLE_PHOTO, PHRASE_PHOTOS, &gallery_page},
    {ICONS_MENU_PIN, ICONS_TITLE_PIN, PHRASE_JOURNEY, &journey_page},
    {ICONS_MENU_SENSOR, ICONS_TITLE_SENSOR, PHRASE_SENSOR, &sensor_page},
    {ICONS_MENU_SD, ICONS_TITLE_SD, PHRASE_CARD, &card_page},
    {ICONS_MENU_SETTINGS, ICONS_TITLE_SETTINGS, PHRASE_SETTINGS, &settings_page},
    {ICONS_MENU_SYSTEM, ICONS_TITLE_SYSTEM, PHRASE_SYSTEM, &system_page},
    {ICONS_MENU_POWER, ICONS_TITLE_POWER, PHRASE_POWER_OFF, NULL},
};
enum { TILES = sizeof tiles / sizeof tiles[0] };

static int selected;

/* The large panel has four tiles side by side, with the label below the icon; the small one has two. */
static int columns(void) {
  return pick(4, 2);
}

static void draw_tile(int index) {
  const int gap = pick(14, 6), rows = TILES / columns(), is_selected = index == selected;
  const int width = (page_width() - (columns() - 1) * gap) / columns();
  const int height = (page_bottom() - page_top() - (rows - 1) * gap) / rows;
  const int x = margin() + index % columns() * (width + gap),
            y = page_top() + index / columns() * (height + gap);
  const struct look look = {TEXT_BODY, INK_WHITE, is_selected ? ON_ACCENT : ON_SURFACE};
  plate(x, y, width, height, is_selected);
  if (panel_is_small()) {
    icon(x + 18, y + height / 2, tiles[index].small_image, INK_WHITE, look.behind);
    text((struct place){x + 36, y + height / 2, width - 40, LEFT}, look, phrase(tiles[index].label));
  } else {
    icon(x + width / 2, y + height / 2 - 20, tiles[index].image, INK_WHITE, look.behind);
    text((struct place){x + width / 2, y + height - 34, width - 12, CENTRE}, look,
         phrase(tiles[index].label));
  }
}

static void enter(void) {
  selected = 0;
}

static void draw(void) {
  for (int i = 0; i < TILES; ++i)
    draw_tile(i);
  title_counter(selected, TILES);
}

static void power_off(void) {
  open_page(&shutdown_page);
}

static void press(enum key key) {
  if (key == KEY_NEXT)
    selected = (selected + 1) % TILES;
  else if (tiles[selected].page != NULL)
    open_page(tiles[selected].page);
  else
    ask(PHRASE_POWER_OFF_QUESTION, PHRASE_POWER_OFF_REMARK, power_off);
}

const struct page menu_page = {
    .name = "menu",
    .shows = "the main menu",
    .art = ICONS_TITLE_MENU,
    .title = PHRASE_MENU,
    .enter = enter,
    .draw = draw,
    .press = press,
};
