/* The memory card: its state, its free space and recordings; repair and format after a question. */

#include "camera.h"
#include "card_care.h"
#include "navigation.h"
#include "question.h"

#include <stdio.h>
#include <string.h>

enum action { ACTION_REPAIR, ACTION_FORMAT, ACTIONS };

static const struct {
  enum icons_image image;
  enum phrase label, question, remark;
} actions[ACTIONS] = {
    [ACTION_REPAIR] = {ICONS_TITLE_REPAIR, PHRASE_REPAIR, PHRASE_REPAIR_QUESTION, PHRASE_REPAIR_REMARK},
    [ACTION_FORMAT] = {ICONS_TITLE_FORMAT, PHRASE_FORMAT, PHRASE_FORMAT_QUESTION, PHRASE_FORMAT_REMARK},
};

static enum action selected;
static struct card shown; /* the card as drawn */

static int has(int bits) {
  return (shown.status & bits) == bits;
}

/* ----------------------------------------------------------------------------------------- the left side */

static int pad(void) {
  return pick(20, 10);
}

static int left_width(void) {
  return pick(376, page_width());
}

static int card_bottom(void) {
  return pick(page_bottom(), page_bottom() - 46);
}

static enum phrase state_phrase(void) {
  if (!has(DRAVIK_CARD_PRESENT))
    return PHRASE_CARD_MISSING;
  if (has(DRAVIK_CARD_LOCKED))
    return PHRASE_CARD_LOCKED;
  if (!shown.is_usable)
    return PHRASE_CARD_ERROR;
  return camera_state() == CAMERA_CARD_FULL ? PHRASE_CARD_FULL : PHRASE_CARD_READY;
}

static void write_what_is_in(char line_[64]) {
  char size[SIZE_TEXT];
  size_text(size, shown.size_mib);
  if (!has(DRAVIK_CARD_PRESENT))
    snprintf(line_, 64, "%s", phrase(PHRASE_INSERT_CARD));
  else if (has(DRAVIK_CARD_FAT32))
    snprintf(line_, 64, "%s  FAT32", size);
  else
    snprintf(line_, 64, "%s", phrase(PHRASE_UNKNOWN_FORMAT));
}

static void draw_state(void) {
  const int x = margin() + pick(100, 56), room = left_width() - pick(112, 62), top = page_top();
  char line_[64];
  write_what_is_in(line_);
  icon(margin() + pick(54, 28), top + pick(58, 32), ICONS_MENU_SD, INK_WHITE, ON_GROUND);
  text((struct place){x, top + pick(42, 22), room, LEFT}, (struct look){TEXT_TITLE, INK_WHITE, ON_GROUND},
       phrase(state_phrase()));
  text((struct place){x, top + pick(76, 44), room, LEFT}, (struct look){TEXT_SMALL, INK_MUTED, ON_GROUND},
       line_);
}

/* The bar is as long as what is free. */
static void draw_space(void) {
  const int left = margin() + pad(), width = left_width() - 2 * pad(), y = page_top() + pick(130, 74);
  char free[SIZE_TEXT], all[SIZE_TEXT], line_[64];
  if (!has(DRAVIK_CARD_MOUNTED) || shown.part_mib <= 0) {
    text((struct place){left, y, width, LEFT}, (struct look){TEXT_TITLE, INK_MUTED, ON_GROUND}, "--");
    level(left, y + pick(34, 20), width, 0, EDGE);
    return;
  }
  size_text(free, shown.free_mib);
  size_text(all, shown.part_mib);
  const int percent = (int)((int64_t)shown.free_mib * 100 / shown.part_mib);
  snprintf(line_, sizeof line_, "%s %s", free, phrase(PHRASE_FREE));
  const int room = width - text_width(TEXT_TITLE, line_) - margin();
  text((struct place){left, y, width, LEFT}, (struct look){TEXT_TITLE, INK_WHITE, ON_GROUND}, line_);
  snprintf(line_, sizeof line_, "%s %s", panel_is_small() ? "" : phrase(PHRASE_TOTAL), all);
  text((struct place){left + width, y, room, RIGHT}, (struct look){TEXT_SMALL, INK_MUTED, ON_GROUND}, line_);
  level(left, y + pick(34, 20), width, percent, percent < 10 ? WARM : get_theme_color());
}

static void draw_check(int place, const char *name, int is_good) {
  const int column = (left_width() - 2 * pad()) / 2;
  const int x = margin() + pad() + place % 2 * column, y = page_top() + 222 + place / 2 * 44;
  disc(x + 10, y, 9, is_good ? GOOD : has(DRAVIK_CARD_PRESENT) ? ALARM : EDGE);
  text((struct place){x + 30, y, column - 34, LEFT},
       (struct look){TEXT_BODY, is_good ? INK_WHITE : INK_MUTED, ON_GROUND}, name);
}

static void draw_checks(void) {
  fill(margin() + pad(), page_top() + 190, left_width() - 2 * pad(), 1, EDGE);
  draw_check(0, phrase(PHRASE_INSERTED), has(DRAVIK_CARD_PRESENT));
  draw_check(1, phrase(PHRASE_UNLOCKED), has(DRAVIK_CARD_PRESENT) && !has(DRAVIK_CARD_LOCKED));
  draw_check(2, phrase(PHRASE_PARTITION), has(DRAVIK_CARD_PARTITIONED));
  draw_check(3, phrase(PHRASE_MOUNTED), has(DRAVIK_CARD_MOUNTED));
  draw_check(4, "FAT32", has(DRAVIK_CARD_FAT32));
  draw_check(5, phrase(PHRASE_WRITABLE), has(DRAVIK_CARD_WRITABLE));
}

static void draw_card(void) {
  const int height = card_bottom() - page_top();
  fill(margin(), page_top(), left_width(), height, GROUND);
  frame(margin(), page_top(), left_width(), height, EDGE, 1);
  draw_state();
  draw_space();
  if (!panel_is_small())
    draw_checks();
}

/* -------------------------------------------------------------------------------------- the recordings */

enum { SIDE_GAP = 16 };

static int side_left(void) {
  return margin() + left_width() + SIDE_GAP;
}

static int side_width(void) {
  return panel_width() - margin() - side_left();
}

static int buttons_top(void) {
  return pick(page_bottom() - 2 * 52 - 12, page_bottom() - 40);
}

/* Draw a square for each of the five slots, filled if the slot is used. */
static void draw_events(int x, int right, int y, int count) {
  enum { SLOTS = DRAVIK_EVENT_SLOTS, SIZE = 24 };
  for (int i = 0; i < SLOTS; ++i) {
    const int left = x + i * (right - x - SIZE) / (SLOTS - 1);
    fill(left, y, SIZE, SIZE, i < count ? get_theme_color() : GROUND);
    frame(left, y, SIZE, SIZE, i < count ? get_theme_color() : EDGE, 1);
  }
}

static void draw_line(int x, int right, int y, const char *name, const char *value) {
  const int room = right - x - text_width(TEXT_SMALL, value) - 8;
  text((struct place){x, y, room, LEFT}, (struct look){TEXT_BODY, INK_WHITE, ON_GROUND}, name);
  text((struct place){right, y, right - x, RIGHT}, (struct look){TEXT_SMALL, INK_MUTED, ON_GROUND}, value);
}

static void draw_recordings(void) {
  const int x = side_left() + pad(), right = panel_width() - margin() - pad(), top = page_top();
  struct rec_file_list list;
  char figures[SIZE_TEXT] = "--", size[SIZE_TEXT] = "", events[16] = "--";
  frame(side_left(), top, side_width(), buttons_top() - 12 - top, EDGE, 1);
  memset(&list, 0, sizeof list);
  /* Without its directory, a usable card has no recordings yet. */
  if (has(DRAVIK_CARD_MOUNTED) && (parse_rec_file_list(&list) == 0 || shown.is_usable)) {
    snprintf(figures, sizeof figures, "%d", (int)list.normal_count);
    snprintf(events, sizeof events, "%d / %d", (int)list.event_count, DRAVIK_EVENT_SLOTS);
    size_text(size, list.normal_size);
  }
  draw_line(x, right, top + 32, phrase(PHRASE_RECORDINGS), figures);
  draw_line(x, right, top + 64, "", size);
  fill(x, top + 98, right - x, 1, EDGE);
  draw_line(x, right, top + 130, phrase(PHRASE_EVENTS), events);
  draw_events(x, right, top + 160, list.event_count);
}

static void draw_button(enum action action) {
  const enum button_state state = !has(DRAVIK_CARD_PRESENT) ? BUTTON_OFF
                                  : action == selected      ? BUTTON_SELECTED
                                                            : BUTTON_ON;
  const int gap = pick(12, 8), half = (page_width() - gap) / 2;
  if (panel_is_small())
    button(margin() + (int)action * (half + gap), buttons_top(), half, 40, actions[action].image,
           actions[action].label, state);
  else
    button(side_left(), buttons_top() + (int)action * (52 + gap), side_width(), 52, actions[action].image,
           actions[action].label, state);
}

/* -------------------------------------------------------------------------------------------- the page */

static void enter(void) {
  selected = ACTION_REPAIR;
}

static void draw(void) {
  shown = board()->card;
  draw_card();
  if (!panel_is_small())
    draw_recordings();
  for (int i = 0; i < ACTIONS; ++i)
    draw_button((enum action)i);
  title_counter((int)selected, has(DRAVIK_CARD_PRESENT) ? ACTIONS : 0);
}

static void refresh(void) {
  const struct card *card = &board()->card;
  if (card->status != shown.status || card->is_usable != shown.is_usable ||
      card->free_mib != shown.free_mib || card->part_mib != shown.part_mib)
    draw_page();
}

static void carry_out(void) {
  draw_wait(actions[selected].label);
  if (selected == ACTION_REPAIR)
    card_repair(&shown);
  else
    card_format(&shown);
  board_look_around();
}

/* Without a card there is nothing to select. */
static void press(enum key key) {
  if (!has(DRAVIK_CARD_PRESENT))
    return;
  if (key == KEY_NEXT)
    selected = (selected + 1) % ACTIONS;
  else
    ask(actions[selected].question, actions[selected].remark, carry_out);
}

const struct page card_page = {
    .name = "card",
    .shows = "the memory card, its repair and its format",
    .art = ICONS_TITLE_SD,
    .title = PHRASE_CARD,
    .enter = enter,
    .draw = draw,
    .refresh = refresh,
    .press = press,
};
