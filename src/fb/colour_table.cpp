// The colour table: 27 fixed ramps, two that follow the theme colour, and the shading of the gradient clears.

#include "fb/colour_table.hpp"

#include <array>

namespace dravik::fb {
namespace {

constexpr int fixed_ramps = 27;
constexpr uint16_t near_black = 0x0821;

constexpr uint16_t rgb565(int red, int green, int blue) noexcept {
  return static_cast<uint16_t>(red << 11 | green << 5 | blue);
}

/// A channel that moves evenly: start + slope * step.
struct channel {
  int8_t start;
  int8_t slope;

  constexpr int at(int step) const noexcept { return start + slope * step; }
};

struct ramp_shape {
  channel red, green, blue;
  bool starts_near_black = false;
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

using fixed_table = std::array<uint16_t, fixed_ramps * ramp_steps>;

constexpr fixed_table expand_shapes() noexcept {
  fixed_table table{};
  for (int ramp = 0; ramp < fixed_ramps; ++ramp) {
    const ramp_shape &shape = shapes[ramp];
    uint16_t *const steps = table.data() + ramp * ramp_steps;
    for (int i = 0; i < ramp_steps; ++i)
      steps[i] = rgb565(shape.red.at(i), shape.green.at(i), shape.blue.at(i));
    if (shape.starts_near_black)
      steps[0] = near_black;
  }
  return table;
}

constexpr fixed_table fixed_colours = expand_shapes();
static_assert(fixed_colours[15] == 0xF800 && fixed_colours[63] == 0xF79E && fixed_colours[192] == 0xFFFF);

/// The theme ramps: from the theme colour towards white, and towards black.
void build_theme_ramps(uint16_t theme) noexcept {
  const int red = theme >> 11, green = theme >> 5 & 63, blue = theme & 31;
  uint16_t *const to_white = gc + theme_entry;
  uint16_t *const to_black = to_white + ramp_steps;
  to_white[0] = to_black[0] = theme;
  for (int k = 1; k < ramp_steps; ++k) {
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

constinit uint16_t gc[464] = {};

constexpr uint16_t grad_line[208] = {
    0x39C7, 0x39C7, 0x39C7, 0x39C7, 0x39C7, 0x39C7, 0x39C7, 0x39C7, 0x39C7, 0x39C7, 0x39C7, 0x39C7, 0x39C7,
    0x39C7, 0x39C7, 0x39A7, 0x39A7, 0x39A7, 0x39A7, 0x39A7, 0x39A7, 0x39A7, 0x39A7, 0x39A7, 0x39A7, 0x39A7,
    0x39A7, 0x39A7, 0x39A7, 0x39A7, 0x3186, 0x3186, 0x3186, 0x3186, 0x3186, 0x3186, 0x3186, 0x3186, 0x3186,
    0x3186, 0x3186, 0x3186, 0x3186, 0x3186, 0x3186, 0x3166, 0x3166, 0x3166, 0x3166, 0x3166, 0x3166, 0x3166,
    0x3166, 0x3166, 0x3166, 0x3166, 0x3166, 0x3166, 0x3166, 0x3166, 0x2945, 0x2945, 0x2945, 0x2945, 0x2945,
    0x2945, 0x2945, 0x2945, 0x2945, 0x2945, 0x2945, 0x2945, 0x2945, 0x2945, 0x2945, 0x2925, 0x2925, 0x2925,
    0x2925, 0x2925, 0x2925, 0x2925, 0x2104, 0x2104, 0x2104, 0x2104, 0x2104, 0x2104, 0x2104, 0x2104, 0x2104,
    0x2104, 0x2104, 0x2104, 0x2104, 0x2104, 0x2104, 0x2104, 0x2104, 0x2104, 0x2104, 0x2104, 0x2104, 0x2104,
    0x2104, 0x20E4, 0x20E4, 0x20E4, 0x20E4, 0x20E4, 0x20E4, 0x20E4, 0x20E4, 0x20E4, 0x20E4, 0x20E4, 0x20E4,
    0x20E4, 0x20E4, 0x20E4, 0x18C3, 0x18C3, 0x18C3, 0x18C3, 0x18C3, 0x18C3, 0x18C3, 0x18C3, 0x18C3, 0x18C3,
    0x18C3, 0x18C3, 0x18C3, 0x18C3, 0x18C3, 0x18A3, 0x18A3, 0x18A3, 0x18A3, 0x18A3, 0x18A3, 0x18A3, 0x18A3,
    0x18A3, 0x18A3, 0x18A3, 0x18A3, 0x18A3, 0x18A3, 0x18A3, 0x1082, 0x1082, 0x1082, 0x1082, 0x1082, 0x1082,
    0x1081, 0x1081, 0x1081, 0x1081, 0x1081, 0x1081, 0x1081, 0x1081, 0x1081, 0x1061, 0x1061, 0x1061, 0x1061,
    0x1061, 0x1061, 0x1061, 0x1061, 0x1061, 0x1061, 0x1061, 0x1061, 0x1061, 0x1061, 0x1061, 0x0841, 0x0841,
    0x0840, 0x0840, 0x0840, 0x0840, 0x0840, 0x0840, 0x0840, 0x0840, 0x0840, 0x0840, 0x0840, 0x0840, 0x0840,
    0x0820, 0x0820, 0x0820, 0x0820, 0x0820, 0x0820, 0x0820, 0x0820, 0x0820, 0x0820, 0x0820, 0x0820, 0x0820,
};

void set_theme_color(int32_t colour) noexcept {
  dravik::fb::build_color_table(static_cast<uint16_t>(colour));
}

uint16_t get_theme_color() noexcept {
  return gc[dravik::fb::theme_entry];
}

} // extern "C"

namespace dravik::fb {

static_assert(
    [] {
      size_t line = 0;
      for (const shade_run &run : shading_runs)
        for (; line <= run.last; ++line)
          if (line < run.first || grad_line[line] != run.colour)
            return false;
      return line == std::size(grad_line);
    }(),
    "the gradient clears paint by runs");

} // namespace dravik::fb
