// A plain, slow model of BMP drawing, from files and from slots: one read after the other, one pixel after
// the other.
#pragma once

#include "dravik.h"
#include "support/bytes.hpp"
#include "support/screen.hpp"

#include <array>
#include <cstring>

namespace dravik::test {

constexpr uint16_t silhouette_colour = 0x7BCF;

/// The headers of a file; bytes after its end are 0.
struct bmp_header {
  bool has_signature = false;
  uint32_t file_size = 0, data_offset = 0, info_size = 0, width = 0, height = 0, bits = 0, data_size = 0,
           palette_entries = 0;

  bmp_header() = default;
  explicit bmp_header(bytes file) {
    file.resize(size_bytes);
    has_signature = file[0] == 'B' && file[1] == 'M';
    file_size = get_u32(file, 2);
    data_offset = get_u32(file, 10);
    info_size = get_u32(file, 14);
    width = get_u32(file, 18);
    height = get_u32(file, 22);
    bits = get_u32(file, 28) & 0xFFFF;
    data_size = get_u32(file, 34);
    palette_entries = get_u32(file, 50);
  }

  std::array<uint32_t, BMPINFO_WORDS> words() const {
    return {width, height, bits, file_size, data_size, info_size, data_offset};
  }
  bool has_palette() const { return bits == 1 || bits == 4 || bits == 8; }
  /// Rows of a file are padded to words.
  size_t row_size() const { return (width * bits + 31) / 32 * 4; }

  static constexpr size_t size_bytes = 54;
};

struct bmp_place {
  uint32_t x, y;
  uint8_t align;
};

/// The globals and messages that a call is expected to leave.
class bmp_model {
public:
  std::array<uint32_t, BMPINFO_WORDS> info = {};
  std::array<uint8_t, size_t{DRAVIK_PALETTE_ENTRIES} * 4> palette = {};
  std::array<uint8_t, size_t{DRAVIK_BMP_WIDEST} * 4> image = {};
  std::vector<std::string> messages;

  /// Draw as fb_put_bmp_file(), and return its result.
  int draw_file(const model_plane &on, const bmp_place &at, const std::string &path, const bytes &file,
                uint32_t mode) {
    start(on, file);
    if (header_.file_size != file.size())
      return fail(path + " file size error!");
    if (!header_.has_signature)
      return fail(path + " BMP type error!");
    info = header_.words();
    place(at);
    if (header_.width > DRAVIK_BMP_WIDEST)
      return fail(text("BMP image size is too big. %d x %d", {header_.width, header_.height}));
    if (is_larger_than_screen() || !fits_on_screen())
      return fail_out_of_range(" Image size");
    read_palette();
    position_ = header_.data_offset;
    if (header_.bits == 16)
      draw_16bit_file(mode);
    else if (header_.has_palette() || header_.bits == 24 || header_.bits == 32)
      draw_rows();
    return 0;
  }

  /// Draw as bmp_mem_show(), and return its result.
  int draw_slot(const model_plane &on, const bmp_place &at, uint32_t slot, const bytes &file, int32_t mode) {
    bytes padded = file;
    padded.resize(file.size() / 256 * 256 + 256);
    start(on, padded);
    if (!header_.has_signature)
      return fail(text("BMP type err, bmp_mem_idx=%d", {slot}));
    if (is_larger_than_screen())
      return fail(text("BMP image size is too big : %d x %d, fb size : %dx%d",
                       {header_.width, header_.height, fbinfo[FBINFO_XRES], fbinfo[FBINFO_YRES]}));
    place(at);
    if (!fits_on_screen())
      return fail_out_of_range("Image size");
    const bool is_drawn = header_.bits == 16 && mode >= DRAVIK_BMP_COPY && mode <= DRAVIK_BMP_SILHOUETTE;
    const uint64_t stride = mode == DRAVIK_BMP_COPY ? header_.row_size() : header_.width * 2;
    if (is_drawn && header_.data_offset + stride * header_.height > padded.size())
      return fail(text("BMP data err, bmp_mem_idx=%d", {slot}));
    info = header_.words();
    if (is_drawn)
      draw_16bit_slot(stride, mode);
    return 0;
  }

private:
  void start(const model_plane &on, const bytes &file) {
    messages.clear();
    on_.emplace(on);
    file_ = &file;
    position_ = 0;
    header_ = bmp_header{file};
  }

  // ------------------------------------------------------------------------------------------- placement

  static bool is_centred(uint8_t align, uint8_t axis) { return align == axis || align == DRAVIK_CENTRE; }

  static uint32_t centred(uint32_t at, uint32_t size) {
    const int32_t half = static_cast<int32_t>(size) >> 1;
    return static_cast<int32_t>(at) > half ? at - static_cast<uint32_t>(half) : 0;
  }

  void place(const bmp_place &at) {
    x_ = is_centred(at.align, DRAVIK_CENTRE_X) ? centred(at.x, header_.width) : at.x;
    y_ = is_centred(at.align, DRAVIK_CENTRE_Y) ? centred(at.y, header_.height) : at.y;
  }

  bool is_larger_than_screen() const {
    return header_.width > fbinfo[FBINFO_XRES] || header_.height > fbinfo[FBINFO_YRES];
  }

  /// Sums wrap at 32 bits.
  bool fits_on_screen() const {
    return x_ + header_.width <= fbinfo[FBINFO_XRES] && y_ + header_.height <= fbinfo[FBINFO_YRES];
  }

  /// 0xFFFFFFFF is the column left of, or the line above, the first.
  int64_t column(uint64_t offset) const { return static_cast<int32_t>(x_) + static_cast<int64_t>(offset); }
  int64_t line_of(uint32_t row) const { return static_cast<int32_t>(y_ + header_.height - 1 - row); }

  // -------------------------------------------------------------------------------------------- messages

  static std::string text(const char *format, std::array<uint32_t, 6> values) {
    char buffer[200];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::snprintf(buffer, sizeof buffer, format, values[0], values[1], values[2], values[3], values[4],
                  values[5]);
#pragma GCC diagnostic pop
    return buffer;
  }

  int fail(const std::string &message) {
    messages.push_back(message);
    return -1;
  }

  int fail_out_of_range(const std::string &subject) {
    const uint32_t xres = fbinfo[FBINFO_XRES], yres = fbinfo[FBINFO_YRES];
    const uint32_t width = header_.width, height = header_.height;
    constexpr const char *numbers = " : %4d x %4d (%4d,%4d)-->(%4d,%4d)";
    messages = {"BMP image is out of range!",
                "Canvas size" + text(numbers, {xres, yres, 0, 0, xres - 1, yres - 1})};
    return fail(subject + text(numbers, {width, height, x_, y_, x_ + width - 1, y_ + height - 1}));
  }

  // ---------------------------------------------------------------------------------------------- pixels

  void read(uint8_t *to, size_t count) {
    for (; count > 0 && position_ < file_->size(); --count)
      *to++ = (*file_)[position_++];
  }

  void read_palette() {
    if (!header_.has_palette())
      return;
    position_ = bmp_header::size_bytes;
    const uint32_t entries = header_.palette_entries;
    const bool is_whole = entries == 0 || entries > DRAVIK_PALETTE_ENTRIES;
    read(palette.data(), is_whole ? palette.size() : size_t{entries} * 4);
  }

  void draw_rows() {
    for (uint32_t row = 0; row < header_.height; ++row) {
      read(image.data(), header_.row_size());
      for (uint32_t i = 0; i < header_.width; ++i)
        on_->put(column(i), line_of(row), pixel(i));
    }
  }

  uint16_t pixel(uint32_t i) const {
    switch (header_.bits) {
    case 1:
      return never_black(entry(image[i / 8] >> (7 - i % 8) & 1));
    case 4:
      return never_black(entry(i % 2 == 0 ? image[i / 2] >> 4 : image[i / 2] & 15));
    case 8:
      return entry(image[i]);
    case 24:
      return rgb(image[i * 3 + 2], image[i * 3 + 1], image[i * 3]);
    default:
      return rgb(image[i * 4 + 2], image[i * 4 + 1], image[i * 4]);
    }
  }

  uint16_t entry(int index) const {
    const auto at = static_cast<size_t>(index) * 4;
    return rgb(palette[at + 2], palette[at + 1], palette[at]);
  }
  static uint16_t rgb(int red, int green, int blue) {
    return static_cast<uint16_t>(red / 8 * 2048 + green / 4 * 32 + blue / 8);
  }
  static uint16_t never_black(uint16_t colour) {
    return colour == 0 ? 0x0841 : colour;
  }

  // --------------------------------------------------------------------------------------- 16-bit pixels

  static uint16_t colour_at(const bytes &row, size_t at) {
    return static_cast<uint16_t>(row[at] | row[at + 1] << 8);
  }

  void draw_16bit_file(uint32_t mode) {
    bytes row(2 * header_.row_size()); // Intentional: two rows are read per row drawn
    for (size_t i = 0; i < row.size(); i += 2)
      put_u16(row, i, DRAVIK_MAGENTA_KEY); // before the first read, nothing of the buffer is drawn
    for (uint32_t n = 0; n < header_.height; ++n) {
      if (mode == DRAVIK_BMP_COPY) {
        copy_row(line_of(n));
      } else if (mode == DRAVIK_BMP_KEYED || mode == DRAVIK_BMP_SILHOUETTE) {
        read(row.data(), row.size());
        put_keyed_row(row, line_of(n), mode);
      }
    }
  }

  /// Copy the padding too, but not past the end of frame buffer memory; a file may end within a pixel.
  void copy_row(int64_t line) {
    for (size_t i = 0; i < header_.row_size() && position_ < file_->size(); ++i) {
      const int64_t to = column(i / 2);
      const uint16_t before = on_->get(to, line), byte = (*file_)[position_++];
      const int after = i % 2 == 0 ? (before & 0xFF00) | byte : (before & 0x00FF) | byte << 8;
      if (is_in_memory(to, line))
        on_->put(to, line, static_cast<uint16_t>(after));
    }
  }

  void put_keyed_row(const bytes &row, int64_t line, uint32_t mode) const {
    for (uint32_t i = 0; i < header_.width; ++i) {
      const uint16_t colour = colour_at(row, size_t{i} * 2);
      if (colour != DRAVIK_MAGENTA_KEY)
        on_->put(column(i), line, mode == DRAVIK_BMP_KEYED ? colour : silhouette_colour);
    }
  }

  void draw_16bit_slot(uint64_t stride, int32_t mode) const {
    for (uint32_t row = 0; row < header_.height; ++row)
      for (uint64_t i = 0; i < stride / 2; ++i)
        put_of_slot(column(i), line_of(row),
                    colour_at(*file_, static_cast<size_t>(header_.data_offset + row * stride + i * 2)), mode);
  }

  /// A silhouette from a slot leaves 0 transparent, too.
  void put_of_slot(int64_t x, int64_t line, uint16_t colour, int32_t mode) const {
    const bool is_key = colour == DRAVIK_MAGENTA_KEY;
    if (mode == DRAVIK_BMP_COPY ? is_in_memory(x, line) : mode == DRAVIK_BMP_KEYED && !is_key)
      on_->put(x, line, colour);
    else if (mode == DRAVIK_BMP_SILHOUETTE && !is_key && colour != 0)
      on_->put(x, line, silhouette_colour);
  }

  std::optional<model_plane> on_;
  const bytes *file_ = nullptr;
  size_t position_ = 0;
  bmp_header header_;
  uint32_t x_ = 0, y_ = 0;
};

} // namespace dravik::test
