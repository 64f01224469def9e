// Fills of one colour: spans, columns and blocks.
#pragma once

#include "fb/surface.hpp"

#include <cstring>
#include <cwchar>

namespace dravik::fb {

/// Store to an address with the alignment of a pixel.
template <class T> inline void store(pixel *at, T value) noexcept {
  std::memcpy(__builtin_assume_aligned(at, alignof(pixel)), &value, sizeof value);
}

/// Fill `count` pixels from `at` on, in order.
void fill_span(pixel *at, size_t count, uint16_t colour) noexcept;

/// Fill `rows` rows of `width` pixels, `pitch` bytes apart.
void fill_block(pixel *at, ptrdiff_t pitch, size_t width, size_t rows, uint16_t colour) noexcept;

/// Fill `rows` single pixels, `pitch` bytes apart.
void fill_column(pixel *at, ptrdiff_t pitch, size_t rows, uint16_t colour) noexcept;

} // namespace dravik::fb
