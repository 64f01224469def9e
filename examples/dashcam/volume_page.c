/* The page of the speaker's volume and of the microphone. */

#include "phrases.h"
#include "screens.h"
#include "tell.h"
#include "volume.h"
#include "widgets.h"
#include "words.h"

#include <stdio.h>

enum { STEP = DRAVIK_VOLUME_LOW - DRAVIK_VOLUME_LOWEST, ITEM_GAP = 12, ROW_HEIGHT = 60 };
enum item { ITEM_VOLUME, ITEM_MUTE, ITEM_MICROPHONE, ITEMS };

static int volume = DRAVIK_VOLUME_MEDIUM, is_muted, has_microphone = 1;
static enum item selected;

int microphone_is_on(void) {
  return has_microphone;
}

/* --------------------------------------------------------------------------------------------- the mixer */

static void set_speaker(void) {
  if (is_muted)
    spk_volume_mute();
  else
    spk_volume_setup((uint32_t)volume);
}

static void set_microphone(void) {
  if (has_microphone)
    mic_volume_unmute();
  else
    mic_volume_mute();
}

void volume_set_up(void) {
  set_speaker();
  set_microphone();
}

static void change(enum item item) {
  switch (item) {
  case ITEM_VOLUME:
    volume = volume == DRAVIK_VOLUME_FULL ? DRAVIK_VOLUME_MUTED : volume + STEP;
    tell("volume %d", volume);
    set_speaker();
    break;
  case ITEM_MUTE:
    is_muted = !is_muted;
    tell("speaker %s", is_muted ? "mute" : "on");
    set_speaker();
    break;
  default:
    has_microphone = !has_microphone;
    tell("microphone %s", has_microphone ? "on" : "off");
    set_microphone();
    break;
  }
}

/* ---------------------------------------------------------------------------------------------- the page */

static int rows_top(void) {
  return canvas_height() - 18 - 2 * ROW_HEIGHT - ITEM_GAP;
}

/* Draw a rising bar per step; those up to the volume are lit. */
static void draw_bars(int right, int bottom, int height) {
  enum { BARS = DRAVIK_VOLUME_FULL / STEP, PITCH = 46, WIDTH = 34 };
  for (int i = 1; i <= BARS; ++i) {
    const int x = right - (BARS - i + 1) * PITCH + PITCH - WIDTH, tall = height * (i + 1) / (BARS + 1);
    const int is_lit = i * STEP <= volume;
    if (is_lit)
      fill(x, bottom - tall, WIDTH, tall, is_muted ? EDGE : get_theme_color());
    else
      outline(x, bottom - tall, WIDTH, tall, EDGE);
    text(x + WIDTH / 2, bottom + 18, FONT_SMALL, is_lit && !is_muted ? SILVER : DRAVIK_GREY, CENTRE, "%d",
         i * STEP);
  }
}

static void draw_volume(void) {
  const int height = rows_top() - ITEM_GAP - PAGE_TOP, middle = PAGE_TOP + height / 2;
  const int width = canvas_width() - 2 * MARGIN, is_silent = is_muted || volume == 0;
  char figures[8];
  snprintf(figures, sizeof figures, "%d", volume);
  plate(MARGIN, PAGE_TOP, width, height, 0);
  if (selected == ITEM_VOLUME)
    frame(MARGIN, PAGE_TOP, width, height, DRAVIK_WHITE, 2);
  icon(MARGIN + 72, middle - 14, is_silent ? ICONS_MENU_MUTE : ICONS_MENU_SPEAKER, DRAVIK_WHITE,
       DRAVIK_BLACK);
  words(MARGIN + 72, middle + 52, WORDS_BODY, DRAVIK_BLACK, CENTRE, phrase(PHRASE_VOLUME));
  digits(MARGIN + 278, middle, DIGITS_LARGE, figures, DRAVIK_BLACK, RIGHT);
  text(MARGIN + 288, middle + 20, FONT_BODY, SILVER, LEFT, "%%");
  draw_bars(MARGIN + width - 28, PAGE_TOP + height - 46, height - 76);
}

static void draw_switch(enum item item, enum icons_image art, enum phrase label, int is_on) {
  const int y = rows_top() + ((int)item - ITEM_MUTE) * (ROW_HEIGHT + ITEM_GAP), middle = y + ROW_HEIGHT / 2;
  const int is_selected = selected == item;
  const uint16_t ground = is_selected ? DRAVIK_THEME : DRAVIK_BLACK;
  plate(MARGIN, y, canvas_width() - 2 * MARGIN, ROW_HEIGHT, is_selected);
  icon(MARGIN + 34, middle, art, DRAVIK_WHITE, ground);
  words(MARGIN + 72, middle, WORDS_BODY, ground, LEFT, phrase(label));
  toggle(canvas_width() - MARGIN - 24, middle, is_on, is_selected);
}

void volume_draw(const struct ride *ride) {
  page(ride, ICONS_TITLE_SPEAKER, phrase(PHRASE_SOUND), is_muted ? "off" : "on");
  draw_volume();
  draw_switch(ITEM_MUTE, ICONS_TITLE_MUTE, PHRASE_MUTE, is_muted);
  draw_switch(ITEM_MICROPHONE, ICONS_TITLE_MIC, PHRASE_MICROPHONE, has_microphone);
}

void volume_enter(void) {
  selected = ITEM_VOLUME;
}

int volume_press(enum key key) {
  if (key == KEY_OK)
    change(selected);
  else
    selected = (selected + 1) % ITEMS;
  return key == KEY_OK || selected != ITEM_VOLUME;
}
