// Rows of four bits a pixel, painted two pixels at a time.
#pragma once

#include "fb/fill.hpp"

#include <array>
#include <bit>

namespace dravik::fb {

static_assert(std::endian::native == std::endian::little, "the left pixel is the low half of a word");

constexpr uint32_t pixel_pair(uint16_t left, uint16_t right) noexcept {
  return uint32_t{right} << 16 | left;
}

/// Both pixels of every byte, the left one in its high half.
using pair_table = std::array<uint32_t, 256>;

template <class Colour> constexpr void make_pairs(pair_table &pairs, Colour colour_of_level) noexcept {
  for (size_t byte = 0; byte < pairs.size(); ++byte)
    pairs[byte] = pixel_pair(colour_of_level(byte >> 4), colour_of_level(byte & 15));
}

/// Paints eight bytes, which are loaded as one, in wide stores.
inline void put_16_pixels(pixel *to, const uint8_t *from, const pair_table &pairs) noexcept {
  uint64_t bytes;
  std::memcpy(&bytes, from, sizeof bytes);
  for (size_t i = 0; i < 4; ++i, bytes >>= 16)
    store(to + i * 4, uint64_t{pairs[bytes >> 8 & 0xFF]} << 32 | pairs[bytes & 0xFF]);
}

inline void put_pair_row(pixel *to, const uint8_t *from, size_t width, const pair_table &pairs) noexcept {
  if constexpr (sizeof(void *) == 8)
    for (; width >= 16; width -= 16, to += 16, from += 8)
      put_16_pixels(to, from, pairs);
  for (; width >= 2; width -= 2, to += 2)
    store(to, pairs[*from++]);
  if (width != 0)
    *to = static_cast<uint16_t>(pairs[*from]);
}

} // namespace dravik::fb
