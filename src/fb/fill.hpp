// Fills of one colour: spans, columns and blocks.
#pragma once

#include "base/unaligned.hpp"
#include "fb/surface.hpp"
#include "fb/vectors.hpp"

#include <cwchar>

namespace dravik::fb {

/// Store to an address with the alignment of a pixel: at once, or pixel by pixel on machines that require more.
template <class T> inline void store(pixel *at, T value) noexcept {
  dravik::store<alignof(pixel)>(at, value);
}

/// Return whether a row begins in the middle of an aligned word. Its first pixel is then stored by itself, and
/// those that follow by store_pair().
inline bool splits_word(const pixel *row) noexcept {
  return !has_wide_registers && (reinterpret_cast<uintptr_t>(row) & 2) != 0;
}

/// Store two pixels that do not split a word.
inline void store_pair(pixel *at, uint32_t pair) noexcept {
  dravik::store<has_wide_registers ? alignof(pixel) : alignof(uint32_t)>(at, pair);
}

/// Fill `count` pixels from `at` on, in order.
void fill_span(pixel *at, size_t count, uint16_t colour) noexcept;

/// Fill `rows` rows of `width` pixels, `pitch` bytes apart.
void fill_block(pixel *at, ptrdiff_t pitch, size_t width, size_t rows, uint16_t colour) noexcept;

/// Fill `rows` single pixels, `pitch` bytes apart.
void fill_column(pixel *at, ptrdiff_t pitch, size_t rows, uint16_t colour) noexcept;

} // namespace dravik::fb
