// Rows with four bits per pixel, drawn two pixels at a time.
#pragma once

#include "fb/fill.hpp"

#include <array>
#include <bit>

namespace dravik::fb {

static_assert(std::endian::native == std::endian::little, "the left pixel is the low half of a word");

constexpr uint32_t pixel_pair(uint16_t left, uint16_t right) noexcept {
  return uint32_t{right} << 16 | left;
}

/// The two pixels of every byte value; the left one is in bits 7:4.
using pair_table = std::array<uint32_t, 256>;

template <class Colour> constexpr void make_pairs(pair_table &pairs, Colour colour_of_level) noexcept {
  for (size_t byte = 0; byte < pairs.size(); ++byte)
    pairs[byte] = pixel_pair(colour_of_level(byte >> 4), colour_of_level(byte & 15));
}

/// Draw a row that splits words: each stored word has the right pixel of one byte and the left one of the next.
inline void put_split_pair_row(pixel *to, const uint8_t *from, size_t width,
                               const pair_table &pairs) noexcept {
  uint32_t pair = pairs[*from++];
  *to++ = static_cast<uint16_t>(pair);
  for (--width; width >= 2; width -= 2, to += 2) {
    const uint32_t next = pairs[*from++];
    store_pair(to, pair >> 16 | next << 16);
    pair = next;
  }
  if (width != 0)
    *to = static_cast<uint16_t>(pair >> 16);
}

/// Draw another row, byte by byte on machines without wide registers.
inline void put_whole_pair_row(pixel *to, const uint8_t *from, size_t width,
                               const pair_table &pairs) noexcept {
  constexpr size_t pixels = 2 * sizeof(uint64_t);
  for (; has_wide_registers && width >= pixels; width -= pixels, to += pixels, from += sizeof(uint64_t)) {
    auto bytes = load<uint64_t>(from);
    for (size_t i = 0; i < pixels; i += 4, bytes >>= 16)
      store(to + i, uint64_t{pairs[bytes >> 8 & 0xFF]} << 32 | pairs[bytes & 0xFF]);
  }
  for (; width >= 2; width -= 2, to += 2)
    store_pair(to, pairs[*from++]);
  if (width != 0)
    *to = static_cast<uint16_t>(pairs[*from]);
}

inline void put_pair_row(pixel *to, const uint8_t *from, size_t width, const pair_table &pairs) noexcept {
  if (splits_word(to) && width != 0)
    return put_split_pair_row(to, from, width, pairs);
  put_whole_pair_row(to, from, width, pairs);
}

} // namespace dravik::fb
