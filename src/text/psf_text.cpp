// Text in bitmap fonts, drawn directly to the screen.

#include "fb/bit_row.hpp"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <span>

namespace dravik::text {
namespace {

using fb::pixel;
using fb::position;

constexpr uint32_t widest_cell = 16; ///< maximum columns drawn per glyph

/// Return the bytes of a glyph that are drawn; empty if the font does not contain it.
std::span<const uint8_t> glyph_rows(const psf_font &font, uint32_t code) noexcept {
  if (font.ptr == nullptr || font.height <= 0 || font.width <= 0 || font.charsize < 0)
    return {};
  if (code >= static_cast<uint32_t>(std::max(font.length, 0)))
    return {};
  const uint64_t row_bytes = font.width <= 8 ? 1 : 2;
  const uint64_t charsize = static_cast<uint32_t>(font.charsize);
  const uint64_t start = code * charsize, size = row_bytes * static_cast<uint32_t>(font.height);
  if (start + size > charsize * static_cast<uint32_t>(font.length))
    return {};
  return {font.ptr + start, static_cast<size_t>(size)};
}

template <size_t RowBytes, class PutRow>
void each_row(std::span<const uint8_t> rows, pixel *at, ptrdiff_t pitch, PutRow put_row) noexcept {
  for (; !rows.empty(); rows = rows.subspan(RowBytes), at = fb::step(at, pitch))
    put_row(at, rows.data());
}

template <class Painter>
void put_rows(std::span<const uint8_t> rows, pixel *at, ptrdiff_t pitch, uint32_t width,
              Painter paint) noexcept {
  if (width < 8)
    return each_row<1>(rows, at, pitch, [=](pixel *to, const uint8_t *bits) { paint.put(to, *bits, width); });
  if (width == 8)
    return each_row<1>(rows, at, pitch, [=](pixel *to, const uint8_t *bits) { paint.put8(to, *bits); });
  if (width < 16)
    return each_row<2>(rows, at, pitch, [=](pixel *to, const uint8_t *bits) {
      paint.put8(to, bits[0]);
      paint.put(to + 8, bits[1], width - 8);
    });
  each_row<2>(rows, at, pitch, [=](pixel *to, const uint8_t *bits) {
    paint.put8(to, bits[0]);
    paint.put8(to + 8, bits[1]);
  });
}

/// A font and its colours, prepared for drawing character cells.
class cell_writer {
public:
  cell_writer(const fb::surface &on, const psf_font &font, uint32_t fg, uint32_t bg) noexcept
      : on_(on), font_(font), oversized_(fb::is_oversized(on, font.width, font.height)),
        transparent_(bg == DRAVIK_TRANSPARENT), fg_(static_cast<uint16_t>(fg)),
        bg_(static_cast<uint16_t>(bg)), opaque_(bg_, fg_), set_only_(fg_) {}

  uint32_t cell_width() const noexcept { return static_cast<uint32_t>(font_.width); }

  [[gnu::noinline]] void put(uint32_t code, position at) const noexcept {
    const std::span<const uint8_t> rows = glyph_rows(font_, code);
    if (oversized_)
      return put_cut(rows, at);
    if (transparent_) {
      put_rows(rows, on_.at(at), on_.pitch, drawn_width(), set_only_);
    } else {
      put_rows(rows, on_.at(at), on_.pitch, drawn_width(), opaque_);
    }
  }

private:
  uint32_t drawn_width() const noexcept { return std::min(cell_width(), widest_cell); }

  /// Draw a glyph that is larger than the screen: only its pixels in frame buffer memory.
  [[gnu::noinline]] void put_cut(std::span<const uint8_t> rows, position from) const noexcept {
    const fb::memory_bounds memory = fb::memory_of(on_);
    const size_t row_bytes = cell_width() <= 8 ? 1 : 2;
    pixel *at = on_.at(from);
    for (int64_t line = from.y; !rows.empty();
         rows = rows.subspan(row_bytes), ++line, at = fb::step(at, on_.pitch)) {
      const fb::row_part part = memory.part_of(from.x, line, drawn_width());
      for (size_t i = part.first; i < part.end; ++i)
        if (const bool is_set = (rows[i / 8] << i % 8 & 0x80) != 0; is_set || !transparent_)
          at[i] = is_set ? fg_ : bg_;
    }
  }

  const fb::surface on_;
  const psf_font &font_;
  bool oversized_;
  bool transparent_;
  uint16_t fg_, bg_;
  fb::opaque_bits opaque_;
  fb::transparent_bits set_only_;
};

const psf_font *find_font(int32_t slot) noexcept {
  return static_cast<uint32_t>(slot) < std::size(psf) ? &psf[slot] : nullptr;
}

/// Position of the next character cell.
class cursor {
public:
  cursor(const cell_writer &writer, position start) noexcept : writer_(writer), start_(start) {}

  void put(char character) noexcept {
    writer_.put(static_cast<unsigned char>(character), start_.moved(writer_.cell_width() * column_++, row_));
  }
  void put(const char *text) noexcept {
    while (*text != '\0')
      put(*text++);
  }
  void escape(char letter) noexcept {
    if (letter != 'n' && letter != 'r')
      return;
    if (letter == 'n')
      ++row_; // Intentional: one pixel row, not a line of text
    column_ = 0;
  }

private:
  const cell_writer &writer_;
  position start_;
  uint32_t column_ = 0, row_ = 0;
};

using conversion_text = std::array<char, 20>;

/// Format the next argument. Intentional: an unsupported letter consumes none and leaves the text unchanged.
void convert(char letter, conversion_text &text, va_list *arguments) noexcept {
  switch (letter) {
  case 'd':
    std::snprintf(text.data(), text.size(), "%d", va_arg(*arguments, int));
    break;
  case 'x':
    std::snprintf(text.data(), text.size(), "%x", va_arg(*arguments, unsigned));
    break;
  case 'g':
    std::snprintf(text.data(), text.size(), "%g", va_arg(*arguments, double));
    break;
  case 'c':
    text = {static_cast<char>(va_arg(*arguments, int))};
    break;
  case '%':
    text = {'%'};
    break;
  default:
    break;
  }
}

void print(cursor at, const char *format, va_list *arguments) noexcept {
  conversion_text text = {};
  for (const char *next = format; *next != '\0'; ++next) {
    if (*next != '\\' && *next != '%') {
      at.put(*next);
      continue;
    }
    const bool is_conversion = *next++ == '%';
    if (is_conversion) {
      convert(*next, text, arguments);
      at.put(text.data());
    } else {
      at.escape(*next);
    }
    if (*next == '\0') // the end of the format is treated as an unsupported letter
      return;
  }
}

} // namespace
} // namespace dravik::text

extern "C" {

using namespace dravik;

void fb_putc(uint32_t ch, uint32_t x, uint32_t y, uint32_t fg, uint16_t bg, int32_t font) noexcept {
  if (const psf_font *slot = text::find_font(font))
    text::cell_writer(fb::screen(), *slot, fg, bg).put(ch, fb::position_of(x, y));
}

int fb_printf(uint32_t x, uint32_t y, uint32_t fg, uint32_t bg, int32_t font, const char *format,
              ...) noexcept {
  const psf_font *slot = text::find_font(font);
  if (slot == nullptr)
    return 0;
  const text::cell_writer writer(fb::screen(), *slot, fg, bg);
  va_list arguments;
  va_start(arguments, format);
  text::print({writer, fb::position_of(x, y)}, format, &arguments);
  va_end(arguments);
  return 0;
}

} // extern "C"
