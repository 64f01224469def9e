// The ramps of ::gc.
#pragma once

#include "dravik.h"

#include <cstdint>
#include <span>

namespace dravik::fb {

/// The theme colour in ::gc, where the ramps of the theme begin.
inline constexpr int theme_entry = DRAVIK_THEME_TO_WHITE * DRAVIK_RAMP_STEPS;

/// The 16 colours of a ramp, from its background end to its foreground end.
inline std::span<const uint16_t, DRAVIK_RAMP_STEPS> ramp_colours(uint8_t ramp) noexcept {
  return std::span<const uint16_t, DRAVIK_RAMP_STEPS>{gc + ramp * DRAVIK_RAMP_STEPS, DRAVIK_RAMP_STEPS};
}

/// Rebuild the whole table for a theme colour.
void build_color_table(uint16_t theme) noexcept;

} // namespace dravik::fb
