// The screen as drawing sees it: the exported address and record, taken once at the start of a call.
#pragma once

#include "dravik.h"

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

} // namespace dravik::fb
