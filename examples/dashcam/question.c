#include "question.h"

#include "navigation.h"
#include "tell.h"
#include "widgets.h"

#include <stddef.h>

static struct {
  enum phrase question, remark;
  void (*on_yes)(void);
  int is_yes;
} asked;

/* -------------------------------------------------------------------------------------------- drawing */

static int width(void) {
  return pick(500, 304);
}

static int height(void) {
  return pick(220, 150);
}

static int left(void) {
  return (panel_width() - width()) / 2;
}

static int top(void) {
  return (bar_height() + title_height() + panel_height() - height()) / 2;
}

static void draw_dialog(enum phrase title, enum phrase remark) {
  const int x = left() + pick(112, 52), room = width() - pick(136, 60);
  dim(bar_height());
  plate(left(), top(), width(), height(), 0);
  frame(left(), top(), width(), height(), DRAVIK_WHITE, 2);
  icon(left() + pick(62, 28), top() + pick(70, 44), ICONS_MENU_WARNING, INK_WHITE, ON_SURFACE);
  text((struct place){x, top() + pick(52, 30), room, LEFT}, (struct look){TEXT_TITLE, INK_WHITE, ON_SURFACE},
       phrase(title));
  text((struct place){x, top() + pick(92, 60), room, LEFT}, (struct look){TEXT_SMALL, INK_MUTED, ON_SURFACE},
       phrase(remark));
}

static void draw_answer(int place, enum phrase answer, int is_selected) {
  const int gap = pick(24, 12), tall = pick(56, 40), wide = (width() - 3 * gap) / 2;
  const int x = left() + gap + place * (wide + gap), y = top() + height() - gap - tall;
  plate(x, y, wide, tall, is_selected);
  text((struct place){x + wide / 2, y + tall / 2, wide - 16, CENTRE},
       (struct look){TEXT_BODY, INK_WHITE, is_selected ? ON_ACCENT : ON_SURFACE}, phrase(answer));
}

static void draw_answers(void) {
  draw_answer(0, PHRASE_NO, !asked.is_yes);
  draw_answer(1, PHRASE_YES, asked.is_yes);
}

void question_draw(void) {
  draw_dialog(asked.question, asked.remark);
  draw_answers();
}

void draw_wait(enum phrase what) {
  draw_page();
  draw_dialog(what, PHRASE_PLEASE_WAIT);
}

/* ------------------------------------------------------------------------------------------- answering */

void ask(enum phrase question, enum phrase remark, void (*on_yes)(void)) {
  asked.question = question;
  asked.remark = remark;
  asked.on_yes = on_yes;
  asked.is_yes = 0;
  tell("question: %s", phrase_in(0, question));
}

int question_is_open(void) {
  return asked.on_yes != NULL;
}

void question_close(void) {
  asked.on_yes = NULL;
}

/* The page is drawn again, unless the action has opened another one. */
static void answer(int is_yes) {
  const struct page *page = page_shown();
  void (*on_yes)(void) = asked.on_yes;
  question_close();
  tell("answer: %s", is_yes ? "yes" : "no");
  if (is_yes)
    on_yes();
  if (page == page_shown())
    draw_page();
}

void question_press(enum key key) {
  if (key == KEY_NEXT) {
    asked.is_yes = !asked.is_yes;
    draw_answers();
  } else {
    answer(key == KEY_OK && asked.is_yes);
  }
}
