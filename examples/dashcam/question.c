#include "question.h"

#include "widgets.h"
#include "words.h"

enum { WIDTH = 480, HEIGHT = 232, BUTTON_WIDTH = 204, BUTTON_HEIGHT = 56, PADDING = 24, TEXT_LEFT = 120 };

static int left(void) {
  return (canvas_width() - WIDTH) / 2;
}

static int top(void) {
  return (PAGE_TOP + canvas_height() - HEIGHT) / 2 - 8;
}

static void draw_ground(void) {
  fill(left() - 10, top() - 10, WIDTH + 20, HEIGHT + 20, DRAVIK_BLACK);
  plate(left(), top(), WIDTH, HEIGHT, 0);
  frame(left(), top(), WIDTH, HEIGHT, DRAVIK_WHITE, 2);
  icon(left() + 64, top() + 68, ICONS_MENU_WARNING, DRAVIK_WHITE, DRAVIK_BLACK);
}

static void draw_answer(int x, enum phrase answer, int is_marked) {
  const int y = top() + HEIGHT - PADDING - BUTTON_HEIGHT;
  plate(x, y, BUTTON_WIDTH, BUTTON_HEIGHT, is_marked);
  words(x + BUTTON_WIDTH / 2, y + BUTTON_HEIGHT / 2, WORDS_BODY, is_marked ? DRAVIK_THEME : DRAVIK_BLACK,
        CENTRE, phrase(answer));
}

void question_draw(enum phrase asked, enum phrase remark, int is_yes) {
  draw_ground();
  words(left() + TEXT_LEFT, top() + 52, WORDS_TITLE, DRAVIK_BLACK, LEFT, phrase(asked));
  words(left() + TEXT_LEFT, top() + 94, WORDS_SMALL, DRAVIK_BLACK, LEFT, phrase(remark));
  draw_answer(left() + PADDING, PHRASE_NO, !is_yes);
  draw_answer(left() + WIDTH - PADDING - BUTTON_WIDTH, PHRASE_YES, is_yes);
}

void question_draw_wait(enum phrase what) {
  draw_ground();
  words(left() + TEXT_LEFT, top() + 52, WORDS_TITLE, DRAVIK_BLACK, LEFT, phrase(what));
  words(left() + TEXT_LEFT, top() + 94, WORDS_SMALL, DRAVIK_BLACK, LEFT, phrase(PHRASE_PLEASE_WAIT));
}
