#include "board.h"

#include "card_mount.h"
#include "tell.h"

#include <dravik.h>

#include <string.h>

enum { LOOKS_TO_SETTLE = 12, LOOKS_TO_LEAVE = 1 }; /* two per second */

static struct board now;

const struct board *board(void) {
  return &now;
}

void board_open(void) {
  now.has_lines = gpio_init() == 0;
  now.has_sensor = gsensor_init() == 0;
  if (!now.has_lines)
    tell("board: no GPIO lines");
  if (!now.has_sensor)
    tell("board: no G-sensor");
  board_look_at_movement();
  board_look_around();
}

void board_close(void) {
  if (now.has_sensor)
    gsensor_exit();
  if (now.has_lines)
    gpio_exit();
}

/* A working sensor measures gravity: three zeros are not a reading. */
int board_look_at_movement(void) {
  const struct board before = now;
  if (!now.has_sensor)
    return 0;
  gsensor_check_data_ready();
  gsensor_get_data(&now.x_mg, &now.y_mg, &now.z_mg);
  return memcmp(&before, &now, sizeof now) != 0;
}

/* ------------------------------------------------------------------------------------------------ card */

static int has(const struct card *card, int bits) {
  return (card->status & bits) == bits;
}

static void read_sizes(struct card *card) {
  if (has(card, DRAVIK_CARD_PRESENT))
    card->size_mib = sd_card_get_raw_size(&card->sectors);
  if (!has(card, DRAVIK_CARD_PRESENT | DRAVIK_CARD_MOUNTED))
    return;
  card->part_mib = sd_card_get_part_size();
  card->free_mib = sd_card_get_free_space();
  card->is_usable =
      card->status == DRAVIK_CARD_HEALTHY && card->size_mib > 0 && card->part_mib > 0 && card_is_readable();
}

static void read_card(struct card *card) {
  memset(card, 0, sizeof *card);
  sd_card_check(&card->status);
  if (!now.has_lines)
    card->status &= (uint8_t)~DRAVIK_CARD_LOCKED; /* the switch cannot be read */
  if (has(card, DRAVIK_CARD_MOUNTED) && !has(card, DRAVIK_CARD_PRESENT | DRAVIK_CARD_PARTITIONED)) {
    card_detach();
    card->status &= DRAVIK_CARD_LOCKED; /* removed, whether or not there is another one already */
  }
  read_sizes(card);
}

/* The kernel reports an inserted card before its partition, which a script of the board may check and mount
 * after that: not an error for some seconds. A card that is being removed may be unmounted before it is gone. */
static int is_settling(const struct card *seen) {
  static int looks;
  if (has(seen, DRAVIK_CARD_PRESENT) && !has(seen, DRAVIK_CARD_MOUNTED))
    return looks-- > 0;
  looks = has(seen, DRAVIK_CARD_PRESENT) ? LOOKS_TO_LEAVE : LOOKS_TO_SETTLE;
  return 0;
}

/* Whether a card was inserted and nothing has mounted it. One that was unmounted is left alone. */
static int is_left_unmounted(const struct card *seen) {
  static int is_new;
  const int was_new = is_new;
  is_new = !has(seen, DRAVIK_CARD_PRESENT);
  return was_new && has(seen, DRAVIK_CARD_PARTITIONED) && !has(seen, DRAVIK_CARD_MOUNTED);
}

static void look_at_card(void) {
  struct card seen;
  read_card(&seen);
  if (is_settling(&seen))
    return;
  if (is_left_unmounted(&seen)) {
    card_mount();
    read_card(&seen);
  }
  now.card = seen;
}

/* ------------------------------------------------------------------------------------------------ all */

static void tell_changes(const struct board *before) {
  if (now.monitor != before->monitor)
    tell("monitor %s", now.monitor == 1 ? "attached" : now.monitor == 0 ? "not attached" : "unknown");
  if (now.card.status != before->card.status)
    tell("card status 0x%02X", now.card.status);
  if (now.temperature_c10 / 10 != before->temperature_c10 / 10)
    tell("temperature %d.%d", (int)now.temperature_c10 / 10, (int)now.temperature_c10 % 10);
}

int board_look_around(void) {
  const struct board before = now;
  const int32_t temperature = read_temperature();
  now.has_temperature = temperature != -1;
  now.temperature_c10 = now.has_temperature ? (temperature + 50) / 100 : 0;
  now.monitor = hdmi_detect();
  now.is_parked = gpio_get(LINE_PARKED) == 1;
  look_at_card();
  tell_changes(&before);
  return memcmp(&before, &now, sizeof now) != 0;
}

/* ------------------------------------------------------------------------------------------------ keys */

struct button {
  uint32_t line;
  int is_down, is_used; /* used: it has acted since it was pressed */
  int looks;            /* since it was pressed */
};

enum change { CHANGE_NONE, CHANGE_PRESSED, CHANGE_RELEASED, CHANGE_HELD };

static enum change look_at(struct button *button, int looks_to_hold) {
  const int was_down = button->is_down;
  button->is_down = gpio_get(button->line) == 1;
  if (button->is_down && !was_down) {
    button->is_used = 0;
    button->looks = 0;
    tell("key pressed");
    return CHANGE_PRESSED;
  }
  if (was_down && !button->is_down) {
    tell("key released");
    return CHANGE_RELEASED;
  }
  return button->is_down && ++button->looks >= looks_to_hold ? CHANGE_HELD : CHANGE_NONE;
}

enum key board_key(int looks_to_hold) {
  static struct button next = {.line = LINE_NEXT}, ok = {.line = LINE_OK};
  if (!now.has_lines)
    return KEY_NONE;
  if (look_at(&next, looks_to_hold) == CHANGE_PRESSED)
    return KEY_NEXT;
  const enum change change = look_at(&ok, looks_to_hold);
  const int is_key = (change == CHANGE_RELEASED || change == CHANGE_HELD) && !ok.is_used;
  ok.is_used |= is_key;
  return !is_key ? KEY_NONE : change == CHANGE_HELD ? KEY_BACK : KEY_OK;
}
