// The ramps of ::gc.
#pragma once

#include "dravik.h"

#include <cstdint>
#include <span>

namespace dravik::fb {

/// Index in ::gc of the theme colour, where the theme ramps start.
inline constexpr int theme_entry = DRAVIK_THEME_TO_WHITE * DRAVIK_RAMP_STEPS;

/// Return the 16 colours of a ramp, from background to foreground.
inline std::span<const uint16_t, DRAVIK_RAMP_STEPS> ramp_colours(uint8_t ramp) noexcept {
  return std::span<const uint16_t, DRAVIK_RAMP_STEPS>{gc + ramp * DRAVIK_RAMP_STEPS, DRAVIK_RAMP_STEPS};
}

/// Rebuild the table for a theme colour.
void build_color_table(uint16_t theme) noexcept;

} // namespace dravik::fb
