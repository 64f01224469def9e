// The screen as drawing sees it: the exported address and record, taken once at the start of a call.
#pragma once

#include "dravik.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace dravik::fb {

/// A pixel in screen memory; may alias, since the same memory is filled by wider stores.
using pixel [[gnu::may_alias]] = uint16_t;

/// Columns right of and lines below the top-left pixel; negative ones are left of and above the screen.
struct position {
  int32_t x, y;

  /// Wraps modulo 2^32, as unsigned positions do.
  constexpr position moved(uint32_t right, uint32_t down) const noexcept {
    return {static_cast<int32_t>(static_cast<uint32_t>(x) + right),
            static_cast<int32_t>(static_cast<uint32_t>(y) + down)};
  }
};

/// An unsigned position: "-1" means the same on every machine.
constexpr position position_of(uint32_t x, uint32_t y) noexcept {
  return {static_cast<int32_t>(x), static_cast<int32_t>(y)};
}

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
  pixel *at(position p) const noexcept { return at(p.x, p.y); }
};

inline surface screen() noexcept {
  return {fbp, static_cast<ptrdiff_t>(fbinfo[FBINFO_LINE_LENGTH]), static_cast<int32_t>(fbinfo[FBINFO_XRES]),
          static_cast<int32_t>(fbinfo[FBINFO_YRES])};
}

/// The address `bytes` further on (or back).
inline pixel *step(pixel *from, ptrdiff_t bytes) noexcept {
  return reinterpret_cast<pixel *>(reinterpret_cast<uint8_t *>(from) + bytes);
}

/// Whether an object of this size, which a file specifies, is larger than the screen. No position keeps it on
/// the screen, so it is truncated to frame buffer memory.
inline bool is_oversized(const surface &on, int64_t width, int64_t height) noexcept {
  return width > on.width || height > on.height;
}

/// Pixels of a row: from `first` up to, not including, `end`.
struct row_part {
  size_t first, end;

  constexpr bool empty() const noexcept { return end <= first; }
};

/// Where frame buffer memory begins and ends, in bytes from the top-left pixel.
struct memory_bounds {
  int64_t begin, end;
  ptrdiff_t pitch;

  constexpr int64_t offset(int32_t x, int64_t y) const noexcept { return y * pitch + int64_t{x} * 2; }

  /// The part of a row of `count` pixels from a position that is in the memory.
  constexpr row_part part_of(int32_t x, int64_t y, size_t count) const noexcept {
    const int64_t at = offset(x, y), room = (end - at) >> 1;
    const auto before = static_cast<size_t>(std::max<int64_t>((begin - at + 1) >> 1, 0));
    return {before,
            room <= 0 ? 0 : static_cast<size_t>(std::min<uint64_t>(count, static_cast<uint64_t>(room)))};
  }
};

/// The mapping if ::fbp points into it, else what the screen information describes from ::fbp on. Unlimited
/// while it describes nothing.
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
