#include "navigation.h"

#include "notices.h"
#include "question.h"
#include "tell.h"

#include <stddef.h>

enum { DEPTH = 8 };

static const struct page *way[DEPTH];
static int depth;

const struct page *page_shown(void) {
  return way[depth - 1];
}

void draw_notice(void) {
  if (!page_shown()->is_whole)
    notice_draw();
}

void draw_page(void) {
  const struct page *page = page_shown();
  fb_clear_screen(GROUND);
  if (!page->is_whole)
    status_draw();
  if (page->title != PHRASES)
    title_draw(page->art, page->title);
  page->draw();
  if (question_is_open())
    question_draw();
  notice_is_covered();
  draw_notice();
}

static void begin(void) {
  tell("screen %s", page_shown()->name);
  if (page_shown()->enter != NULL)
    page_shown()->enter();
  draw_page();
}

void navigation_start(const struct page *page) {
  depth = 0;
  if (page != &splash_page && page != &home_page && page != &shutdown_page) {
    way[depth++] = &home_page;
    if (page != &menu_page)
      way[depth++] = &menu_page;
  }
  way[depth++] = page;
  begin();
}

void open_page(const struct page *page) {
  if (depth == DEPTH)
    return;
  way[depth++] = page;
  begin();
}

void go_back(void) {
  if (depth == 1)
    return;
  --depth;
  tell("screen %s", page_shown()->name);
  draw_page();
}

void go_home(void) {
  depth = 1;
  way[0] = &home_page;
  begin();
}

/* ------------------------------------------------------------------------------------------------ keys */

/* A page that opens another one is not drawn again. */
static void press_on_page(enum key key) {
  const struct page *page = page_shown();
  if (page->press == NULL)
    return;
  page->press(key);
  if (page != page_shown())
    return;
  if (question_is_open())
    draw_page();
  else if (page->is_whole)
    page->draw();
  else {
    status_draw();
    page->draw();
    notice_is_covered();
  }
}

void press_key(enum key key) {
  static const char *const names[] = {[KEY_NEXT] = "next", [KEY_OK] = "ok", [KEY_BACK] = "back"};
  tell("key %s", names[key]);
  if (question_is_open())
    question_press(key);
  else if (key == KEY_BACK)
    go_back();
  else
    press_on_page(key);
  draw_notice();
}

/* ------------------------------------------------------------------------------------------------ time */

void refresh_page(void) {
  const struct page *page = page_shown();
  if (!page->is_whole)
    status_refresh();
  if (page->refresh != NULL && !question_is_open())
    page->refresh();
}

void follow_movement(void) {
  if (page_shown()->follow != NULL && !question_is_open())
    page_shown()->follow();
}

void step_page(void) {
  if (page_shown()->step != NULL && !question_is_open())
    page_shown()->step();
}
