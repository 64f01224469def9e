// PNG images of artwork, drawn by the library itself.
#pragma once

#include "dravik-art/archive_file.hpp"
#include "dravik-art/colours.hpp"
#include "png/png_file.hpp"

#include <span>

namespace dravik::art {

/// The library with one archive loaded. There can be one at a time.
class painter {
public:
  painter() = default;
  painter(const painter &) = delete;
  painter &operator=(const painter &) = delete;
  ~painter();

  /// Has the library load the file that `checked` was read from, and sets the theme colour.
  [[nodiscard]] bool load(const std::string &path, const archive &checked, uint16_t theme,
                          std::string &error);

  /// Draw an image that has its pixels. Pixels that the library does not draw are transparent.
  png::picture draw(uint32_t index, const image_record &record, ramp_choice ramp) const;
};

/// The colour that the library paints for a background; transparent for "none".
std::array<uint8_t, 4> background_rgba(uint16_t background) noexcept;

/// Images in rows of equal cells, each in the middle of its cell with a margin around it.
class sheet {
public:
  /// A sheet that is `columns` wide, or about square for 0. There is at least one cell.
  sheet(uint64_t cells, uint32_t widest, uint32_t highest, uint32_t columns) noexcept;

  uint64_t width() const noexcept { return columns_ * cell_width_; }
  uint64_t height() const noexcept { return rows_ * cell_height_; }
  /// Make the pixels, transparent at first. Before place().
  void make() { picture_ = blank(width(), height()); }
  void place(uint64_t cell, const png::picture &what, std::array<uint8_t, 4> background) noexcept;
  png::picture take() noexcept { return std::move(picture_); }

private:
  static png::picture blank(uint64_t width, uint64_t height);

  uint64_t cell_width_;
  uint64_t cell_height_;
  uint64_t columns_;
  uint64_t rows_;
  png::picture picture_;
};

/// Each pixel as a square of `factor` by `factor`.
png::picture enlarged(const png::picture &from, uint32_t factor);

} // namespace dravik::art
