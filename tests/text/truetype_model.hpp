// A model of drawing a line of anti-aliased text, step by step with FreeType itself.
#pragma once

#include "support/screen.hpp"

#include <cstdint>
#include <ft2build.h>
#include FT_FREETYPE_H
#include <string>
#include <vector>

namespace dravik::test {

/// The arguments of one call; the font is named by its file.
struct text_call {
  std::u16string text;
  uint32_t font_size = 20;
  std::string font = {};
  uint32_t x = 20, y = 30;
  uint16_t fg = DRAVIK_BLACK, bg = DRAVIK_WHITE;
  int32_t align = DRAVIK_TOP_LEFT;
};

class text_model {
public:
  static constexpr int columns = DRAVIK_PLANE_WIDTH, rows = DRAVIK_PLANE_HEIGHT;

  struct box {
    int32_t left, top, right, bottom;
    friend bool operator==(const box &, const box &) = default;
  };

  /// Compose, measures and draw. Return the expected text on standard error.
  std::string draw(const text_call &call, const model_plane &screen);

  std::vector<uint8_t> plane = std::vector<uint8_t>(columns * rows);
  std::u16string units;                             ///< the part of the text that is used
  box measured = {};                                ///< on the plane
  int32_t width = 0, height = 0;                    ///< of the last text that did not fail
  int pixels = 0;                                   ///< drawn by the last call
  static int first_entry(uint16_t bg, uint16_t fg); ///< of the ramp in the colour table

private:
  std::string compose(const text_call &call, FT_Library library);
  std::string compose_unit(FT_Library library, FT_Face face, FT_Vector &pen, size_t index);
  void measure(const FT_GlyphSlotRec &glyph, const FT_Vector &pen, size_t index);
  void store(FT_Library library, const FT_GlyphSlotRec &glyph, const FT_Vector &pen);
  uint8_t &cell(int64_t column, int64_t row);
  int64_t end_of_drawing() const;
  void copy(int64_t x, int64_t y, const text_call &call, const model_plane &screen);
};

} // namespace dravik::test
