// The colours of the ramps, by the rule of each.
#pragma once

#include "dravik.h"

#include <cstddef>
#include <cstdint>

namespace dravik::test {

constexpr uint16_t rgb565(int red, int green, int blue) {
  return static_cast<uint16_t>(red * 2048 + green * 32 + blue);
}

/// Step i of each fixed ramp. Two ramps start with the library's black instead.
using ramp_rule = uint16_t (*)(int i);
constexpr ramp_rule fixed_ramps[DRAVIK_THEME_TO_WHITE] = {
    [](int i) { return rgb565(2 * i + 1, 0, 0); },
    [](int i) { return rgb565(0, 4 * i + 3, 0); },
    [](int i) { return rgb565(0, 0, 2 * i + 1); },
    [](int i) { return i == 0 ? uint16_t{DRAVIK_BLACK} : rgb565(2 * i, 4 * i, 2 * i); },
    [](int i) { return rgb565(i, 2 * i, i); },
    [](int i) { return rgb565(2 * i + 1, 4 * i + 3, 0); },
    [](int i) { return i == 0 ? uint16_t{DRAVIK_BLACK} : rgb565(2 * i + 1, 0, 2 * i + 1); },
    [](int i) { return rgb565(0, 4 * i + 3, 2 * i + 1); },
    [](int i) { return rgb565(2 * i + 1, 2 * i, 0); },
    [](int i) { return rgb565(31, 63 - 4 * i, 31 - 2 * i); },
    [](int i) { return rgb565(31 - 2 * i, 63, 31 - 2 * i); },
    [](int i) { return rgb565(31 - 2 * i, 63 - 4 * i, 31); },
    [](int i) { return rgb565(31 - 2 * i, 63 - 4 * i, 31 - 2 * i); },
    [](int i) { return rgb565(31 - i, 62 - 2 * i, 31 - i); },
    [](int i) { return rgb565(31, 63, 31 - 2 * i); },
    [](int i) { return rgb565(31, 63 - 4 * i, 31); },
    [](int i) { return rgb565(31 - 2 * i, 63, 31); },
    [](int i) { return rgb565(31, 62 - 2 * i, 31 - 2 * i); },
    [](int i) { return rgb565(31, 0, 30 - 2 * i); },
    [](int i) { return rgb565(31 - 2 * i, 4 * i + 3, 31 - 2 * i); },
    [](int i) { return rgb565(31 - 2 * i, 0, 31); },
    [](int i) { return rgb565(31 - 2 * i, 1, 31 - 2 * i); },
    [](int i) { return rgb565(31, 4 * i + 3, 31); },
    [](int i) { return rgb565(31 - i, 2 * i, 31 - i); },
    [](int i) { return rgb565(31, 4 * i + 3, 31 - 2 * i); },
    [](int i) { return rgb565(31 - 2 * i, 4 * i + 3, 31); },
    [](int i) { return rgb565(31 - i, 2 * i, 31 - 2 * i); },
};

/// Step i of a ramp of the theme.
inline uint16_t theme_step(int ramp, int i, uint16_t theme) {
  const int r = theme / 2048, g = theme / 32 % 64, b = theme % 32;
  if (ramp == DRAVIK_THEME_TO_WHITE)
    return rgb565(r + (31 - r) * i / 15, g + (63 - g) * i / 15, b + (31 - b) * i / 15);
  return rgb565(r - r * i / 15, g - g * i / 15, b - b * i / 15);
}

inline uint16_t ramp_step(int ramp, int i, uint16_t theme) {
  return ramp < DRAVIK_THEME_TO_WHITE ? fixed_ramps[static_cast<size_t>(ramp)](i)
                                      : theme_step(ramp, i, theme);
}

} // namespace dravik::test
