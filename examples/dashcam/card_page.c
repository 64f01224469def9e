/* The memory card: state, free space and recordings; repair and format after a question. */

#include "camera.h"
#include "card_mount.h"
#include "notices.h"
#include "phrases.h"
#include "question.h"
#include "screens.h"
#include "tell.h"
#include "widgets.h"
#include "words.h"

#include <stdio.h>
#include <sys/wait.h>

enum { LEFT_WIDTH = 372, GAP = 16, BUTTON_HEIGHT = 52, BUTTON_GAP = 12, MIB_IN_GIB = 1024 };
enum action { ACTION_REPAIR, ACTION_FORMAT, ACTIONS };

static const struct {
  enum icons_image image;
  enum phrase label, question, remark;
} actions[ACTIONS] = {
    [ACTION_REPAIR] = {ICONS_TITLE_REPAIR, PHRASE_REPAIR, PHRASE_REPAIR_QUESTION, PHRASE_REPAIR_REMARK},
    [ACTION_FORMAT] = {ICONS_TITLE_FORMAT, PHRASE_FORMAT, PHRASE_FORMAT_QUESTION, PHRASE_FORMAT_REMARK},
};

static enum action selected;
static int is_asking, is_yes;
static struct card shown; /* the card and its recordings as drawn */
static struct rec_file_list recordings;
static int has_recordings, has_failed;

static int has(int bits) {
  return (shown.status & bits) == bits;
}

static void look(void) {
  shown = board()->card;
  has_recordings = has(DRAVIK_CARD_MOUNTED) && parse_rec_file_list(&recordings) == 0;
}

/* ------------------------------------------------------------------------------------ state and space */

static int bottom(void) {
  return canvas_height() - 18;
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

/* Format a size in GiB or MiB: "29.7" and "GiB". */
static const char *size_figures(int mib, char figures[16]) {
  if (mib >= MIB_IN_GIB)
    snprintf(figures, 16, "%d.%d", mib / MIB_IN_GIB, mib % MIB_IN_GIB * 10 / MIB_IN_GIB);
  else
    snprintf(figures, 16, "%d", mib);
  return mib >= MIB_IN_GIB ? "GiB" : "MiB";
}

static void draw_state(void) {
  char figures[16];
  const char *unit = size_figures(shown.size_mib, figures);
  icon(MARGIN + 58, PAGE_TOP + 60, ICONS_MENU_SD, DRAVIK_WHITE, DRAVIK_BLACK);
  words(MARGIN + 112, PAGE_TOP + 44, WORDS_TITLE, DRAVIK_BLACK, LEFT, phrase(state_phrase()));
  if (has(DRAVIK_CARD_PRESENT))
    text(MARGIN + 112, PAGE_TOP + 78, FONT_SMALL, SILVER, LEFT, "SD %s %s, %s", figures, unit,
         has(DRAVIK_CARD_FAT32) ? "FAT32" : "unknown format");
}

static void draw_room(void) {
  const int left = MARGIN + 24, width = LEFT_WIDTH - 48, y = PAGE_TOP + 132;
  const int used = shown.part_mib - shown.free_mib;
  char figures[16];
  if (!has(DRAVIK_CARD_MOUNTED) || shown.part_mib <= 0) {
    text(left, y, FONT_HUGE, DRAVIK_GREY, LEFT, "--");
    level(left, y + 42, width, 0, EDGE);
    return;
  }
  const char *unit = size_figures(shown.free_mib, figures);
  digits(left, y, DIGITS_MEDIUM, figures, DRAVIK_BLACK, LEFT);
  text(left + digits_width(DIGITS_MEDIUM, figures) + 14, y + 4, FONT_BODY, SILVER, LEFT, "%s free", unit);
  unit = size_figures(shown.part_mib, figures);
  text(left + width, y + 4, FONT_SMALL, DRAVIK_GREY, RIGHT, "of %s %s", figures, unit);
  level(left, y + 42, width, (int)((int64_t)used * 100 / shown.part_mib), EDGE);
}

static void draw_check(int place, const char *name, int is_good) {
  const int x = MARGIN + 24 + place % 2 * 172, y = PAGE_TOP + 244 + place / 2 * 44;
  disc(x + 10, y, 9, is_good ? get_theme_color() : has(DRAVIK_CARD_PRESENT) ? DRAVIK_RED : EDGE);
  text(x + 34, y, FONT_BODY, is_good ? DRAVIK_WHITE : DRAVIK_GREY, LEFT, "%s", name);
}

static void draw_card(void) {
  plate(MARGIN, PAGE_TOP, LEFT_WIDTH, bottom() - PAGE_TOP, 0);
  draw_state();
  draw_room();
  fill(MARGIN + 24, PAGE_TOP + 208, LEFT_WIDTH - 48, 2, EDGE);
  draw_check(0, "In the slot", has(DRAVIK_CARD_PRESENT));
  draw_check(1, "Unlocked", has(DRAVIK_CARD_PRESENT) && !has(DRAVIK_CARD_LOCKED));
  draw_check(2, "Partitioned", has(DRAVIK_CARD_PARTITIONED));
  draw_check(3, "Mounted", has(DRAVIK_CARD_MOUNTED));
  draw_check(4, "FAT32", has(DRAVIK_CARD_FAT32));
  draw_check(5, "Writable", has(DRAVIK_CARD_WRITABLE));
}

/* ------------------------------------------------------------------------------------------ recordings */

static int side_left(void) {
  return MARGIN + LEFT_WIDTH + GAP;
}

static int side_width(void) {
  return canvas_width() - MARGIN - side_left();
}

static int buttons_top(void) {
  return bottom() - ACTIONS * BUTTON_HEIGHT - (ACTIONS - 1) * BUTTON_GAP;
}

/* Draw a square for each of the five slots, filled if the slot is used. */
static void draw_events(int x, int right, int y) {
  enum { SLOTS = DRAVIK_EVENT_SLOTS, SIZE = 26 };
  for (int i = 0; i < SLOTS; ++i) {
    const int left = x + i * (right - x - SIZE) / (SLOTS - 1);
    if (i < recordings.event_count)
      fill(left, y, SIZE, SIZE, get_theme_color());
    else
      outline(left, y, SIZE, SIZE, EDGE);
  }
}

static void draw_recordings(void) {
  const int x = side_left() + 18, right = canvas_width() - MARGIN - 18;
  char figures[16] = "";
  plate(side_left(), PAGE_TOP, side_width(), buttons_top() - BUTTON_GAP - PAGE_TOP, 0);
  icon(x + 12, PAGE_TOP + 30, ICONS_TITLE_VIDEO, DRAVIK_WHITE, DRAVIK_BLACK);
  text(x + 38, PAGE_TOP + 30, FONT_BODY, DRAVIK_WHITE, LEFT, "Recordings");
  if (!has_recordings) {
    text(x, PAGE_TOP + 78, FONT_HUGE, DRAVIK_GREY, LEFT, "--");
    if (has(DRAVIK_CARD_MOUNTED))
      text(x, PAGE_TOP + 116, FONT_SMALL, DRAVIK_GREY, LEFT, "no directory REC");
    return;
  }
  snprintf(figures, sizeof figures, "%d", (int)recordings.normal_count);
  digits(x, PAGE_TOP + 78, DIGITS_MEDIUM, figures, DRAVIK_BLACK, LEFT);
  text(right, PAGE_TOP + 82, FONT_SMALL, SILVER, RIGHT, "%d MiB", (int)recordings.normal_size);
  if (recordings.normal_oldest >= 0)
    text(x, PAGE_TOP + 116, FONT_SMALL, DRAVIK_GREY, LEFT, "from KVX%05d", (int)recordings.normal_oldest);
  fill(x, PAGE_TOP + 140, right - x, 2, EDGE);
  text(x, PAGE_TOP + 164, FONT_BODY, DRAVIK_WHITE, LEFT, "Events");
  text(right, PAGE_TOP + 164, FONT_SMALL, SILVER, RIGHT, "%d / 5", (int)recordings.event_count);
  draw_events(x, right, PAGE_TOP + 190);
}

static void draw_button(enum action action) {
  const int y = buttons_top() + (int)action * (BUTTON_HEIGHT + BUTTON_GAP), middle = y + BUTTON_HEIGHT / 2;
  const int is_selected = action == selected;
  const uint16_t ground = is_selected ? DRAVIK_THEME : DRAVIK_BLACK;
  plate(side_left(), y, side_width(), BUTTON_HEIGHT, is_selected);
  icon(side_left() + 30, middle, actions[action].image, DRAVIK_WHITE, ground);
  words(side_left() + 60, middle, WORDS_BODY, ground, LEFT, phrase(actions[action].label));
}

/* -------------------------------------------------------------------------------------------- the page */

void card_draw(const struct ride *ride) {
  look();
  page(ride, ICONS_TITLE_SD, phrase(PHRASE_CARD), "");
  draw_card();
  draw_recordings();
  for (int i = 0; i < ACTIONS; ++i)
    draw_button((enum action)i);
  if (is_asking)
    question_draw(actions[selected].question, actions[selected].remark, is_yes);
}

void card_refresh(const struct ride *ride) {
  const struct card *card = &board()->card;
  if (card->status != shown.status || card->is_usable != shown.is_usable ||
      card->free_mib != shown.free_mib || card->part_mib != shown.part_mib)
    card_draw(ride);
  else
    status_clock(ride);
}

void card_enter(void) {
  selected = ACTION_REPAIR;
  is_asking = 0;
}

/* -------------------------------------------------------------------------------------------- the actions */

static void fail(const char *reason) {
  has_failed = 1;
  fprintf(stderr, "dashcam: card: %s\n", reason);
  tell("card: %s", reason);
  notice(NOTICE_CARD_ERROR);
}

/* The library runs all its commands, even after one failed. Checking or formatting a file system in use would
 * destroy it, so the card is unmounted first. */
static int is_unmounted(void) {
  char reason[CARD_REASON];
  if (!has(DRAVIK_CARD_MOUNTED) || card_unmount(reason) == 0)
    return 1;
  fail(reason);
  return 0;
}

/* Reads the record of a repair. Its unmount fails: the card was unmounted before. */
static void look_at_repair(void) {
  static const char *const steps[] = {"unmount", "check", "mount"};
  enum { CHECK = 1, STEPS = 3, ERRORS_REPAIRED = 1 };
  char reason[CARD_REASON];
  FILE *record = fopen("/tmp/debugfs", "r");
  for (int step = 0, status; step < STEPS; ++step) {
    if (record == NULL || fscanf(record, "ret : %d ", &status) != 1)
      status = -1;
    const int exit_status = status >= 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    if (step < CHECK || exit_status == 0 || (step == CHECK && exit_status == ERRORS_REPAIRED))
      continue;
    snprintf(reason, sizeof reason, "%s failed with exit status %d", steps[step], exit_status);
    fail(reason);
    break;
  }
  if (record != NULL)
    fclose(record);
}

static void repair(void) {
  if (!is_unmounted())
    return;
  sd_card_check_fs();
  look_at_repair();
}

/* Formatting ends with a reboot of the board. */
static void format(void) {
  if (!is_unmounted())
    return;
  if (has(DRAVIK_CARD_PARTITIONED))
    sd_card_format();
  else
    sd_card_create_part(shown.sectors);
}

static void carry_out(void) {
  question_draw_wait(actions[selected].label);
  tell("card: %s", selected == ACTION_REPAIR ? "repair" : "format");
  has_failed = 0;
  if (selected == ACTION_REPAIR)
    repair();
  else
    format();
  if (!has_failed)
    tell("card: done");
  board_look_around();
}

int card_has_failed(void) {
  return has_failed;
}

static void answer(void) {
  is_asking = 0;
  if (is_yes)
    carry_out();
  else
    tell("card: no");
}

int card_press(enum key key) {
  if (is_asking && key == KEY_OK) {
    answer();
  } else if (is_asking) {
    is_yes = !is_yes;
  } else if (key == KEY_OK) {
    is_asking = has(DRAVIK_CARD_PRESENT);
    is_yes = 0;
  } else {
    selected = (selected + 1) % ACTIONS;
    return selected != ACTION_REPAIR;
  }
  return 1;
}
