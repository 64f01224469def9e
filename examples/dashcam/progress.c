#include "progress.h"

#include "widgets.h"

void progress_draw(const struct progress *progress, int y) {
  const int width = pick(300, 180);
  level((panel_width() - width) / 2, y, width, progress->steps * 100 / progress->of, get_theme_color());
}

int progress_step(struct progress *progress, int y) {
  if (progress->steps < progress->of)
    ++progress->steps;
  progress_draw(progress, y);
  return progress->steps == progress->of;
}
