// The screen as drawing sees it: the exported address and record, taken once at the start of a call.
#pragma once

#include "dravik.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace dravik::fb {

/// A pixel in screen memory; may alias, since the same memory is filled by wider stores.
using pixel [[gnu::may_alias]] = uint16_t;

struct surface {
  uint8_t *base;
  ptrdiff_t pitch; ///< bytes from one line to the next
  int32_t width;   ///< visible columns
  int32_t height;  ///< visible lines

  /// The address of a pixel. Positions off the screen, negative ones too, give the address that follows from
  /// them.
  pixel *at(int32_t x, int32_t y) const noexcept {
    return reinterpret_cast<pixel *>(base + y * pitch + ptrdiff_t{x} * 2);
  }
  /// Unsigned positions wrap like addresses of 32 bits, so that "-1" means the same on every machine.
  pixel *at(uint32_t x, uint32_t y) const noexcept {
    return at(static_cast<int32_t>(x), static_cast<int32_t>(y));
  }
};

inline surface screen() noexcept {
  return {fbp, static_cast<ptrdiff_t>(fbinfo[FBINFO_LINE_LENGTH]), static_cast<int32_t>(fbinfo[FBINFO_XRES]),
          static_cast<int32_t>(fbinfo[FBINFO_YRES])};
}

/// The address `bytes` further on (or back).
inline pixel *step(pixel *from, ptrdiff_t bytes) noexcept {
  return reinterpret_cast<pixel *>(reinterpret_cast<uint8_t *>(from) + bytes);
}

/// Whether something of this size, which a file gave, is larger than the screen itself. No caller can keep
/// that on the screen, so its drawing asks for room.
inline bool is_oversized(const surface &on, int64_t width, int64_t height) noexcept {
  return width > on.width || height > on.height;
}

/// Pixels from an address to the end of the screen's memory; 0 for one outside, and all there are while the
/// record gives no size.
inline size_t room(const surface &on, const pixel *at) noexcept {
  const int64_t memory = std::max<int64_t>(fbinfo[FBINFO_SCREEN_SIZE], int64_t{on.pitch} * on.height);
  if (memory == 0)
    return SIZE_MAX;
  const int64_t offset = reinterpret_cast<const uint8_t *>(at) - on.base;
  return offset >= 0 && offset < memory ? static_cast<size_t>(memory - offset) / 2 : 0;
}

/// How much of `bytes` may be stored at an address without leaving the screen's memory: the padding of a row
/// may reach a pixel past the last one.
inline size_t bytes_with_room(const surface &on, const pixel *at, size_t bytes) noexcept {
  const size_t pixels = room(on, at);
  return bytes / 2 <= pixels ? bytes : pixels * 2;
}

} // namespace dravik::fb
