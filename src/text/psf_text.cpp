// Text in bitmap fonts, drawn directly to the screen.

#include "fb/bit_row.hpp"
#include "kernels/kernels.hpp"

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

/// A font and its colours.
class cell_writer {
public:
  cell_writer(const fb::surface &on, const psf_font &font, uint32_t fg, uint32_t bg) noexcept
      : on_(on), font_(font), oversized_(fb::is_oversized(on, font.width, font.height)),
        transparent_(bg == DRAVIK_TRANSPARENT), fg_(static_cast<uint16_t>(fg)),
        bg_(static_cast<uint16_t>(bg)) {}

  uint32_t cell_width() const noexcept { return static_cast<uint32_t>(font_.width); }
  std::span<const uint8_t> rows_of(uint32_t code) const noexcept { return glyph_rows(font_, code); }

  ptrdiff_t pitch() const noexcept { return on_.pitch; }

  /// Return whether cells may be drawn in runs.
  bool draws_runs() const noexcept { return !transparent_ && !oversized_ && cell_width() <= widest_cell; }
  /// Draw opaque glyphs side by side.
  void put_run(std::span<const uint8_t *const> glyphs, position at) const noexcept {
    kernels::active->glyphs({on_.at(at), on_.pitch, glyphs.data(), glyphs.size(), drawn_width(),
                             static_cast<size_t>(font_.height)},
                            bg_, fg_);
  }

  [[gnu::noinline]] void put(uint32_t code, position at) const noexcept {
    const std::span<const uint8_t> rows = rows_of(code);
    if (oversized_)
      return put_cut(rows, at);
    if (transparent_)
      return fb::put_bit_rows(rows, on_.at(at), on_.pitch, drawn_width(), fb::transparent_bits{fg_});
    const uint8_t *const glyph = rows.data();
    if (!rows.empty())
      put_run({&glyph, 1}, at);
  }

private:
  uint32_t drawn_width() const noexcept { return std::min(cell_width(), widest_cell); }

  /// Draw a glyph that is larger than the screen: only its pixels in frame buffer memory.
  [[gnu::noinline]] void put_cut(std::span<const uint8_t> rows, position from) const noexcept {
    const fb::memory_bounds memory = fb::memory_of(on_);
    const size_t row_bytes = cell_width() <= 8 ? 1 : 2;
    for (int64_t line = from.y; !rows.empty(); rows = rows.subspan(row_bytes), ++line) {
      const fb::row_part part = memory.part_of(from.x, line, drawn_width());
      for (size_t i = part.first; i < part.end; ++i)
        if (const bool is_set = (rows[i / 8] << i % 8 & 0x80) != 0; is_set || !transparent_)
          *on_.at_far(from.x + static_cast<int64_t>(i), line) = is_set ? fg_ : bg_;
    }
  }

  const fb::surface on_;
  const psf_font &font_;
  bool oversized_;
  bool transparent_;
  uint16_t fg_, bg_;
};

const psf_font *find_font(int32_t slot) noexcept {
  return static_cast<uint32_t>(slot) < std::size(psf) ? &psf[slot] : nullptr;
}

/// Opaque cells side by side, which are drawn together.
class cell_run {
public:
  explicit cell_run(const cell_writer &writer) noexcept : writer_(writer) {}

  void put(uint32_t code, position at) noexcept {
    const std::span<const uint8_t> rows = writer_.rows_of(code);
    if (rows.empty())
      return;
    if (!continues_at(at)) {
      draw();
      start_ = next_ = at;
    }
    next_ = next_.moved(writer_.cell_width(), 0);
    glyphs_[count_++] = rows.data();
  }

  void draw() noexcept {
    if (count_ != 0)
      writer_.put_run(std::span{glyphs_}.first(count_), start_);
    count_ = 0;
  }

private:
  /// Longer runs than a line may overlap themselves.
  bool continues_at(position at) const noexcept {
    const position end = next_.moved(writer_.cell_width(), 0);
    return at.x == next_.x && at.y == next_.y && count_ % glyphs_.size() != 0 && start_.x < end.x &&
           ptrdiff_t{end.x - start_.x} * 2 <= writer_.pitch();
  }

  const cell_writer &writer_;
  position start_ = {}, next_ = {};
  size_t count_ = 0;
  std::array<const uint8_t *, kernels::glyphs_per_run> glyphs_;
};

/// Position of the next character cell. Some cells wait for flush().
class cursor {
public:
  cursor(const cell_writer &writer, position start) noexcept : writer_(writer), start_(start), run_(writer) {}

  void put(char character) noexcept {
    const uint32_t code = static_cast<unsigned char>(character);
    const position at = start_.moved(writer_.cell_width() * column_++, row_);
    if (writer_.draws_runs()) {
      run_.put(code, at);
    } else {
      writer_.put(code, at);
    }
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
  void flush() noexcept { run_.draw(); }

private:
  const cell_writer &writer_;
  position start_;
  cell_run run_;
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

void print(cursor &at, const char *format, va_list *arguments) noexcept {
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
  text::cursor at(writer, fb::position_of(x, y));
  text::print(at, format, &arguments);
  at.flush();
  va_end(arguments);
  return 0;
}

} // extern "C"
