// Position of an image, and whether it fits on the screen.
#pragma once

#include "fb/surface.hpp"

namespace dravik::image {

using fb::position;

/// Return the start of an extent centred on a position; at least 0.
constexpr int32_t centred(int32_t at, int32_t size) noexcept {
  const int32_t half = size >> 1;
  return at > half ? static_cast<int32_t>(static_cast<uint32_t>(at) - static_cast<uint32_t>(half)) : 0;
}

/// Apply the alignment codes that all images share.
constexpr position placed(position at, int32_t width, int32_t height, int32_t align) noexcept {
  if (align == DRAVIK_CENTRE_X || align == DRAVIK_CENTRE)
    at.x = centred(at.x, width);
  if (align == DRAVIK_CENTRE_Y || align == DRAVIK_CENTRE)
    at.y = centred(at.y, height);
  return at;
}

/// Return whether an image fits on the screen at a position. The sums wrap modulo 2^32: the column left of
/// the screen is 0xFFFFFFFF, and fits. A size that exceeds the screen does not fit, so no file can make
/// the sums wrap.
constexpr bool fits(const fb::surface &on, position at, uint32_t width, uint32_t height) noexcept {
  const auto xres = static_cast<uint32_t>(on.width), yres = static_cast<uint32_t>(on.height);
  return width <= xres && height <= yres && static_cast<uint32_t>(at.x) + width <= xres &&
         static_cast<uint32_t>(at.y) + height <= yres;
}

/// Return the position of the bottom-right pixel of an image.
constexpr position last_pixel(position at, uint32_t width, uint32_t height) noexcept {
  return at.moved(width - 1, height - 1);
}

/// Return how many bytes to store of a 16-bit row that is padded to `row_size` bytes: all of them, except
/// padding beyond the end of frame buffer memory.
constexpr size_t stored_bytes(const fb::memory_bounds &memory, position at, uint32_t width,
                              size_t row_size) noexcept {
  const bool has_room = memory.offset(at.x, at.y) + static_cast<int64_t>(row_size) <= memory.end;
  return has_room ? row_size : size_t{width} * 2;
}

} // namespace dravik::image
