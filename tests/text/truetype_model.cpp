#include "text/truetype_model.hpp"

#include "support/ramp_rows.hpp"

#include <algorithm>
#include FT_BITMAP_H

namespace dravik::test {
namespace {

int32_t narrowed(int64_t value) {
  return static_cast<int32_t>(value);
}

/// The pen wraps where FreeType's positions have 32 bits.
FT_Pos wrapped_sum(FT_Pos a, FT_Pos b) {
  return static_cast<FT_Pos>(static_cast<FT_ULong>(a) + static_cast<FT_ULong>(b));
}

/// `at` is the centre of `length` if more than half of it precedes `reference`.
int64_t centred(int64_t at, int64_t length, int64_t reference) {
  return reference > (length >> 1) ? at - (length >> 1) : 0;
}

int64_t placed_column(int64_t x, int32_t align, int64_t width) {
  if (align == DRAVIK_CENTRE_X || align == DRAVIK_CENTRE)
    return centred(x, width, x);
  if (align == DRAVIK_SCREEN_CENTRE_X && width <= text_model::columns)
    return (text_model::columns - width) >> 1;
  if (align == DRAVIK_SCREEN_RIGHT && width <= text_model::columns)
    return text_model::columns - width;
  return x;
}

/// Intentional: DRAVIK_CENTRE_Y compares with the top of the text instead of the position.
int64_t placed_line(int64_t y, int32_t align, int64_t height, int32_t top) {
  if (align == DRAVIK_CENTRE_Y || align == DRAVIK_CENTRE)
    return centred(y, height, align == DRAVIK_CENTRE_Y ? top : y);
  if (align == DRAVIK_SCREEN_CENTRE_Y && height <= text_model::rows)
    return (text_model::rows - height) >> 1;
  if (align == DRAVIK_SCREEN_BOTTOM && height <= text_model::rows)
    return text_model::rows - height;
  return y;
}

} // namespace

int text_model::first_entry(uint16_t bg, uint16_t fg) {
  return text_ramp(bg, fg) * DRAVIK_RAMP_STEPS;
}

uint8_t &text_model::cell(int64_t column, int64_t row) {
  const int64_t c = std::min<int64_t>(std::max<int64_t>(column, 0), columns - 1);
  const int64_t r = std::min<int64_t>(std::max<int64_t>(row, 0), rows - 1);
  return plane[static_cast<size_t>(r * columns + c)];
}

std::string text_model::draw(const text_call &call, const model_plane &screen) {
  pixels = 0;
  units = call.text.substr(0, std::min<size_t>(call.text.find_first_of(std::u16string{0, 10}), 128));
  std::fill(plane.begin(), plane.end(), uint8_t{0});
  measured = {10, rows, 0, 0};

  FT_Library library;
  if (FT_Init_FreeType(&library) != 0)
    return "FT_Init_FreeType failed!\n";
  const std::string message = compose(call, library);
  FT_Done_FreeType(library);
  if (!message.empty())
    return message;

  width = measured.right + 1 - measured.left;
  height = measured.bottom + 1 - measured.top;
  const int64_t x = placed_column(static_cast<int32_t>(call.x), call.align, width);
  const int64_t y = placed_line(static_cast<int32_t>(call.y), call.align, height, measured.top);
  copy(x, y, call, screen);
  return {};
}

std::string text_model::compose(const text_call &call, FT_Library library) {
  FT_Face face;
  if (FT_New_Face(library, call.font.c_str(), 0, &face) != 0)
    return "FT_New_Face failed!\n";
  std::string message;
  if (FT_Set_Char_Size(face, static_cast<FT_F26Dot6>(call.font_size * 64), 0, 80, 0) != 0)
    message = "FT_Set_Char_Size failed!\n";
  FT_Vector pen = {640, 6400};
  for (size_t i = 0; i < units.size() && message.empty(); ++i)
    message = compose_unit(library, face, pen, i);
  FT_Done_Face(face);
  return message;
}

std::string text_model::compose_unit(FT_Library library, FT_Face face, FT_Vector &pen, size_t index) {
  FT_Matrix matrix = {0x10000, 0, 0, 0x10000};
  FT_Set_Transform(face, &matrix, &pen);
  const FT_UInt glyph_index = FT_Get_Char_Index(face, units[index]);
  if (glyph_index == 0)
    return "FT_Get_Char_Index failed!\n";
  if (const FT_Error error = FT_Load_Glyph(face, glyph_index, FT_LOAD_DEFAULT); error != 0) {
    char message[64];
    std::snprintf(message, sizeof message, "FT_Load_Glyph failed! ret=%08x\n", static_cast<unsigned>(error));
    return message;
  }
  if (FT_Render_Glyph(face->glyph, FT_RENDER_MODE_NORMAL) != 0)
    return "FT_Render_Glyph failed!\n";
  if (units[index] != 32)
    measure(*face->glyph, pen, index);
  store(library, *face->glyph, pen);
  pen.x = wrapped_sum(pen.x, face->glyph->advance.x);
  pen.y = wrapped_sum(pen.y, face->glyph->advance.y);
  return {};
}

void text_model::measure(const FT_GlyphSlotRec &glyph, const FT_Vector &pen, size_t index) {
  const int64_t left = glyph.bitmap_left - pen.x / 64;
  if (index == 0 && left < 0 && left + 10 < measured.left)
    measured.left = narrowed(left + 10);
  if (index == units.size() - 1)
    measured.right = narrowed(int64_t{pen.x / 64} + glyph.advance.x / 64);
  if (200 - glyph.bitmap_top < measured.top)
    measured.top = 200 - glyph.bitmap_top;
  if (const int64_t bottom = int64_t{glyph.bitmap.rows} - glyph.bitmap_top + 200; bottom > measured.bottom)
    measured.bottom = narrowed(bottom);
}

void text_model::store(FT_Library library, const FT_GlyphSlotRec &glyph, const FT_Vector &pen) {
  FT_Bitmap coverage; // a byte per pixel, for any font
  FT_Bitmap_Init(&coverage);
  if (FT_Bitmap_Convert(library, &glyph.bitmap, &coverage, 1) != 0)
    coverage.rows = coverage.width = 0;
  const int64_t left = glyph.bitmap_left - pen.x / 64;
  for (uint32_t r = 0; r < coverage.rows; ++r) {
    const int64_t row = int64_t{pen.y / 64} - glyph.bitmap_top + 100 + r;
    for (int64_t c = 0; c < left; ++c)
      cell(pen.x / 64 + c, row) = 0;
    const uint8_t *const from = coverage.buffer + static_cast<ptrdiff_t>(r) * coverage.pitch;
    for (uint32_t c = 0; c < coverage.width; ++c)
      cell(pen.x / 64 + left + c, row) =
          static_cast<uint8_t>(coverage.num_grays == 2 ? from[c] * 15 : from[c] >> 4);
  }
  FT_Bitmap_Done(library, &coverage);
}

/// A box that exceeds the plane is drawn up to the end of the mapping.
int64_t text_model::end_of_drawing() const {
  const bool is_within_plane =
      measured.left >= 0 && measured.right < columns && measured.top >= 0 && measured.bottom < rows;
  return is_within_plane ? INT64_MAX : int64_t{fbinfo[FBINFO_SCREEN_SIZE]};
}

void text_model::copy(int64_t x, int64_t y, const text_call &call, const model_plane &screen) {
  const bool is_transparent = call.bg == DRAVIK_TRANSPARENT;
  const uint16_t *const ramp =
      gc + (is_transparent ? DRAVIK_BLACK_ON_WHITE * DRAVIK_RAMP_STEPS : first_entry(call.bg, call.fg));
  const int64_t end = end_of_drawing();
  for (int64_t row = measured.top; row <= measured.bottom; ++row) {
    const int64_t to_y = y + row - measured.top, line = to_y * fbinfo[FBINFO_LINE_LENGTH];
    if (line + x * 2 >= end || line + (x + measured.right - measured.left) * 2 < 0)
      continue; // boxes of hostile fonts are huge
    for (int64_t column = measured.left; column <= measured.right; ++column) {
      const int64_t to_x = x + column - measured.left, at = line + to_x * 2;
      const uint8_t level = cell(column, row);
      if (at < 0 || at >= end || (is_transparent && level == 0))
        continue;
      screen.put(to_x, to_y, ramp[level]);
      ++pixels;
    }
  }
}

} // namespace dravik::test
