// The ramps of smooth colours and the rules that choose one of them.
#pragma once

#include "dravik.h"

#include <cstdint>
#include <span>

namespace dravik::fb {

inline constexpr int ramp_steps = 16;
inline constexpr uint16_t start_up_theme = 0x0B77;
inline constexpr int theme_entry = 432; ///< the theme colour, where the ramps of the theme begin

/// A set of ramps chosen by the pair of background and foreground.
struct ramp_rule {
  static constexpr int32_t any = -1;

  int32_t background;
  int32_t foreground; ///< a colour, or `any`
  uint8_t ramp;

  constexpr bool matches(uint16_t bg, uint16_t fg) const noexcept {
    return background == bg && (foreground == fg || foreground == any);
  }
};

/// The ramp of the first rule that matches, or `otherwise`. In a table, the `any` of a background comes last.
constexpr uint8_t find_ramp(std::span<const ramp_rule> rules, uint16_t bg, uint16_t fg,
                            uint8_t otherwise) noexcept {
  for (const ramp_rule &rule : rules)
    if (rule.matches(bg, fg))
      return rule.ramp;
  return otherwise;
}

/// The 16 colours of a ramp, from its background end to its foreground end.
inline std::span<const uint16_t, ramp_steps> ramp_colours(uint8_t ramp) noexcept {
  return std::span<const uint16_t, ramp_steps>{gc + ramp * ramp_steps, ramp_steps};
}

/// Rebuild the whole table for a theme colour.
void build_color_table(uint16_t theme) noexcept;

/// A run of screen lines that the shading paints in one colour.
struct shade_run {
  uint8_t first;
  uint8_t last;
  uint16_t colour;
};

inline constexpr shade_run shading_runs[] = {
    {0, 14, 0x39C7},    {15, 29, 0x39A7},   {30, 44, 0x3186},   {45, 59, 0x3166},
    {60, 74, 0x2945},   {75, 81, 0x2925},   {82, 104, 0x2104},  {105, 119, 0x20E4},
    {120, 134, 0x18C3}, {135, 149, 0x18A3}, {150, 155, 0x1082}, {156, 164, 0x1081},
    {165, 179, 0x1061}, {180, 181, 0x0841}, {182, 194, 0x0840}, {195, 207, 0x0820},
};

} // namespace dravik::fb
