#include "theme.h"

const uint16_t theme_colours[THEMES] = {
    DRAVIK_DEFAULT_THEME, /* ocean */
    0x040E,               /* lagoon */
    0x3C03,               /* leaf */
    0xA300,               /* amber */
    0xCA27,               /* coral */
    0xC0F0,               /* rose */
    0x8259,               /* violet */
    0x5B4F,               /* slate */
};

static const struct {
  enum ink ink;
  enum colour colour;
  enum dravik_ramp on_ground, on_surface;
} inks[] = {
    {INK_MUTED, MUTED, DRAVIK_GREY_ON_BLACK, DRAVIK_GREY_ON_MAGENTA},
    {INK_GOOD, GOOD, DRAVIK_GREEN_ON_BLACK, DRAVIK_GREEN_ON_MAGENTA},
    {INK_WARM, WARM, DRAVIK_ORANGE_ON_BLACK, DRAVIK_ORANGE_ON_MAGENTA},
    {INK_ALARM, ALARM, DRAVIK_RED_ON_BLACK, DRAVIK_RED_ON_MAGENTA},
};
enum { INKS = sizeof inks / sizeof inks[0] };

/* A channel at a step between two colours. */
static int between(int from, int to, int mask, int step) {
  const int first = from & mask, last = to & mask, steps = DRAVIK_RAMP_STEPS - 1;
  return (int)(first + ((int64_t)last - first) * step / steps) & mask;
}

static void build_ramp(enum dravik_ramp ramp, int from, int to) {
  for (int step = 0; step < DRAVIK_RAMP_STEPS; ++step)
    gc[(int)ramp * DRAVIK_RAMP_STEPS + step] =
        (uint16_t)(between(from, to, 0xF800, step) | between(from, to, 0x07E0, step) |
                   between(from, to, 0x001F, step));
}

/* set_theme_color() builds all ramps: ours replace some of them after it. */
void theme_choose(int theme) {
  set_theme_color(theme_colours[theme]);
  build_ramp(DRAVIK_WHITE_ON_MAGENTA, SURFACE, DRAVIK_WHITE);
  for (int i = 0; i < INKS; ++i) {
    build_ramp(inks[i].on_ground, GROUND, inks[i].colour);
    build_ramp(inks[i].on_surface, SURFACE, inks[i].colour);
  }
}

uint16_t ink_colour(enum ink ink) {
  for (int i = 0; i < INKS; ++i)
    if (inks[i].ink == ink)
      return (uint16_t)inks[i].colour;
  return DRAVIK_WHITE;
}

uint16_t behind_colour(enum behind behind) {
  if (behind == ON_ACCENT)
    return get_theme_color();
  return behind == ON_SURFACE ? SURFACE : GROUND;
}
