// A reader of PC Screen Fonts of its own, and the text that it expects on the screen.
#pragma once

#include "support/bytes.hpp"

#include <zlib.h>

namespace dravik::test {

/// A font file as its format says.
struct psf_file {
  int version = 0;
  uint32_t length = 0, charsize = 0, width = 0, height = 0;
  bytes glyphs;

  explicit psf_file(const bytes &file) {
    if (file.size() >= 4 && file[0] == 0x36 && file[1] == 0x04) {
      version = 1;
      length = (file[2] & 1) != 0 ? 512 : 256;
      charsize = height = file[3];
      width = 8;
      take_glyphs(file, 4);
    } else if (file.size() >= 32 && get_u32(file, 0) == 0x864AB572) {
      version = 2;
      length = get_u32(file, 16);
      charsize = get_u32(file, 20);
      height = get_u32(file, 24);
      width = get_u32(file, 28);
      take_glyphs(file, get_u32(file, 8));
    }
  }

  /// Whether a pixel of a glyph is set. Rows are taken one byte long up to 8 columns, else two.
  bool is_set(uint32_t glyph, uint32_t column, uint32_t row) const {
    const uint32_t row_bytes = width <= 8 ? 1 : 2;
    const uint8_t byte = glyphs.at(size_t{glyph} * charsize + row * row_bytes + column / 8);
    return (byte & (0x80 >> column % 8)) != 0;
  }

private:
  void take_glyphs(const bytes &file, size_t from) {
    for (size_t i = 0; i < size_t{length} * charsize; ++i)
      glyphs.push_back(from + i < file.size() ? file[from + i] : 0);
  }
};

inline bytes gunzip(const std::string &path) {
  bytes content;
  if (const gzFile file = ::gzopen(path.c_str(), "rb")) {
    uint8_t block[65536];
    for (int got; (got = ::gzread(file, block, sizeof block)) > 0;)
      content.insert(content.end(), block, block + got);
    ::gzclose(file);
  }
  return content;
}

} // namespace dravik::test
