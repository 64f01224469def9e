// Rows with one bit per pixel: glyphs and two-colour images.
#pragma once

#include "fb/pair_row.hpp"
#include "fb/vectors.hpp"

#include <array>
#include <span>

namespace dravik::fb {

/// The bits of each byte spread over eight pixels: all ones for a set bit.
inline constexpr std::array<vector_of_8, 256> masks_of_bits = [] {
  std::array<vector_of_8, 256> table{};
  for (size_t bits = 0; bits < table.size(); ++bits) {
    const auto lane = [bits](size_t place) {
      return static_cast<uint16_t>((bits >> (7 - place) & 1) != 0 ? 0xFFFF : 0);
    };
    table[bits] = vector_of_8{lane(0), lane(1), lane(2), lane(3), lane(4), lane(5), lane(6), lane(7)};
  }
  return table;
}();

/// Draws bits in two colours; bit 7 of each byte is the left pixel.
class opaque_bits {
public:
  constexpr opaque_bits(uint16_t clear, uint16_t set) noexcept
      : clear_(clear), set_(set), pairs_{pixel_pair(clear, clear), pixel_pair(clear, set),
                                         pixel_pair(set, clear), pixel_pair(set, set)} {}

  void put8(pixel *at, uint8_t bits) const noexcept {
    if constexpr (has_wide_registers) {
      store(at, colours_of(bits));
    } else {
      put(at, bits, 8);
    }
  }

  /// Draw the first `count` bits, up to 8.
  void put(pixel *at, uint8_t bits, uint32_t count) const noexcept {
    uint32_t rest = bits;
    if (has_wide_registers && count >= 4) {
      store(at, reinterpret_cast<vector_of_2>(colours_of(bits))[0]);
      rest <<= 4, at += 4, count -= 4;
    }
    if (splits_word(at) && count != 0) {
      *at++ = (rest & 0x80) != 0 ? set_ : clear_;
      rest <<= 1;
      --count;
    }
    for (; count >= 2; count -= 2, at += 2, rest <<= 2)
      store_pair(at, pairs_[rest >> 6 & 3]);
    if (count != 0)
      *at = (rest & 0x80) != 0 ? set_ : clear_;
  }

private:
  vector_of_8 colours_of(uint8_t bits) const noexcept {
    const auto difference = static_cast<uint16_t>(clear_ ^ set_);
    return (masks_of_bits[bits] & difference) ^ clear_;
  }

  uint16_t clear_;
  uint16_t set_;
  std::array<uint32_t, 4> pairs_;
};

/// The positions of the set bits of each byte, from the left; the last one is repeated to fill eight.
struct bit_places {
  uint8_t places[8];
};

constexpr std::array<bit_places, 256> places_of_bits = [] {
  std::array<bit_places, 256> table{};
  for (size_t bits = 1; bits < table.size(); ++bits) {
    size_t count = 0;
    for (uint8_t place = 0; place < 8; ++place)
      if ((bits >> (7 - place) & 1) != 0)
        table[bits].places[count++] = place;
    for (; count < 8; ++count)
      table[bits].places[count] = table[bits].places[count - 1];
  }
  return table;
}();

/// Draws set bits and leaves the pixels of clear bits unchanged.
class transparent_bits {
public:
  constexpr explicit transparent_bits(uint16_t set) noexcept : set_(set) {}

  void put8(pixel *at, uint8_t bits) const noexcept {
    if (bits == 0)
      return;
    const auto &places = places_of_bits[bits].places;
    at[places[0]] = set_;
    at[places[1]] = set_;
    if (places[1] == places[7])
      return;
    at[places[2]] = set_;
    at[places[3]] = set_;
    if (places[3] == places[7])
      return;
    for (size_t i = 4; i < 8; ++i)
      at[places[i]] = set_;
  }

  void put(pixel *at, uint8_t bits, uint32_t count) const noexcept {
    put8(at, static_cast<uint8_t>(bits & ~(0xFFU >> count)));
  }

private:
  uint16_t set_;
};

template <size_t RowBytes, class PutRow>
void each_bit_row(std::span<const uint8_t> rows, pixel *at, ptrdiff_t pitch, PutRow put_row) noexcept {
  for (; !rows.empty(); rows = rows.subspan(RowBytes), at = step(at, pitch))
    put_row(at, rows.data());
}

/// Draw rows of up to 16 bits. A row has one byte for up to eight bits, else two.
template <class Painter>
void put_bit_rows(std::span<const uint8_t> rows, pixel *at, ptrdiff_t pitch, uint32_t width,
                  Painter paint) noexcept {
  if (width < 8)
    return each_bit_row<1>(rows, at, pitch,
                           [=](pixel *to, const uint8_t *bits) { paint.put(to, *bits, width); });
  if (width == 8)
    return each_bit_row<1>(rows, at, pitch, [=](pixel *to, const uint8_t *bits) { paint.put8(to, *bits); });
  if (width < 16)
    return each_bit_row<2>(rows, at, pitch, [=](pixel *to, const uint8_t *bits) {
      paint.put8(to, bits[0]);
      paint.put(to + 8, bits[1], width - 8);
    });
  each_bit_row<2>(rows, at, pitch, [=](pixel *to, const uint8_t *bits) {
    paint.put8(to, bits[0]);
    paint.put8(to + 8, bits[1]);
  });
}

} // namespace dravik::fb
