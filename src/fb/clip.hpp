// Ranges of columns and rows, and clipping them to the screen.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace dravik::fb {

/// The whole numbers from `first` to `last`, both included; empty if `last` is less than `first`.
struct range {
  int32_t first;
  int32_t last;

  constexpr bool empty() const noexcept { return last < first; }
  constexpr size_t count() const noexcept {
    return empty() ? 0 : size_t{static_cast<uint32_t>(last) - static_cast<uint32_t>(first)} + 1;
  }
  constexpr bool within(int32_t size) const noexcept { return first >= 0 && last < size; }
};

constexpr range between(int32_t a, int32_t b) noexcept {
  return {std::min(a, b), std::max(a, b)};
}

/// Clip a range to a screen of `size` columns or rows.
constexpr range clipped(range r, int32_t size) noexcept {
  return {std::max(r.first, 0), std::min(r.last, size - 1)};
}

/// Clip the end only: side edges may start above the screen.
constexpr range clipped_end(range r, int32_t size) noexcept {
  return {r.first, std::min(r.last, size - 1)};
}

} // namespace dravik::fb
