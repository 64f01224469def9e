// The screen for drawing functions: the exported address and screen information, read once per call.
#pragma once

#include "dravik.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace dravik::fb {

/// A pixel in frame buffer memory. It may alias, since wider stores fill the same memory.
using pixel [[gnu::may_alias]] = uint16_t;

/// Columns to the right of, and lines below, the top-left pixel. Negative positions are left of or
/// above the screen.
struct position {
  int32_t x, y;

  /// Return the sum modulo 2^32, as for unsigned positions.
  constexpr position moved(uint32_t right, uint32_t down) const noexcept {
    return {static_cast<int32_t>(static_cast<uint32_t>(x) + right),
            static_cast<int32_t>(static_cast<uint32_t>(y) + down)};
  }
};

/// Convert an unsigned position: 0xFFFFFFFF becomes -1 on every machine.
constexpr position position_of(uint32_t x, uint32_t y) noexcept {
  return {static_cast<int32_t>(x), static_cast<int32_t>(y)};
}

struct surface {
  uint8_t *base;
  ptrdiff_t pitch; ///< bytes per line
  int32_t width;   ///< visible columns
  int32_t height;  ///< visible lines

  /// Return the address of a pixel. It follows from the position, on or off the screen.
  pixel *at(int32_t x, int32_t y) const noexcept {
    return reinterpret_cast<pixel *>(base + y * pitch + ptrdiff_t{x} * 2);
  }
  pixel *at(position p) const noexcept { return at(p.x, p.y); }

  /// As above, for a pixel in memory whose column or line may be so far off that 32 bits do not hold its distance.
  pixel *at_far(int64_t x, int64_t y) const noexcept {
    return reinterpret_cast<pixel *>(base + static_cast<ptrdiff_t>(y * pitch + x * 2));
  }
};

inline surface screen() noexcept {
  return {fbp, static_cast<ptrdiff_t>(fbinfo[FBINFO_LINE_LENGTH]), static_cast<int32_t>(fbinfo[FBINFO_XRES]),
          static_cast<int32_t>(fbinfo[FBINFO_YRES])};
}

/// Return the address `bytes` further on, or back.
inline pixel *step(pixel *from, ptrdiff_t bytes) noexcept {
  return reinterpret_cast<pixel *>(reinterpret_cast<uint8_t *>(from) + bytes);
}

/// Return whether an object of this size, which a file specifies, is larger than the screen. No position
/// makes it fit, so it is truncated to frame buffer memory.
inline bool is_oversized(const surface &on, int64_t width, int64_t height) noexcept {
  return width > on.width || height > on.height;
}

/// Pixels of a row from `first` to `end`, excluding `end`.
struct row_part {
  size_t first, end;

  constexpr bool empty() const noexcept { return end <= first; }
};

/// Start and end of frame buffer memory, in bytes from the top-left pixel.
struct memory_bounds {
  int64_t begin, end;
  ptrdiff_t pitch;

  constexpr int64_t offset(int32_t x, int64_t y) const noexcept { return y * pitch + int64_t{x} * 2; }

  /// Return the part of a row of `count` pixels that is in frame buffer memory.
  constexpr row_part part_of(int32_t x, int64_t y, size_t count) const noexcept {
    const int64_t at = offset(x, y), room = (end - at) >> 1;
    const auto before = static_cast<size_t>(std::max<int64_t>((begin - at + 1) >> 1, 0));
    return {before,
            room <= 0 ? 0 : static_cast<size_t>(std::min<uint64_t>(count, static_cast<uint64_t>(room)))};
  }
};

/// Return the mapping if ::fbp points into it, else the memory that the screen information describes from
/// ::fbp on. Unlimited if the screen information is empty.
inline memory_bounds memory_of(const surface &on) noexcept {
  constexpr int64_t unlimited = INT64_MAX / 4;
  const int64_t mapped = fbinfo[FBINFO_SCREEN_SIZE];
  const uintptr_t from_start = reinterpret_cast<uintptr_t>(on.base) - reinterpret_cast<uintptr_t>(fbp0);
  if (const auto start = static_cast<int64_t>(from_start); from_start < static_cast<uint64_t>(mapped))
    return {-start, mapped - start, on.pitch};
  const int64_t described = std::max(mapped, int64_t{on.pitch} * on.height);
  return described != 0 ? memory_bounds{0, described, on.pitch}
                        : memory_bounds{-unlimited, unlimited, on.pitch};
}

} // namespace dravik::fb
