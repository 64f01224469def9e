// PC Screen Fonts made from their fields, right or wrong.
#pragma once

#include "support/bytes.hpp"

namespace dravik::test {

inline bytes psf1_file(uint8_t mode, uint8_t charsize, const bytes &glyphs) {
  bytes made = {0x36, 0x04, mode, charsize};
  append(made, glyphs);
  return made;
}

/// The header of version 2; `glyphs_at` bytes from the start on come the glyphs.
struct psf2_maker {
  uint32_t length = 0, charsize = 0, height = 0, width = 0;
  bytes glyphs = {};
  uint32_t glyphs_at = 32, version = 0, flags = 0;

  /// A font of one cell size with `count` glyphs of random bits.
  static psf2_maker random_font(std::mt19937 &random, uint32_t cell_width, uint32_t cell_height,
                                uint32_t count) {
    const uint32_t size = (cell_width + 7) / 8 * cell_height;
    return {count, size, cell_height, cell_width, random_bytes(random, size_t{size} * count)};
  }

  bytes file() const {
    bytes made = {0x72, 0xB5, 0x4A, 0x86};
    made.resize(32);
    const uint32_t fields[] = {version, glyphs_at, flags, length, charsize, height, width};
    for (size_t i = 0; i < 7; ++i)
      put_u32(made, 4 + 4 * i, fields[i]);
    if (made.size() < glyphs_at && glyphs_at < 100000)
      made.resize(glyphs_at);
    append(made, glyphs);
    return made;
  }
};

} // namespace dravik::test
