// JPEG images made and decoded by the programs of libjpeg, next to the library's drawing.
#pragma once

#include "support/board.hpp"
#include "support/bytes.hpp"
#include "support/descriptors.hpp"
#include "support/program.hpp"
#include "support/screen.hpp"
#include "support/stderr_capture.hpp"

#include <optional>
#include <random>
#include <sstream>

namespace dravik::test {

/// Pixels of red, green and blue, top row first.
struct rgb_picture {
  uint32_t width = 0, height = 0;
  bytes channels = {};

  int channel(uint32_t x, uint32_t y, uint32_t which) const {
    return channels.at((size_t{y} * width + x) * 3 + which);
  }
  uint16_t colour(uint32_t x, uint32_t y) const {
    const int made = channel(x, y, 0) / 8 * 2048 + channel(x, y, 1) / 4 * 32 + channel(x, y, 2) / 8;
    const bool is_near_black = made == 0 || made == 1 || made == 0x0800 || made == 0x0801;
    return static_cast<uint16_t>(is_near_black ? DRAVIK_BLACK : made);
  }
};

inline bytes ppm_file(const rgb_picture &picture) {
  std::ostringstream head;
  head << "P6\n" << picture.width << ' ' << picture.height << "\n255\n";
  const std::string text = head.str();
  bytes file(text.begin(), text.end());
  append(file, picture.channels);
  return file;
}

/// Read PPM, or PGM as equal channels.
inline rgb_picture read_pnm(const std::string &path) {
  const bytes file = read_file(path);
  std::istringstream head(
      std::string(file.begin(), file.begin() + std::min<ptrdiff_t>(std::ssize(file), 40)));
  std::string magic;
  uint32_t most = 0;
  rgb_picture picture;
  head >> magic >> picture.width >> picture.height >> most;
  const size_t samples = magic == "P5" ? 1 : 3, start = static_cast<size_t>(head.tellg()) + 1;
  for (size_t i = 0; i < size_t{picture.width} * picture.height * 3; ++i)
    picture.channels.push_back(file.at(start + (samples == 1 ? i / 3 : i)));
  return picture;
}

/// Shades that every coder has to work for: slopes, edges and noise, dark corners.
inline rgb_picture busy_picture(std::mt19937 &random, uint32_t width, uint32_t height) {
  rgb_picture picture = {width, height};
  for (uint32_t y = 0; y < height; ++y)
    for (uint32_t x = 0; x < width; ++x) {
      const uint32_t noise = random() % 32;
      picture.channels.push_back(static_cast<uint8_t>(x * 220 / width + noise));
      picture.channels.push_back(static_cast<uint8_t>(y * 220 / height + noise));
      picture.channels.push_back(static_cast<uint8_t>(x / 7 % 2 == 0 ? 10 : 240 - noise));
    }
  return picture;
}

inline size_t segment_length(const bytes &jpeg, size_t marker) {
  return size_t{2} + jpeg.at(marker + 2) * 256U + jpeg.at(marker + 3);
}

/// Where the header of the first scan begins, and the image data after it.
struct scan_place {
  size_t header, data;
};

inline size_t first_segment(const bytes &jpeg, uint8_t kind) {
  size_t at = 2;
  while (jpeg.at(at + 1) != kind)
    at += segment_length(jpeg, at);
  return at;
}

inline scan_place first_scan(const bytes &jpeg) {
  const size_t header = first_segment(jpeg, 0xDA);
  return {header, header + segment_length(jpeg, header)};
}

/// A board with a directory of JPEG images, a screen, and a model of it.
class jpeg_stage : public testing::Test {
protected:
  board board_;
  std::mt19937 random_{77};
  std::optional<fake_screen> screen_{std::in_place, screen_shape{.xres = 96, .yres = 64, .padding = 6}};
  std::string said_; ///< what the last call wrote to standard error
  const std::string name_ = "picture.jpg";

  void use_screen(const screen_shape &shape) { screen_.emplace(shape); }

  std::string path_of(const std::string &name) const { return board_.path("usr/local/dravik/jpg/" + name); }

  /// Make name_ by cjpeg.
  void make(const rgb_picture &picture, const words &options = {}) const {
    const std::string ppm = board_.path("made.ppm");
    write_file(ppm, ppm_file(picture));
    words command = {"cjpeg"};
    command.insert(command.end(), options.begin(), options.end());
    command.insert(command.end(), {"-outfile", path_of(name_), ppm});
    ASSERT_EQ(run_program(command), 0) << "cjpeg failed, or is not there (package libjpeg-turbo-progs)";
  }

  /// The output of djpeg for name_, damaged or not; nothing if it fails.
  std::optional<rgb_picture> decoded_or_nothing() const {
    const std::string pnm = board_.path("decoded.pnm");
    constexpr int gave_up = 1, with_warnings = 2;
    const int status = run_program({"djpeg", "-pnm", "-outfile", pnm, path_of(name_)});
    if (status == gave_up)
      return std::nullopt;
    EXPECT_TRUE(status == 0 || status == with_warnings) << "no djpeg here (package libjpeg-turbo-progs)";
    return read_pnm(pnm);
  }
  rgb_picture decoded() const { return decoded_or_nothing().value(); }

  /// Draw a file, which keeps no descriptor open.
  int checked_draw(uint32_t x, uint32_t y, const std::string &name, uint32_t align = 0) {
    stderr_capture capture;
    const size_t before = open_descriptors();
    const int result = fb_put_jpeg_file(x, y, name.c_str(), align);
    EXPECT_EQ(open_descriptors(), before) << name;
    said_ = capture.take();
    return result;
  }

  /// The part of an image that is on the screen.
  void put(const rgb_picture &picture, int64_t left, int64_t top) {
    for (uint32_t y = 0; y < picture.height; ++y)
      for (uint32_t x = 0; x < picture.width; ++x)
        if (left + x >= 0 && left + x < fbinfo[FBINFO_XRES] && top + y >= 0 && top + y < fbinfo[FBINFO_YRES])
          screen_->model().put(left + x, top + y, picture.colour(x, y));
  }
};

} // namespace dravik::test
