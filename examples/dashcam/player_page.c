/* The player: the pictures of a recording with a bar below them. NEXT moves between its three buttons; OK
 * plays and pauses, protects and releases, or deletes. */

#include "player.h"

#include "camera.h"
#include "film.h"
#include "navigation.h"
#include "notices.h"
#include "question.h"
#include "recorder.h"
#include "tell.h"

#include <stdio.h>

enum action { ACTION_PLAY, ACTION_PROTECT, ACTION_DELETE, ACTIONS };
enum { STEPS_A_PICTURE = 10 / RECORDED_PER_SECOND };

static struct recording playing;
static struct film film;
static int number, steps, is_paused, is_broken;
static enum action selected;

void player_choose(const struct recording *recording) {
  playing = *recording;
}

static int buttons_top(void) {
  return panel_height() - pick(56, 36);
}

/* ---------------------------------------------------------------------------------------- the pictures */

static int picture_height(void) {
  return pick(340, 148);
}

static void draw_nothing(void) {
  is_broken = 1;
  fill(0, bar_height(), panel_width(), picture_height(), GROUND);
  icon(panel_width() / 2, bar_height() + picture_height() / 2 - pick(40, 26), ICONS_MENU_WARNING, INK_MUTED,
       ON_GROUND);
  text((struct place){panel_width() / 2, bar_height() + picture_height() / 2 + pick(36, 24), page_width(),
                      CENTRE},
       (struct look){TEXT_BODY, INK_MUTED, ON_GROUND}, phrase(PHRASE_NO_PICTURES));
}

/* A picture of another camera may be larger than its place: then the bars are drawn over it. */
static int is_outside(void) {
  return (int)jpeginfo[JPEGINFO_WIDTH] > panel_width() || (int)jpeginfo[JPEGINFO_HEIGHT] > picture_height();
}

static void draw_picture(void) {
  if (number >= film.count || film_show(&film, number, 0, bar_height()) != 0)
    draw_nothing();
}

/* ------------------------------------------------------------------------------------- bar and buttons */

static void draw_bar(void) {
  const int middle = (bar_height() + picture_height() + buttons_top()) / 2, room = pick(116, 94);
  const int seconds = number / RECORDED_PER_SECOND, all = (film.count + 1) / RECORDED_PER_SECOND;
  char time[32];
  snprintf(time, sizeof time, "%d:%02d / %d:%02d", seconds / 60, seconds % 60, all / 60, all % 60);
  level(margin(), middle, page_width() - room - margin(),
        film.count > 1 ? number * 100 / (film.count - 1) : 0, get_theme_color());
  text_again((struct place){panel_width() - margin(), middle, room, RIGHT},
             (struct look){TEXT_SMALL, INK_MUTED, ON_GROUND}, time);
}

static void draw_button(enum action action) {
  const int gap = pick(12, 6), width = (page_width() - (ACTIONS - 1) * gap) / ACTIONS;
  const enum phrase labels[ACTIONS] = {is_paused ? PHRASE_PLAY : PHRASE_PAUSE,
                                       playing.is_protected ? PHRASE_RELEASE : PHRASE_PROTECT, PHRASE_DELETE};
  const enum icons_image art[ACTIONS] = {is_paused ? ICONS_TITLE_PLAY : ICONS_TITLE_PAUSE, ICONS_TITLE_LOCK,
                                         ICONS_TITLE_FORMAT};
  const int is_possible =
      action == ACTION_PLAY ? !is_broken : action != ACTION_DELETE || !playing.is_protected;
  button(margin() + (int)action * (width + gap), buttons_top(), width, pick(44, 30), art[action],
         panel_is_small() ? PHRASES : labels[action],
         action == selected ? BUTTON_SELECTED
         : is_possible      ? BUTTON_ON
                            : BUTTON_OFF);
}

static void draw_controls(void) {
  draw_bar();
  for (int i = 0; i < ACTIONS; ++i)
    draw_button((enum action)i);
}

/* -------------------------------------------------------------------------------------------- the page */

static void enter(void) {
  char path[RECORDING_PATH];
  recording_path(&playing, path);
  film_open(&film, path);
  tell("playing %s, %d pictures", playing.name, film.count);
  number = steps = 0;
  is_paused = is_broken = film.count == 0;
  selected = ACTION_PLAY;
}

static void draw(void) {
  draw_picture();
  if (!is_broken && is_outside()) {
    status_draw();
    fill(0, bar_height() + picture_height(), panel_width(), panel_height(), GROUND);
  }
  draw_controls();
}

static void step(void) {
  if (is_paused || ++steps % STEPS_A_PICTURE != 0)
    return;
  if (number + 1 < film.count) {
    ++number;
    draw_picture();
    draw_bar();
  } else {
    tell("played %s", playing.name);
    is_paused = 1;
    draw_controls();
  }
}

static void toggle_play(void) {
  if (is_broken)
    return;
  is_paused = !is_paused;
  if (!is_paused && number + 1 == film.count)
    number = 0;
}

static void toggle_protection(void) {
  if (protect_recording(&playing, !playing.is_protected) != 0) {
    notice(NOTICE_CARD_ERROR);
    return;
  }
  recording_path(&playing, film.path);
  tell("%s %s", playing.is_protected ? "protected" : "released", playing.name);
}

static void delete_it(void) {
  if (delete_recording(&playing) != 0) {
    notice(NOTICE_CARD_ERROR);
    return;
  }
  tell("deleted %s", playing.name);
  go_back();
}

static void press(enum key key) {
  if (key == KEY_NEXT)
    selected = (selected + 1) % ACTIONS;
  else if (selected == ACTION_PLAY)
    toggle_play();
  else if (playing.name[0] == '\0')
    return; /* the page was opened without a recording */
  else if (selected == ACTION_PROTECT)
    toggle_protection();
  else if (!playing.is_protected)
    ask(PHRASE_DELETE_QUESTION, PHRASE_DELETE_REMARK, delete_it);
}

const struct page player_page = {
    .name = "player",
    .shows = "the pictures of a recording",
    .title = PHRASES,
    .enter = enter,
    .draw = draw,
    .step = step,
    .press = press,
};
