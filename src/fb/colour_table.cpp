// The colour table: 27 fixed ramps, and two that follow the theme colour.

#include "fb/colour_table.hpp"
#include "fb/colours.hpp"

#include <array>

namespace dravik::fb {
namespace {

constexpr int fixed_ramps = DRAVIK_THEME_TO_WHITE;

/// A channel with an even gradient: start + slope * step.
struct channel {
  int8_t start;
  int8_t slope;

  constexpr uint32_t at(int step) const noexcept { return static_cast<uint32_t>(start + slope * step); }
};

struct ramp_shape {
  channel red, green, blue;
  bool starts_black = false;
};

constexpr ramp_shape shapes[fixed_ramps] = {
    {{1, 2}, {0, 0}, {0, 0}},       // on near-black: red
    {{0, 0}, {3, 4}, {0, 0}},       // green
    {{0, 0}, {0, 0}, {1, 2}},       // blue
    {{0, 2}, {0, 4}, {0, 2}, true}, // any other colour
    {{0, 1}, {0, 2}, {0, 1}},       // grey
    {{1, 2}, {3, 4}, {0, 0}},       // yellow
    {{1, 2}, {0, 0}, {1, 2}, true}, // magenta
    {{0, 0}, {3, 4}, {1, 2}},       // cyan
    {{1, 2}, {0, 2}, {0, 0}},       // orange
    {{31, 0}, {63, -4}, {31, -2}},  // on white: red
    {{31, -2}, {63, 0}, {31, -2}},  // green
    {{31, -2}, {63, -4}, {31, 0}},  // blue
    {{31, -2}, {63, -4}, {31, -2}}, // any other colour
    {{31, -1}, {62, -2}, {31, -1}}, // grey
    {{31, 0}, {63, 0}, {31, -2}},   // yellow
    {{31, 0}, {63, -4}, {31, 0}},   // magenta
    {{31, -2}, {63, 0}, {31, 0}},   // cyan
    {{31, 0}, {62, -2}, {31, -2}},  // orange
    {{31, 0}, {0, 0}, {30, -2}},    // on magenta: red
    {{31, -2}, {3, 4}, {31, -2}},   // green
    {{31, -2}, {0, 0}, {31, 0}},    // blue
    {{31, -2}, {1, 0}, {31, -2}},   // any other colour
    {{31, 0}, {3, 4}, {31, 0}},     // white
    {{31, -1}, {0, 2}, {31, -1}},   // grey
    {{31, 0}, {3, 4}, {31, -2}},    // yellow
    {{31, -2}, {3, 4}, {31, 0}},    // cyan
    {{31, -1}, {0, 2}, {31, -2}},   // orange
};

using fixed_table = std::array<uint16_t, fixed_ramps * DRAVIK_RAMP_STEPS>;

constexpr fixed_table expand_shapes() noexcept {
  fixed_table table{};
  for (int ramp = 0; ramp < fixed_ramps; ++ramp) {
    const ramp_shape &shape = shapes[ramp];
    uint16_t *const steps = table.data() + ramp * DRAVIK_RAMP_STEPS;
    for (int i = 0; i < DRAVIK_RAMP_STEPS; ++i)
      steps[i] = rgb565(shape.red.at(i), shape.green.at(i), shape.blue.at(i));
    if (shape.starts_black)
      steps[0] = DRAVIK_BLACK;
  }
  return table;
}

constexpr fixed_table fixed_colours = expand_shapes();
static_assert(fixed_colours[15] == DRAVIK_RED && fixed_colours[63] == 0xF79E &&
              fixed_colours[192] == DRAVIK_WHITE);

/// The theme ramps: from the theme colour to white, and to black.
void build_theme_ramps(uint16_t theme) noexcept {
  const uint32_t red = theme >> 11, green = theme >> 5 & 63, blue = theme & 31;
  uint16_t *const to_white = gc + theme_entry;
  uint16_t *const to_black = to_white + DRAVIK_RAMP_STEPS;
  to_white[0] = to_black[0] = theme;
  for (uint32_t k = 1; k < DRAVIK_RAMP_STEPS; ++k) {
    to_white[k] =
        rgb565(red + (31 - red) * k / 15, green + (63 - green) * k / 15, blue + (31 - blue) * k / 15);
    to_black[k] = rgb565(red - red * k / 15, green - green * k / 15, blue - blue * k / 15);
  }
}

} // namespace

void build_color_table(uint16_t theme) noexcept {
  for (size_t i = 0; i < fixed_colours.size(); ++i)
    gc[i] = fixed_colours[i];
  build_theme_ramps(theme);
}

} // namespace dravik::fb

extern "C" {

constinit uint16_t gc[DRAVIK_RAMPS * DRAVIK_RAMP_STEPS] = {};

void set_theme_color(int32_t colour) noexcept {
  dravik::fb::build_color_table(static_cast<uint16_t>(colour));
}

uint16_t get_theme_color() noexcept {
  return gc[dravik::fb::theme_entry];
}

} // extern "C"
