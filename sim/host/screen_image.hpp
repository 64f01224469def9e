// What the panel of a board displays.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace dravik::sim {

/// The visible part of frame buffer memory.
struct screen_image {
  uint32_t width = 0;  ///< in pixels
  uint32_t height = 0; ///< in pixels
  uint32_t bytes_per_pixel = 2;
  bool is_blank = false;       ///< then all pixels are 0
  std::vector<uint8_t> pixels; ///< as in frame buffer memory, lines from the top without padding

  size_t line_bytes() const noexcept { return size_t{width} * bytes_per_pixel; }
};

/// Read it while applications draw and pan. Return false and set `error` on failure.
[[nodiscard]] bool read_screen_image(const std::string &board, screen_image &image, std::string &error);

struct colour {
  uint8_t red, green, blue;
};

/// A pixel of `bytes` little-endian bytes: RGB565, or 8 bits a colour with red the highest.
colour colour_at(const uint8_t *pixel, uint32_t bytes) noexcept;

} // namespace dravik::sim
