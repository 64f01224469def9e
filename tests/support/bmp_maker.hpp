// BMP files made from their fields, right or wrong.
#pragma once

#include "support/bytes.hpp"

#include <optional>

namespace dravik::test {

/// A BMP file of these fields; unset fields follow from the rest.
struct bmp_maker {
  uint32_t width = 0, height = 0;
  uint16_t bits = 24;
  bytes palette = {}; ///< at byte 54
  bytes pixels = {};  ///< rows as in the file, the bottom row first
  uint32_t info_size = 40, important_colours = 0, data_size = 0;
  std::optional<uint32_t> data_offset = {}, file_size = {};
  char signature[2] = {'B', 'M'};

  size_t row_size() const { return (size_t{width} * bits + 31) / 32 * 4; }

  bmp_maker &with_random_pixels(std::mt19937 &random) {
    pixels = random_bytes(random, row_size() * height);
    return *this;
  }

  /// `pixel(x, y)` of a 16-bit image, y counted from the top.
  bmp_maker &set16(uint32_t x, uint32_t y, uint16_t colour) {
    pixels.resize(row_size() * height);
    put_u16(pixels, (height - 1 - y) * row_size() + size_t{x} * 2, colour);
    return *this;
  }

  bytes file() const {
    bytes made(54);
    append(made, palette);
    const auto pixels_at = data_offset.value_or(static_cast<uint32_t>(made.size()));
    if (made.size() < pixels_at && pixels_at < 100000)
      made.resize(pixels_at);
    append(made, pixels);
    made[0] = static_cast<uint8_t>(signature[0]);
    made[1] = static_cast<uint8_t>(signature[1]);
    put_u32(made, 2, file_size.value_or(static_cast<uint32_t>(made.size())));
    put_u32(made, 10, pixels_at);
    put_u32(made, 14, info_size);
    put_u32(made, 18, width);
    put_u32(made, 22, height);
    put_u16(made, 26, 1);
    put_u16(made, 28, bits);
    put_u32(made, 34, data_size);
    put_u32(made, 50, important_colours);
    return made;
  }
};

/// A palette entry as stored in a file.
inline void add_colour(bytes &palette, uint8_t red, uint8_t green, uint8_t blue) {
  append(palette, {blue, green, red, 0});
}

} // namespace dravik::test
