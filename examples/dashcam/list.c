#include "list.h"

static int rows_shown(void) {
  return pick(7, 5);
}

static int pitch(void) {
  return (page_bottom() + row_gap() - page_top()) / rows_shown();
}

/* Keep the selected row among those that are shown. */
static void scroll(struct list *list) {
  const int last = list->selected - rows_shown() + 1;
  if (list->selected >= 0 && list->first > list->selected)
    list->first = list->selected;
  if (list->first < last)
    list->first = last;
}

/* Draw what is at the end of a row. Return the space that it takes. */
static int draw_end(const struct row *row, int right, int middle, int is_selected) {
  const int bar = pick(150, 60);
  switch (row->end) {
  case ROW_MORE:
    icon(right - pick(6, 4), middle, ICONS_NEXT, INK_WHITE, is_selected ? ON_ACCENT : ON_SURFACE);
    return pick(26, 16);
  case ROW_SWITCH:
    toggle(right, middle, row->amount, is_selected);
    return pick(60, 42);
  case ROW_AMOUNT:
    level(right - bar, middle, bar, row->amount, is_selected ? DRAVIK_WHITE : get_theme_color());
    return bar + pick(16, 8);
  case ROW_CHECK:
    if (row->amount)
      icon(right - pick(16, 10), middle, ICONS_KEY_CHECK, INK_WHITE, is_selected ? ON_ACCENT : ON_SURFACE);
    return pick(44, 28);
  default:
    return 0;
  }
}

static void draw_row(const struct row *row, int y, int height, int is_selected) {
  const int left = margin() + pick(66, 36), middle = y + height / 2, gap = pick(16, 8);
  const int right = margin() + page_width() - pick(20, 10);
  const enum behind behind = is_selected ? ON_ACCENT : ON_SURFACE;
  plate(margin(), y, page_width(), height, is_selected);
  icon(margin() + pick(34, 18), middle, row->art, INK_WHITE, behind);
  const int end = right - draw_end(row, right, middle, is_selected);
  const int label = text_width(TEXT_BODY, row->label);
  text((struct place){end, middle, end - left - label - gap, RIGHT},
       (struct look){TEXT_BODY, is_selected ? INK_WHITE : row->ink, behind}, row->value);
  text((struct place){left, middle, end - left, LEFT}, (struct look){TEXT_BODY, INK_WHITE, behind},
       row->label);
}

void list_draw_row(const struct list *list, int index) {
  const int y = page_top() + (index - list->first) * pitch();
  struct row row = {.ink = INK_MUTED, .label = ""};
  if (index < list->first || index >= list->first + rows_shown() || index >= list->count)
    return;
  list->describe(index, &row);
  draw_row(&row, y, pitch() - row_gap(), index == list->selected);
}

void list_draw(struct list *list) {
  scroll(list);
  for (int i = list->first; i < list->count; ++i)
    list_draw_row(list, i);
  title_counter(list->selected, list->selected >= 0 ? list->count : 0);
}

void list_next(struct list *list) {
  if (list->count > 0)
    list->selected = (list->selected + 1) % list->count;
}

void list_scroll(struct list *list) {
  const int end = list->count - rows_shown();
  list->first = list->first == 0 && end > 0 ? end : 0;
}
