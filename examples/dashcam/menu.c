/* The main menu and the pages of settings and of theme colours. */

#include "phrases.h"
#include "screens.h"
#include "widgets.h"
#include "words.h"

/* ------------------------------------------------------------------------------------------- main menu */

struct tile {
  enum icons_image image;
  enum phrase label;
};

static const struct tile tiles[] = {
    {ICONS_MENU_VIDEO, PHRASE_VIDEO},   {ICONS_MENU_PLAYBACK, PHRASE_PLAYBACK},
    {ICONS_MENU_SENSOR, PHRASE_SENSOR}, {ICONS_MENU_PARKING, PHRASE_PARKING},
    {ICONS_MENU_SD, PHRASE_CARD},       {ICONS_MENU_SETTINGS, PHRASE_SETTINGS},
    {ICONS_MENU_PALETTE, PHRASE_THEME}, {ICONS_MENU_POWER, PHRASE_POWER_OFF},
};
enum { TILE_COLUMNS = 4, TILE_ROWS = 2, TILE_GAP = 14, LABEL_HEIGHT = 44, TILE_SELECTED = 1 };

static void draw_tile(int index, int width, int height) {
  const int x = MARGIN + index % TILE_COLUMNS * (width + TILE_GAP);
  const int y = PAGE_TOP + index / TILE_COLUMNS * (height + TILE_GAP);
  const int is_selected = index == TILE_SELECTED;
  card(x, y, width, height, is_selected);
  icon(x + width / 2, y + height / 2 - 18, tiles[index].image, DRAVIK_WHITE,
       is_selected ? DRAVIK_THEME : DRAVIK_TRANSPARENT);
  if (!is_selected)
    fill(x + 2, y + height - LABEL_HEIGHT, width - 4, LABEL_HEIGHT - 2, DRAVIK_BLACK);
  words(x + width / 2, y + height - LABEL_HEIGHT / 2, WORDS_BODY, is_selected ? DRAVIK_THEME : DRAVIK_BLACK,
        CENTRE, phrase(tiles[index].label));
}

void menu_draw(const struct ride *ride) {
  const int width = (canvas_width() - 2 * MARGIN - (TILE_COLUMNS - 1) * TILE_GAP) / TILE_COLUMNS;
  const int height = (canvas_height() - PAGE_TOP - MARGIN - (TILE_ROWS - 1) * TILE_GAP) / TILE_ROWS;
  page(ride, ICONS_TITLE_MENU, phrase(PHRASE_MENU), "2 / 8");
  for (int i = 0; i < TILE_COLUMNS * TILE_ROWS; ++i)
    draw_tile(i, width, height);
}

/* -------------------------------------------------------------------------------------------- settings */

enum setting_kind { CHOICE, SWITCH, AMOUNT };

struct setting {
  enum icons_image image;
  const char *label;
  enum setting_kind kind;
  const char *choice;
  int value; /* of a switch 0 or 1, of an amount in per cent */
};

static const struct setting settings[] = {
    {ICONS_TITLE_VIDEO, "Resolution", CHOICE, "2560 x 1440", 0},
    {ICONS_TITLE_CLOCK, "Loop recording", CHOICE, "3 min", 0},
    {ICONS_TITLE_MIC, "Record sound", SWITCH, "", 1},
    {ICONS_TITLE_WIFI, "Wi-Fi", SWITCH, "", 0},
    {ICONS_TITLE_PARKING, "Parking guard", SWITCH, "", 1},
    {ICONS_TITLE_SUN, "Brightness", AMOUNT, "", 70},
    {ICONS_TITLE_CAR, "Impact sensor", CHOICE, "Medium", 0},
};
enum { SETTINGS = sizeof settings / sizeof settings[0], SETTING_SELECTED = 1 };

static void draw_setting_value(const struct setting *setting, int right, int middle, int is_selected) {
  switch (setting->kind) {
  case CHOICE:
    icon(right - 6, middle, ICONS_NEXT, DRAVIK_WHITE, is_selected ? DRAVIK_THEME : DRAVIK_TRANSPARENT);
    text(right - 24, middle, FONT_BODY, is_selected ? DRAVIK_WHITE : SILVER, RIGHT, "%s", setting->choice);
    break;
  case SWITCH:
    toggle(right, middle, setting->value, is_selected);
    break;
  case AMOUNT:
    text(right, middle, FONT_BODY, SILVER, RIGHT, "%d %%", setting->value);
    level(right - 216, middle, 150, setting->value, EDGE);
    break;
  }
}

static void draw_setting(int index, int y, int height) {
  const struct setting *setting = &settings[index];
  const int is_selected = index == SETTING_SELECTED, middle = y + height / 2;
  card(MARGIN, y, canvas_width() - 2 * MARGIN, height, is_selected);
  icon(MARGIN + 32, middle, setting->image, DRAVIK_WHITE, is_selected ? DRAVIK_THEME : DRAVIK_TRANSPARENT);
  text(MARGIN + 66, middle, FONT_BODY, DRAVIK_WHITE, LEFT, "%s", setting->label);
  draw_setting_value(setting, canvas_width() - MARGIN - 20, middle, is_selected);
}

void settings_draw(const struct ride *ride) {
  const int pitch = (canvas_height() - PAGE_TOP - 12) / SETTINGS;
  page(ride, ICONS_TITLE_SETTINGS, phrase(PHRASE_SETTINGS), "1 / 3");
  for (int i = 0; i < SETTINGS; ++i)
    draw_setting(i, PAGE_TOP + i * pitch, pitch - 6);
}

/* ---------------------------------------------------------------------------------------- theme colour */

static const struct theme {
  const char *name;
  uint16_t colour;
} themes[] = {
    {"Ocean", DRAVIK_DEFAULT_THEME},
    {"Mint", 0x0D50},
    {"Leaf", 0x4D08},
    {"Amber", 0xDC60},
    {"Coral", 0xDA69},
    {"Rose", 0xC0F0},
    {"Violet", 0x8259},
    {"Slate", 0x5B4F},
};
enum { THEMES = sizeof themes / sizeof themes[0], THEME_COLUMNS = 4 };

static int chosen_theme;

void next_theme(void) {
  chosen_theme = (chosen_theme + 1) % THEMES;
  set_theme_color(themes[chosen_theme].colour);
}

static void draw_swatch(int index) {
  const int width = (canvas_width() - 2 * MARGIN) / THEME_COLUMNS;
  const int x = MARGIN + index % THEME_COLUMNS * width + width / 2;
  const int y = PAGE_TOP + 44 + index / THEME_COLUMNS * 116;
  const int is_chosen = index == chosen_theme;
  if (is_chosen) {
    disc(x, y, 42, DRAVIK_WHITE);
    disc(x, y, 39, DRAVIK_BLACK);
  }
  disc(x, y, 34, themes[index].colour);
  if (is_chosen)
    icon(x, y, ICONS_KEY_CHECK, DRAVIK_WHITE, DRAVIK_THEME);
  text(x, y + 58, FONT_SMALL, is_chosen ? DRAVIK_WHITE : SILVER, CENTRE, "%s", themes[index].name);
}

/* The two theme ramps, from black through the theme colour to white. */
static void draw_ramps(int x, int y, int width, int height) {
  enum {
    STEPS = DRAVIK_RAMP_STEPS,
    TO_WHITE = DRAVIK_THEME_TO_WHITE * STEPS,
    TO_BLACK = DRAVIK_THEME_TO_BLACK * STEPS
  };
  for (int i = 0; i < 2 * STEPS; ++i) {
    const uint16_t colour = i < STEPS ? gc[TO_BLACK + STEPS - 1 - i] : gc[TO_WHITE + i - STEPS];
    fill(x + i * width / (2 * STEPS), y, (i + 1) * width / (2 * STEPS) - i * width / (2 * STEPS), height,
         colour);
  }
}

void theme_draw(const struct ride *ride) {
  const int width = canvas_width() - 2 * MARGIN, bottom = canvas_height() - MARGIN;
  page(ride, ICONS_TITLE_PALETTE, phrase(PHRASE_THEME), themes[chosen_theme].name);
  for (int i = 0; i < THEMES; ++i)
    draw_swatch(i);
  card(MARGIN, bottom - 112, width, 112, 0);
  text(MARGIN + 20, bottom - 84, FONT_BODY, DRAVIK_WHITE, LEFT, "Preview");
  toggle(MARGIN + width - 20, bottom - 84, 1, 0);
  level(MARGIN + width - 300, bottom - 84, 210, 60, EDGE);
  draw_ramps(MARGIN + 20, bottom - 52, width - 40, 34);
}
