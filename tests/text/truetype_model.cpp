#include "text/truetype_model.hpp"

#include <algorithm>
#include FT_BITMAP_H

namespace dravik::test {
namespace {

struct ramp_row {
  int bg, fg, first;
};
constexpr int any_other = -1;
constexpr ramp_row ramp_table[] = {
    {0xFFFF, 0xF800, 144},    {0xFFFF, 0x07E0, 160},   {0xFFFF, 0x001F, 176},    {0xFFFF, 0x7BEF, 208},
    {0xFFFF, 0xFFE0, 224},    {0xFFFF, 0xF81F, 240},   {0xFFFF, 0x07FF, 256},    {0xFFFF, 0xFBC0, 272},
    {0xFFFF, any_other, 192}, {0x0821, 0xF800, 0},     {0x0821, 0x07E0, 16},     {0x0821, 0x001F, 32},
    {0x0821, 0x7BEF, 64},     {0x0821, 0xFFE0, 80},    {0x0821, 0xF81F, 96},     {0x0821, 0x07FF, 112},
    {0x0821, 0xFBC0, 128},    {0x0821, any_other, 48}, {0xF81F, 0xF800, 288},    {0xF81F, 0x07E0, 304},
    {0xF81F, 0x001F, 320},    {0xF81F, 0xFFFF, 352},   {0xF81F, 0x7BEF, 368},    {0xF81F, 0xFFE0, 384},
    {0xF81F, 0x07FF, 400},    {0xF81F, 0xFBC0, 416},   {0xF81F, any_other, 336}, {0x1234, 0x0821, 448},
    {0x1234, any_other, 432},
};

int32_t narrowed(int64_t value) {
  return static_cast<int32_t>(value);
}

/// The position of the box for an alignment.
std::pair<int64_t, int64_t> placed(int64_t x, int64_t y, int32_t align, int32_t top, int64_t width,
                                   int64_t height) {
  if (align == 1 || align == 3)
    x = x > (width >> 1) ? x - (width >> 1) : 0;
  if (align == 2)
    y = top > (height >> 1) ? y - (height >> 1) : 0;
  if (align == 3)
    y = y > (height >> 1) ? y - (height >> 1) : 0;
  if (align == 4 && width <= 640)
    x = (640 - width) >> 1;
  if (align == 5 && height <= 480)
    y = (480 - height) >> 1;
  if (align == 6 && width <= 640)
    x = 640 - width;
  if (align == 7 && height <= 480)
    y = 480 - height;
  return {x, y};
}

} // namespace

int text_model::first_entry(uint16_t bg, uint16_t fg) {
  for (const ramp_row &row : ramp_table)
    if (row.bg == bg && (row.fg == fg || row.fg == any_other))
      return row.first;
  return 192;
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
  measured = {10, 480, 0, 0};

  FT_Library library;
  if (FT_Init_FreeType(&library) != 0)
    return "FT_Init_FreeType failed!\n";
  const std::string message = compose(call, library);
  FT_Done_FreeType(library);
  if (!message.empty())
    return message;

  width = measured.right + 1 - measured.left;
  height = measured.bottom + 1 - measured.top;
  const auto [x, y] = placed(static_cast<int32_t>(call.x), static_cast<int32_t>(call.y), call.align,
                             measured.top, width, height);
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
  pen.x += face->glyph->advance.x;
  pen.y += face->glyph->advance.y;
  return {};
}

void text_model::measure(const FT_GlyphSlotRec &glyph, const FT_Vector &pen, size_t index) {
  const int64_t left = glyph.bitmap_left - pen.x / 64;
  if (index == 0 && left < 0 && left + 10 < measured.left)
    measured.left = narrowed(left + 10);
  if (index == units.size() - 1)
    measured.right = narrowed(pen.x / 64 + glyph.advance.x / 64);
  if (200 - glyph.bitmap_top < measured.top)
    measured.top = 200 - glyph.bitmap_top;
  if (const int64_t bottom = int64_t{glyph.bitmap.rows} - glyph.bitmap_top + 200; bottom > measured.bottom)
    measured.bottom = narrowed(bottom);
}

void text_model::store(FT_Library library, const FT_GlyphSlotRec &glyph, const FT_Vector &pen) {
  FT_Bitmap coverage; // a byte a pixel, whatever the font brings
  FT_Bitmap_Init(&coverage);
  if (FT_Bitmap_Convert(library, &glyph.bitmap, &coverage, 1) != 0)
    coverage.rows = coverage.width = 0;
  const int64_t left = glyph.bitmap_left - pen.x / 64;
  for (uint32_t r = 0; r < coverage.rows; ++r) {
    const int64_t row = pen.y / 64 - glyph.bitmap_top + 100 + r;
    for (int64_t c = 0; c < left; ++c)
      cell(pen.x / 64 + c, row) = 0;
    const uint8_t *const from = coverage.buffer + static_cast<ptrdiff_t>(r) * coverage.pitch;
    for (uint32_t c = 0; c < coverage.width; ++c)
      cell(pen.x / 64 + left + c, row) =
          static_cast<uint8_t>(coverage.num_grays == 2 ? from[c] * 15 : from[c] >> 4);
  }
  FT_Bitmap_Done(library, &coverage);
}

void text_model::copy(int64_t x, int64_t y, const text_call &call, const model_plane &screen) {
  const bool within =
      measured.left >= 0 && measured.right < columns && measured.top >= 0 && measured.bottom < rows;
  const uint16_t *const ramp = gc + (call.bg == 0 ? 192 : first_entry(call.bg, call.fg));
  for (int64_t row = measured.top; row <= measured.bottom; ++row)
    for (int64_t column = measured.left; column <= measured.right; ++column) {
      const int64_t to_x = x + column - measured.left, to_y = y + row - measured.top;
      const int64_t at = to_y * fbinfo[FBINFO_LINE_LENGTH] + to_x * 2;
      if (!within && at >= fbinfo[FBINFO_SCREEN_SIZE])
        break; // and so are all columns to the right
      const uint8_t level = cell(column, row);
      if (at < 0 || (call.bg == 0 && level == 0))
        continue;
      screen.put(to_x, to_y, ramp[level]);
      ++pixels;
    }
}

} // namespace dravik::test
