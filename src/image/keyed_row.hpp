// Rows of 16-bit pixels with a colour key.
#pragma once

#include "fb/fill.hpp"
#include "fb/vectors.hpp"
#include "image/bmp_format.hpp"

#include <cstring>

namespace dravik::image {

/// Makes the key colour transparent, and black if `WithoutBlack`; leaves other colours unchanged.
template <bool WithoutBlack> struct key_colour {
  uint16_t key;

  template <class Pixel> constexpr auto leaves_out(Pixel colour) const noexcept {
    if constexpr (WithoutBlack) {
      return (colour == key) | (colour == 0);
    } else {
      return colour == key;
    }
  }
};

/// The colour of a pixel that is drawn: its own, or one for all.
inline constexpr auto own_colour = []<class Pixel>(Pixel colour) { return colour; };
inline constexpr auto silhouette = []<class Pixel>(Pixel) {
  return static_cast<Pixel>(Pixel{} + bmp_silhouette);
};

/// Draw the pixels of a row that `key` does not make transparent, in the colours of `paint`. `from` needs no
/// alignment. Machines with 16-byte registers examine eight pixels at a time.
template <class Key, class Paint>
void put_keyed_row(fb::pixel *to, const uint8_t *from, size_t width, Key key, Paint paint) noexcept {
  const auto put_some = [=](size_t first, size_t last) {
    for (size_t i = first; i < last; ++i) {
      uint16_t colour;
      std::memcpy(&colour, from + i * 2, sizeof colour);
      if (!key.leaves_out(colour))
        to[i] = paint(colour);
    }
  };
  size_t done = 0;
  for (; fb::has_wide_registers && width - done >= 8; done += 8) {
    fb::vector_of_8 colours;
    std::memcpy(&colours, from + done * 2, sizeof colours);
    const auto left_out = reinterpret_cast<fb::vector_of_2>(key.leaves_out(colours));
    if ((left_out[0] | left_out[1]) == 0) {
      fb::store(to + done, paint(colours));
    } else if ((left_out[0] & left_out[1]) != UINT64_MAX) {
      put_some(done, done + 8);
    }
  }
  put_some(done, width);
}

} // namespace dravik::image
