// The screen that a board has, as its settings describe it.
#pragma once

#include <cstdint>
#include <string_view>

namespace dravik::sim {

/// Sizes in pixels unless the name says otherwise.
struct screen {
  static constexpr uint32_t longest_side = 16384;

  uint32_t xres = 640;
  uint32_t yres = 480;
  uint32_t xres_virtual = 640;
  uint32_t yres_virtual = 480;
  uint32_t bits_per_pixel = 16;
  uint32_t line_length = 1280; ///< bytes from one line to the next

  /// A screen of this size with nothing to spare: no second buffer, no padding.
  static screen of_size(uint32_t width, uint32_t height, uint32_t bits = 16) noexcept;

  uint64_t memory_bytes() const noexcept { return uint64_t{line_length} * yres_virtual; }
  /// Length of the mapping that applications compute from the pixels; padding is not in it.
  uint64_t mapped_bytes() const noexcept {
    return uint64_t{xres_virtual} * yres_virtual * bits_per_pixel / 8;
  }
  bool maps_all_lines() const noexcept { return uint64_t{line_length} * yres <= mapped_bytes(); }

  /// Why no device could be so; null for a screen that makes sense.
  const char *nonsense() const noexcept;
};

/// Which part of the virtual screen is shown, and whether the panel is dark.
struct panel {
  uint32_t xoffset = 0;
  uint32_t yoffset = 0;
  uint32_t blank = 0;
};

/// From the text of `board.conf`. A size that is not given follows from the others; what is given is not
/// judged, so that a board may have a device that reports nonsense.
screen read_screen(std::string_view settings) noexcept;

/// From the text of `panel`, which the simulated device keeps.
panel read_panel(std::string_view state) noexcept;

} // namespace dravik::sim
