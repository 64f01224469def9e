// Small fonts made by hand, and excerpts of real ones.
#pragma once

#include "support/bytes.hpp"

#include <array>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace dravik::test {

/// A font file of this process, which is removed at the end.
class font_file {
public:
  explicit font_file(const bytes &content);
  explicit font_file(const std::string &content) : font_file(bytes(content.begin(), content.end())) {}
  ~font_file();
  font_file(const font_file &) = delete;
  font_file &operator=(const font_file &) = delete;

  const std::string &path() const { return path_; }

private:
  std::string path_;
};

/// The tables of a TrueType file by their tags.
using font_tables = std::map<std::string, bytes>;

font_tables take_apart(const bytes &file);
bytes put_together(const font_tables &tables);

/// A filled rectangle, left, bottom, right and top in the units of the em square.
using rectangle = std::array<int16_t, 4>;

struct made_glyph {
  uint16_t advance;
  std::optional<rectangle> filled = {};
};

/// A TrueType font of rectangles for the characters from 'A' on, and an empty space.
bytes make_truetype(uint16_t units_per_em, const std::vector<made_glyph> &glyphs, uint16_t space_advance = 0);

/// A real font reduced to its first glyphs, its programs and a table of the characters from '!' on.
bytes make_excerpt(const bytes &file, uint16_t glyph_count);

struct made_bitmap {
  char16_t unit;
  int advance;
  int left, bottom;                   ///< of the bitmap, from the pen
  std::vector<std::string> rows = {}; ///< '#' is ink
};

/// A font of bitmaps of one bit per pixel, `pixels` high.
std::string make_bdf(int pixels, const std::vector<made_bitmap> &glyphs);

} // namespace dravik::test
