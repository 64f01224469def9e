// A plain, slow reader of BMP files: one read after the other, one pixel after the other.
#pragma once

#include "support/bytes.hpp"
#include "support/screen.hpp"

#include <array>
#include <cstring>

namespace dravik::test {

/// What stays from file to file, and what the last one gave.
class bmp_model {
public:
  std::array<uint32_t, 7> info = {};
  std::array<uint8_t, 1024> palette = {};
  std::array<uint8_t, 8192> image = {};
  std::string messages;

  int draw(const model_plane &on, uint32_t x, uint32_t y, const std::string &path, const bytes &file,
           uint32_t mode, uint8_t align) {
    messages.clear();
    header_.assign(54, 0);
    file_ = &file;
    position_ = 0;
    read(header_.data(), 54);
    if (word(2) != file.size())
      return fail(path + " file size error!\n");
    if (header_[0] != 'B' || header_[1] != 'M')
      return fail(path + " BMP type error!\n");
    width_ = word(18);
    height_ = word(22);
    bits_ = word(28) & 0xFFFF;
    info = {width_, height_, bits_, word(2), word(34), word(14), word(10)};
    if (align == 1 || align == 3)
      x = centred(x, width_);
    if (align == 2 || align == 3)
      y = centred(y, height_);
    if (width_ > 2048)
      return fail(text("BMP image size is too big. %d x %d\n", {width_, height_}));
    const uint32_t xres = fbinfo[FBINFO_XRES], yres = fbinfo[FBINFO_YRES];
    if (width_ > xres || height_ > yres || x + width_ > xres || y + height_ > yres)
      return fail(out_of_range(x, y));
    if (bits_ == 1 || bits_ == 4 || bits_ == 8) {
      position_ = 54;
      const uint32_t colours = word(50);
      read(palette.data(), colours == 0 || colours > 256 ? 1024 : colours * 4);
    }
    position_ = word(10);
    if (bits_ == 16) {
      draw16(on, x, y, mode);
    } else if (bits_ == 1 || bits_ == 4 || bits_ == 8 || bits_ == 24 || bits_ == 32) {
      draw_rows(on, x, y);
    }
    return 0;
  }

private:
  static std::string text(const char *format, std::array<uint32_t, 6> values) {
    char buffer[200];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::snprintf(buffer, sizeof buffer, format, values[0], values[1], values[2], values[3], values[4],
                  values[5]);
#pragma GCC diagnostic pop
    return buffer;
  }

  std::string out_of_range(uint32_t x, uint32_t y) const {
    const uint32_t xres = fbinfo[FBINFO_XRES], yres = fbinfo[FBINFO_YRES];
    return "BMP image is out of range!\n" +
           text("Canvas size : %4d x %4d (%4d,%4d)-->(%4d,%4d)\n", {xres, yres, 0, 0, xres - 1, yres - 1}) +
           text(" Image size : %4d x %4d (%4d,%4d)-->(%4d,%4d)\n",
                {width_, height_, x, y, x + width_ - 1, y + height_ - 1});
  }

  /// 0xFFFFFFFF is the column left of, or the line above, the first.
  static int64_t signed_position(uint32_t at) {
    return static_cast<int32_t>(at);
  }

  static uint32_t centred(uint32_t at, uint32_t size) {
    const int32_t half = static_cast<int32_t>(size) >> 1;
    return static_cast<int32_t>(at) > half ? at - static_cast<uint32_t>(half) : 0;
  }

  int fail(const std::string &why) {
    messages = why;
    return -1;
  }

  uint32_t word(size_t position) const {
    return get_u32(header_, position);
  }

  void read(uint8_t *to, size_t count) {
    for (; count > 0 && position_ < file_->size(); --count)
      *to++ = (*file_)[position_++];
  }

  size_t row_size() const {
    return (width_ * bits_ + 31) / 32 * 4;
  }

  void draw_rows(const model_plane &on, uint32_t x, uint32_t y) {
    for (uint32_t row = 0; row < height_; ++row) {
      read(image.data(), row_size());
      for (uint32_t column = 0; column < width_; ++column)
        on.put(signed_position(x + column), signed_position(y + height_ - 1 - row), pixel(column));
    }
  }

  uint16_t pixel(uint32_t column) const {
    switch (bits_) {
    case 1:
      return never_black(entry(image[column / 8] >> (7 - column % 8) & 1));
    case 4:
      return never_black(entry(column % 2 == 0 ? image[column / 2] >> 4 : image[column / 2] & 15));
    case 8:
      return entry(image[column]);
    case 24:
      return rgb(image[column * 3 + 2], image[column * 3 + 1], image[column * 3]);
    default:
      return rgb(image[column * 4 + 2], image[column * 4 + 1], image[column * 4]);
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

  /// Padding included, but not past the end of the screen's memory; a file may end within a pixel.
  void copy_row(const model_plane &on, int64_t x, int64_t line) {
    for (size_t i = 0; i < row_size() && position_ < file_->size(); ++i) {
      const int64_t column = x + static_cast<int64_t>(i / 2);
      const uint16_t before = on.get(column, line), byte = (*file_)[position_++];
      if (!lies_in_memory(column, line))
        continue;
      on.put(column, line,
             static_cast<uint16_t>(i % 2 == 0 ? (before & 0xFF00) | byte : (before & 0x00FF) | byte << 8));
    }
  }

  void draw16(const model_plane &on, uint32_t x, uint32_t y, uint32_t mode) {
    bytes row(2 * row_size());
    for (size_t i = 0; i < row.size(); i += 2)
      put_u16(row, i, 0xF81F); // before the first read nothing of the buffer shows
    for (uint32_t n = 0; n < height_; ++n) {
      const int64_t line = signed_position(y + height_ - 1 - n);
      if (mode == 0)
        copy_row(on, signed_position(x), line);
      if (mode != 1 && mode != 2)
        continue;
      read(row.data(), row.size());
      for (uint32_t column = 0; column < width_; ++column) {
        const auto colour = static_cast<uint16_t>(row[column * 2] | row[column * 2 + 1] << 8);
        if (colour != 0xF81F)
          on.put(signed_position(x + column), line, mode == 1 ? colour : 0x7BCF);
      }
    }
  }

  const bytes *file_ = nullptr;
  size_t position_ = 0;
  bytes header_;
  uint32_t width_ = 0, height_ = 0, bits_ = 0;
};

} // namespace dravik::test
