// Anti-aliased text in any script: FreeType's coverage is composed in a buffer of 16 levels, and the box
// around the text is copied to the screen through a ramp of the colour table.

#include "base/byte_reader.hpp"
#include "base/unaligned.hpp"
#include "fb/colour_table.hpp"
#include "fb/ramps.hpp"
#include "fb/surface.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ft2build.h>
#include FT_FREETYPE_H
#include <limits>
#include <memory>

extern "C" {
constinit const char *ttf_font_file[DRAVIK_FONT_FILES] = {"/usr/local/dravik/font/arial.ttf",
                                                          "/usr/local/dravik/font/DroidSansFallback.ttf"};
constinit uint8_t unicode[DRAVIK_TEXT_UNITS * 2] = {};
constinit int32_t unicode_len = 0;
constinit int32_t sx = 0;
constinit int32_t sy = 0;
constinit int32_t ex = 0;
constinit int32_t ey = 0;
constinit int32_t str_width = 0;
constinit int32_t str_height = 0;
}

namespace dravik::text {
namespace {

using fb::pixel;
using fb::position;

constexpr int32_t plane_width = DRAVIK_PLANE_WIDTH;
constexpr int32_t plane_height = DRAVIK_PLANE_HEIGHT;

constexpr uint16_t line_feed = 10;
constexpr uint16_t space = 32;
constexpr FT_UInt dots_per_inch = 80;
constexpr int32_t pen_column = 10;
constexpr int32_t pen_row = 100;  ///< of FreeType's rows, which grow upwards
constexpr int32_t baseline = 200; ///< buffer row of FreeType's row 0 at the pen

// ------------------------------------------------------------------------------------------------ the string

/// Return unit `i` of a string with any alignment.
uint16_t unit_at(const void *text, int32_t i) noexcept {
  byte_reader reader{{static_cast<const uint8_t *>(text) + ptrdiff_t{i} * 2, 2}};
  return reader.u16le();
}

/// Copy the string up to its end, its first line feed or the maximum number of units.
void take_string(const void *text) noexcept {
  for (unicode_len = 0; unicode_len < DRAVIK_TEXT_UNITS; ++unicode_len) {
    const uint16_t unit = unit_at(text, unicode_len);
    const bool ends = unit == 0 || unit == line_feed;
    ::unicode[unicode_len * 2] = static_cast<uint8_t>(ends ? 0 : unit);
    ::unicode[unicode_len * 2 + 1] = static_cast<uint8_t>(ends ? 0 : unit >> 8);
    if (ends)
      return;
  }
}

// ------------------------------------------------------------------------------------------------ the plane

constexpr int32_t plane_column(int64_t column) noexcept {
  return static_cast<int32_t>(std::clamp<int64_t>(column, 0, plane_width - 1));
}
constexpr int32_t plane_row(int64_t row) noexcept {
  return static_cast<int32_t>(std::clamp<int64_t>(row, 0, plane_height - 1));
}

uint8_t *cells_of(int64_t row) noexcept {
  return image_buffer + ptrdiff_t{plane_row(row)} * plane_width;
}

/// Return row `r` from the top; a negative pitch means bottom-up rows.
const uint8_t *row_of(const FT_Bitmap &bitmap, uint32_t r) noexcept {
  const ptrdiff_t pitch = bitmap.pitch;
  return bitmap.buffer + (pitch >= 0 ? r * pitch : -pitch * static_cast<ptrdiff_t>(bitmap.rows - 1 - r));
}

/// Return the coverage of one pixel in 16 levels. Fonts may contain bitmaps with one bit or 256 grey levels.
uint8_t level(const FT_Bitmap &bitmap, const uint8_t *row, uint32_t column) noexcept {
  switch (bitmap.pixel_mode) {
  case FT_PIXEL_MODE_GRAY:
    return row[column] >> 4;
  case FT_PIXEL_MODE_MONO:
    return (row[column >> 3] & 0x80 >> (column & 7)) != 0 ? 15 : 0;
  default:
    return 0;
  }
}

/// Store a row of levels from a column on. Levels beyond an edge of the buffer are stored in its last
/// column, in order.
void put_levels(uint8_t *cells, int64_t start, const FT_Bitmap &bitmap, const uint8_t *row) noexcept {
  for (uint32_t column = 0; column < bitmap.width; ++column)
    cells[plane_column(start + column)] = level(bitmap, row, column);
}

void put_grey_row(uint8_t *cells, const FT_Bitmap &bitmap, const uint8_t *row) noexcept {
  std::transform(row, row + bitmap.width, cells,
                 [](uint8_t grey) { return static_cast<uint8_t>(grey >> 4); });
}

/// Clear what an earlier glyph left between the pen and the first column of this glyph.
void clear_levels(uint8_t *cells, int64_t start, int64_t count) noexcept {
  const int32_t first = plane_column(start), last = plane_column(start + count - 1);
  if (count > 0)
    std::memset(cells + first, 0, static_cast<size_t>(last - first) + 1);
}

/// Position of a glyph in the buffer.
struct placed_glyph {
  int64_t pen;  ///< column of the pen
  int64_t left; ///< from the pen to the first column of the bitmap
  int64_t top;  ///< row of the first row of the bitmap
};

void compose(const FT_Bitmap &bitmap, const placed_glyph &at) noexcept {
  const int64_t start = at.pen + at.left;
  const bool inside =
      bitmap.pixel_mode == FT_PIXEL_MODE_GRAY && start >= 0 && start + bitmap.width <= plane_width;
  for (uint32_t r = 0; r < bitmap.rows; ++r) {
    uint8_t *const cells = cells_of(at.top + r);
    const uint8_t *const row = row_of(bitmap, r);
    clear_levels(cells, at.pen, at.left);
    if (inside) {
      put_grey_row(cells + start, bitmap, row);
    } else {
      put_levels(cells, start, bitmap, row);
    }
  }
}

// ------------------------------------------------------------------------------------------------ rendering

constexpr int32_t to_int32(int64_t value) noexcept {
  return static_cast<int32_t>(value);
}

/// Extend the box of the text by one glyph.
void widen_box(const FT_GlyphSlotRec &glyph, const placed_glyph &at, int32_t index) noexcept {
  if (index == 0 && at.left < 0)
    sx = std::min(sx, to_int32(at.left + pen_column));
  if (index == unicode_len - 1)
    ex = to_int32(at.pen + glyph.advance.x / 64);
  sy = std::min(sy, baseline - glyph.bitmap_top);
  ey = std::max(ey, to_int32(int64_t{glyph.bitmap.rows} - glyph.bitmap_top + baseline));
}

bool failed(const char *message) noexcept {
  std::fputs(message, stderr);
  return false;
}

/// Advance the pen by any distance that a font specifies; it wraps where its type is narrow.
void advance(FT_Pos &pen, FT_Pos by) noexcept {
  pen = static_cast<FT_Pos>(static_cast<FT_ULong>(pen) + static_cast<FT_ULong>(by));
}

/// Compose one unit of the string and advance the pen.
bool render_unit(FT_Face face, FT_Vector &pen, int32_t index) noexcept {
  FT_Matrix identity = {0x10000, 0, 0, 0x10000};
  FT_Set_Transform(face, &identity, &pen);
  const uint16_t unit = unit_at(::unicode, index);
  const FT_UInt glyph_index = FT_Get_Char_Index(face, unit);
  if (glyph_index == 0)
    return failed("FT_Get_Char_Index failed!\n");
  if (const FT_Error error = FT_Load_Glyph(face, glyph_index, FT_LOAD_DEFAULT); error != 0) {
    std::fprintf(stderr, "FT_Load_Glyph failed! ret=%08x\n", static_cast<unsigned>(error));
    return false;
  }
  const FT_GlyphSlot glyph = face->glyph;
  if (FT_Render_Glyph(glyph, FT_RENDER_MODE_NORMAL) != 0)
    return failed("FT_Render_Glyph failed!\n");

  const int64_t column = pen.x / 64;
  const placed_glyph at = {column, glyph->bitmap_left - column,
                           int64_t{pen.y} / 64 - glyph->bitmap_top + (baseline - pen_row)};
  if (unit != space)
    widen_box(*glyph, at, index);
  compose(glyph->bitmap, at);
  advance(pen.x, glyph->advance.x);
  advance(pen.y, glyph->advance.y);
  return true;
}

template <auto Done> struct ft_deleter {
  template <class T> void operator()(T *handle) const noexcept { Done(handle); }
};
using library_owner = std::unique_ptr<FT_LibraryRec_, ft_deleter<FT_Done_FreeType>>;
using face_owner = std::unique_ptr<FT_FaceRec_, ft_deleter<FT_Done_Face>>;

/// Compose the string in the buffer and measure its box.
bool render(uint32_t font_size, uint32_t font) noexcept {
  std::memset(image_buffer, 0, sizeof image_buffer);
  sx = pen_column;
  ex = 0;
  sy = plane_height;
  ey = 0;

  FT_Library library_handle;
  if (FT_Init_FreeType(&library_handle) != 0)
    return failed("FT_Init_FreeType failed!\n");
  const library_owner library{library_handle};
  FT_Face face_handle;
  if (FT_New_Face(library.get(), ttf_font_file[font & 1], 0, &face_handle) != 0)
    return failed("FT_New_Face failed!\n");
  const face_owner face{face_handle};
  if (FT_Set_Char_Size(face.get(), static_cast<FT_F26Dot6>(font_size) * 64, 0, dots_per_inch, 0) != 0)
    return failed("FT_Set_Char_Size failed!\n");

  FT_Vector pen = {pen_column * 64, pen_row * 64};
  for (int32_t i = 0; i < unicode_len; ++i)
    if (!render_unit(face.get(), pen, i))
      return false;
  return true;
}

// ------------------------------------------------------------------------------------------------ the screen

/// Return at - size / 2, but 0 unless `compared` is greater than size / 2.
constexpr int32_t centred(int32_t at, int32_t compared, int32_t size) noexcept {
  const int32_t half = size >> 1;
  return compared > half ? to_int32(int64_t{at} - half) : 0;
}

/// Return a start with 1 / `share` of the free space before it; `at` if the size exceeds the buffer.
constexpr int32_t against(int32_t at, int32_t size, int32_t plane_size, int32_t share) noexcept {
  return size <= plane_size ? to_int32((int64_t{plane_size} - size) / share) : at;
}

position aligned(position at, int32_t align) noexcept {
  switch (align) {
  case DRAVIK_CENTRE_X:
    return {centred(at.x, at.x, str_width), at.y};
  case DRAVIK_CENTRE_Y:
    return {at.x, centred(at.y, sy, str_height)}; // Intentional: compares the top row of the box
  case DRAVIK_CENTRE:
    return {centred(at.x, at.x, str_width), centred(at.y, at.y, str_height)};
  case DRAVIK_SCREEN_CENTRE_X:
    return {against(at.x, str_width, plane_width, 2), at.y};
  case DRAVIK_SCREEN_CENTRE_Y:
    return {at.x, against(at.y, str_height, plane_height, 2)};
  case DRAVIK_SCREEN_RIGHT:
    return {against(at.x, str_width, plane_width, 1), at.y};
  case DRAVIK_SCREEN_BOTTOM:
    return {at.x, against(at.y, str_height, plane_height, 1)};
  default:
    return at;
  }
}

/// Return the part of a row of the box to draw on a line. Nothing is written before frame buffer
/// memory. A box that extends beyond the buffer has a size that the font determines, so it also ends
/// with frame buffer memory.
fb::row_part drawable_part(const fb::memory_bounds &memory, int32_t x, int64_t line) noexcept {
  const bool on_plane = sx >= 0 && ex < plane_width && sy >= 0 && ey < plane_height;
  const auto width = static_cast<size_t>(std::max<int64_t>(int64_t{ex} + 1 - sx, 0));
  const fb::row_part in_memory = memory.part_of(x, line, width);
  return {in_memory.first, on_plane ? width : in_memory.end};
}

/// Draws levels in the colours of a ramp; level 0 is not drawn if `Transparent`.
template <bool Transparent> struct level_painter {
  std::span<const uint16_t, DRAVIK_RAMP_STEPS> ramp;

  void put(pixel *to, uint8_t level) const noexcept {
    if (!Transparent || level != 0)
      *to = ramp[level];
  }
  void fill(pixel *to, int64_t count, uint8_t level) const noexcept {
    if (!Transparent || level != 0)
      std::fill_n(to, std::max<int64_t>(count, 0), ramp[level]);
  }
  /// Around letters and inside strokes, levels are equal: eight equal levels are drawn as one fill.
  void copy(pixel *to, int64_t count, const uint8_t *cells) const noexcept {
    int64_t c = 0;
    for (; c + 8 <= count; c += 8) {
      if (load<uint64_t>(cells + c) == cells[c] * uint64_t{0x0101010101010101}) {
        fill(to + c, 8, cells[c]);
      } else {
        for (int64_t i = c; i < c + 8; ++i)
          put(to + i, cells[i]);
      }
    }
    for (; c < count; ++c)
      put(to + c, cells[c]);
  }
};

/// Draw a part of a row of the box; columns beyond the buffer repeat its edge.
template <class Painter>
void copy_row(const uint8_t *cells, fb::row_part part, pixel *to, Painter painter) noexcept {
  const auto first = static_cast<int64_t>(part.first), end = static_cast<int64_t>(part.end);
  const int64_t inside = std::clamp<int64_t>(-int64_t{sx}, first, end);
  const int64_t outside = std::clamp<int64_t>(int64_t{plane_width} - sx, inside, end);
  painter.fill(to + first, inside - first, cells[0]);
  painter.copy(to + inside, outside - inside, cells + plane_column(sx + inside));
  painter.fill(to + outside, end - outside, cells[plane_width - 1]);
}

template <class Painter> void copy_box(position at, Painter painter) noexcept {
  const fb::surface on = fb::screen();
  const fb::memory_bounds memory = fb::memory_of(on);
  for (int64_t row = sy; row <= ey; ++row) {
    const int64_t line = at.y + row - sy;
    const fb::row_part part = drawable_part(memory, at.x, line);
    if (!part.empty())
      copy_row(cells_of(row), part, on.at_far(at.x, line), painter);
  }
}

void draw_string(position at, const void *text, uint32_t font_size, uint32_t font, uint16_t fg, uint16_t bg,
                 int32_t align) noexcept {
  if (font_size > DRAVIK_LARGEST_FONT) {
    std::fprintf(stderr, "font_size error : %d!\n", static_cast<int>(font_size));
    std::exit(EXIT_SUCCESS);
  }
  take_string(text);
  if (!render(font_size, font))
    return;
  str_width = to_int32(int64_t{ex} + 1 - sx);
  str_height = to_int32(int64_t{ey} + 1 - sy);
  const auto ramp = fb::ramp_colours(fb::text_ramp(bg, fg));
  if (bg == DRAVIK_TRANSPARENT) {
    copy_box(aligned(at, align), level_painter<true>{ramp});
  } else {
    copy_box(aligned(at, align), level_painter<false>{ramp});
  }
}

int32_t widen(const char *src, void *dst) noexcept {
  auto *to = static_cast<uint8_t *>(dst);
  int32_t count = 0;
  for (; src[count] != '\0'; ++count) {
    *to++ = static_cast<uint8_t>(src[count]);
    *to++ = 0;
  }
  to[0] = to[1] = 0;
  return count;
}

} // namespace
} // namespace dravik::text

extern "C" {

int32_t ascii_to_unicode_string(const char *src, void *dst) noexcept {
  return dravik::text::widen(src, dst);
}

int put_unicode_string(uint32_t x, uint32_t y, const void *text, uint32_t font_size, uint32_t font,
                       uint16_t fg, uint16_t bg, int32_t align) noexcept {
  dravik::text::draw_string(dravik::fb::position_of(x, y), text, font_size, font, fg, bg, align);
  return 0;
}

} // extern "C"
