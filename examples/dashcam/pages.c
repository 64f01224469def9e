#include "pages.h"

#include <string.h>

const struct page *const pages[PAGES] = {
    &splash_page,  &home_page,   &menu_page,   &playback_page, &player_page, &gallery_page,
    &journey_page, &sensor_page, &card_page,   &settings_page, &sound_page,  &languages_page,
    &theme_page,   &clock_page,  &system_page, &shutdown_page,
};

const struct page *find_page(const char *name) {
  for (int i = 0; i < PAGES; ++i)
    if (strcmp(pages[i]->name, name) == 0)
      return pages[i];
  return NULL;
}
