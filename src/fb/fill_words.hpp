// Fills by aligned words, on machines without wide registers.
#pragma once

#include "fb/fill.hpp"

namespace dravik::fb {

using word [[gnu::may_alias]] = uint32_t;
/// Stored in one instruction: compilers for ARM split stores that are not volatile.
using two_words [[gnu::may_alias]] = volatile uint64_t;

constexpr uint32_t twice(uint16_t colour) noexcept {
  return uint32_t{colour} * 0x10001U;
}

/// A row as words of two pixels, and the pixels before and after them that split a word.
struct word_row {
  word *at;
  size_t count;
  bool has_first, has_last;

  word_row(pixel *from, size_t width) noexcept {
    has_first = (reinterpret_cast<uintptr_t>(from) & 2) != 0 && width != 0;
    at = reinterpret_cast<word *>(from + has_first);
    width -= has_first;
    count = width / 2;
    has_last = width % 2 != 0;
  }
};

/// Fill `Count` words from an 8-byte boundary on. Return the end.
template <size_t Count> word *put_words(word *at, uint64_t four) noexcept {
#pragma GCC unroll 16
  for (size_t i = 0; i < Count; i += 2)
    *reinterpret_cast<two_words *>(at + i) = four;
  return at + Count;
}

/// Fill words, two at a time from an 8-byte boundary on.
inline void fill_words(word *at, size_t count, uint32_t two) noexcept {
  if ((reinterpret_cast<uintptr_t>(at) & 4) != 0 && count != 0) {
    *at++ = two;
    --count;
  }
  const uint64_t four = uint64_t{two} << 32 | two;
  constexpr size_t round = 32;
  for (const word *const end = at + count / round * round; at != end;)
    at = put_words<round>(at, four);
  if ((count & 16) != 0)
    at = put_words<16>(at, four);
  if ((count & 8) != 0)
    at = put_words<8>(at, four);
  if ((count & 4) != 0)
    at = put_words<4>(at, four);
  if ((count & 2) != 0)
    at = put_words<2>(at, four);
  if ((count & 1) != 0)
    *at = two;
}

inline void fill_wide_row(pixel *from, size_t width, uint16_t colour) noexcept {
  const word_row row(from, width);
  if (row.has_first)
    *from = colour;
  fill_words(row.at, row.count, twice(colour));
  if (row.has_last)
    from[width - 1] = colour;
}

/// Fill rows of `Words` words, all with the alignment of the first.
template <size_t Words>
void fill_narrow_rows(const word_row &first, ptrdiff_t pitch, size_t rows, uint16_t colour) noexcept {
  const bool has_first = first.has_first, has_last = first.has_last;
  const uint32_t two = twice(colour);
  auto *at = reinterpret_cast<pixel *>(first.at);
  for (; rows > 0; --rows, at = step(at, pitch)) {
    if (has_first)
      at[-1] = colour;
#pragma GCC unroll 8
    for (size_t i = 0; i < Words; ++i)
      reinterpret_cast<word *>(at)[i] = two;
    if (has_last)
      at[2 * Words] = colour;
  }
}

/// Fill rows of up to `narrow` pixels, whose pitch keeps the alignment.
constexpr size_t narrow = 17;
inline void fill_narrow_block(const word_row &first, ptrdiff_t pitch, size_t rows, uint16_t colour) noexcept {
  switch (first.count) {
  case 0:
    return fill_narrow_rows<0>(first, pitch, rows, colour);
  case 1:
    return fill_narrow_rows<1>(first, pitch, rows, colour);
  case 2:
    return fill_narrow_rows<2>(first, pitch, rows, colour);
  case 3:
    return fill_narrow_rows<3>(first, pitch, rows, colour);
  case 4:
    return fill_narrow_rows<4>(first, pitch, rows, colour);
  case 5:
    return fill_narrow_rows<5>(first, pitch, rows, colour);
  case 6:
    return fill_narrow_rows<6>(first, pitch, rows, colour);
  case 7:
    return fill_narrow_rows<7>(first, pitch, rows, colour);
  default:
    return fill_narrow_rows<8>(first, pitch, rows, colour);
  }
}

inline void fill_block_by_words(pixel *at, ptrdiff_t pitch, size_t width, size_t rows,
                                uint16_t colour) noexcept {
  if (width <= narrow && pitch % 4 == 0)
    return fill_narrow_block(word_row(at, width), pitch, rows, colour);
  for (; rows > 0; --rows, at = step(at, pitch))
    fill_wide_row(at, width, colour);
}

} // namespace dravik::fb
