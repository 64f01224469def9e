// Screen of a board, from its settings.
#pragma once

#include <cstdint>
#include <string_view>

namespace dravik::sim {

/// Sizes are in pixels unless the name has a unit.
struct screen {
  static constexpr uint32_t longest_side = 16384;

  uint32_t xres = 640;
  uint32_t yres = 480;
  uint32_t xres_virtual = 640;
  uint32_t yres_virtual = 480;
  uint32_t bits_per_pixel = 16;
  uint32_t line_length = 1280; ///< bytes per line

  /// Return a screen of this size without a second buffer or padding.
  static screen of_size(uint32_t width, uint32_t height, uint32_t bits = 16) noexcept;

  uint64_t memory_bytes() const noexcept { return uint64_t{line_length} * yres_virtual; }
  /// Length of the mapping that applications compute from the pixels, without padding.
  uint64_t mapped_bytes() const noexcept {
    return uint64_t{xres_virtual} * yres_virtual * bits_per_pixel / 8;
  }
  bool maps_all_lines() const noexcept { return uint64_t{line_length} * yres <= mapped_bytes(); }

  /// Return why the values are inconsistent, null if they are consistent.
  const char *nonsense() const noexcept;
};

/// Visible part of the virtual screen, and whether the panel is blanked.
struct panel {
  uint32_t xoffset = 0;
  uint32_t yoffset = 0;
  uint32_t blank = 0;

  bool operator==(const panel &) const = default;
};

/// Parse `board.conf`. Missing sizes follow from the others. Values are not checked, so that a
/// device can report inconsistent ones.
screen read_screen(std::string_view settings) noexcept;

/// Parse `panel`, the state of the simulated device.
panel read_panel(std::string_view state) noexcept;

} // namespace dravik::sim
