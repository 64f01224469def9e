// The one way to fill: spans, columns and blocks of one colour.
#pragma once

#include "fb/surface.hpp"

#include <cstring>
#include <cwchar>

namespace dravik::fb {

/// Store without caring for alignment beyond a pixel's; the compiler picks what the machine can do.
template <class T> inline void store(pixel *at, T value) noexcept {
  std::memcpy(__builtin_assume_aligned(at, alignof(pixel)), &value, sizeof value);
}

/// Fill `count` pixels from `at`, in order.
void fill_span(pixel *at, size_t count, uint16_t colour) noexcept;

/// Fill `rows` rows of `width` pixels, `pitch` bytes apart.
void fill_block(pixel *at, ptrdiff_t pitch, size_t width, size_t rows, uint16_t colour) noexcept;

/// Fill `rows` single pixels, `pitch` bytes apart.
void fill_column(pixel *at, ptrdiff_t pitch, size_t rows, uint16_t colour) noexcept;

} // namespace dravik::fb
