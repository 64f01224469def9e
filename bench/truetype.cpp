// Lines of anti-aliased text.

#include "harness.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <ft2build.h>
#include FT_FREETYPE_H

namespace bench {
namespace {

constexpr int plane_width = DRAVIK_PLANE_WIDTH, plane_height = DRAVIK_PLANE_HEIGHT;
constexpr int pen_column = 10, pen_row = 100, baseline = 200;

struct line {
  std::u16string text;
  uint32_t size, font;
};

/// Shared by the reference implementation and the lower bound: the calls of FreeType, and `take` for each
/// rendered glyph.
template <class Take> void render(const line &what, Take take) {
  FT_Library library;
  FT_Face face;
  FT_Init_FreeType(&library);
  FT_New_Face(library, ttf_font_file[what.font], 0, &face);
  FT_Set_Char_Size(face, static_cast<FT_F26Dot6>(what.size) * 64, 0, 80, 0);
  FT_Vector pen = {pen_column * 64, pen_row * 64};
  FT_Matrix identity = {0x10000, 0, 0, 0x10000};
  for (const char16_t unit : what.text) {
    FT_Set_Transform(face, &identity, &pen);
    FT_Load_Glyph(face, FT_Get_Char_Index(face, unit), FT_LOAD_DEFAULT);
    FT_Render_Glyph(face->glyph, FT_RENDER_MODE_NORMAL);
    take(*face->glyph, unit, pen);
    pen.x += face->glyph->advance.x;
    pen.y += face->glyph->advance.y;
  }
  FT_Done_Face(face);
  FT_Done_FreeType(library);
}

std::array<uint8_t, size_t{plane_width} * plane_height> plane;

void compose(const FT_GlyphSlotRec &glyph) {
  const FT_Bitmap &bitmap = glyph.bitmap;
  uint8_t *cells =
      &plane[static_cast<size_t>((baseline - glyph.bitmap_top) * plane_width + glyph.bitmap_left)];
  const uint8_t *from = bitmap.buffer;
  for (unsigned row = 0; row < bitmap.rows; ++row, cells += plane_width, from += bitmap.pitch)
    for (unsigned column = 0; column < bitmap.width; ++column)
      cells[column] = from[column] >> 4;
}

/// Draw the box of the plane around the text on the screen, through a ramp.
void put_box(const box &from, int x, int y, bool is_opaque) {
  const uint16_t *ramp = gc + (is_opaque ? DRAVIK_WHITE_ON_BLACK : DRAVIK_BLACK_ON_WHITE) * DRAVIK_RAMP_STEPS;
  for (int row = 0; row < from.height; ++row) {
    const uint8_t *cells = &plane[static_cast<size_t>((from.y + row) * plane_width + from.x)];
    uint16_t *to = pixel_at(x, y + row);
    for (int column = 0; column < from.width; ++column)
      if (is_opaque || cells[column] != 0)
        to[column] = ramp[cells[column]];
  }
}

/// The usual program: copy FreeType's glyphs to a plane, and the plane to the screen.
void put_by_hand(const line &what, int x, int y, bool is_opaque) {
  std::memset(plane.data(), 0, plane.size());
  int left = pen_column, right = 0, top = plane_height, bottom = 0;
  render(what, [&](const FT_GlyphSlotRec &glyph, char16_t unit, const FT_Vector &pen) {
    compose(glyph);
    if (unit == u' ')
      return;
    left = std::min(left, glyph.bitmap_left);
    right = static_cast<int>(pen.x / 64 + glyph.advance.x / 64);
    top = std::min(top, baseline - glyph.bitmap_top);
    bottom = std::max(bottom, static_cast<int>(glyph.bitmap.rows) - glyph.bitmap_top + baseline);
  });
  put_box({left, top, right - left + 1, bottom - top + 1}, x, y, is_opaque);
}

void require_font(const char *path) {
  if (std::FILE *file = std::fopen(path, "rb"); file != nullptr) {
    std::fclose(file);
    return;
  }
  std::perror(path);
  std::exit(EXIT_FAILURE);
}

void add_line(const std::string &name, const line &what, bool is_opaque) {
  constexpr int x = 40, y = 60;
  row<line>(name + (is_opaque ? ", opaque" : ", transparent"), {1.05, 0}, {what})
      .library([is_opaque](const line &l) {
        put_unicode_string(x, y, l.text.c_str(), l.size, l.font, DRAVIK_WHITE,
                           is_opaque ? DRAVIK_BLACK : DRAVIK_TRANSPARENT, DRAVIK_TOP_LEFT);
      })
      .peer("by hand", [is_opaque](const line &l) { put_by_hand(l, x, y, is_opaque); })
      .floor([](const line &l) { render(l, [](const FT_GlyphSlotRec &, char16_t, const FT_Vector &) {}); });
}

} // namespace

void add_truetype() {
  ttf_font_file[0] = "/usr/share/fonts/truetype/liberation/LiberationSans-Regular.ttf";
  ttf_font_file[1] = "/usr/share/fonts/truetype/droid/DroidSansFallbackFull.ttf";
  require_font(ttf_font_file[0]);
  require_font(ttf_font_file[1]);
  for (const bool is_opaque : {true, false}) {
    add_line("20 smooth letters", {u"Recording 12:34:56 A", 24, 0}, is_opaque);
    add_line("5 smooth signs", {u"行车记录仪", 32, 1}, is_opaque);
  }
}

} // namespace bench
