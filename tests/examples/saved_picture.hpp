// Screenshots on the memory card.
#pragma once

#include "examples/demonstration.hpp"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace dravik::test {

/// The names of the files on the card.
inline std::vector<std::string> card_of(const board &on) {
  std::vector<std::string> names;
  for (const auto &entry : std::filesystem::directory_iterator{on.path("tmp/mmcblk0p1")})
    names.push_back(entry.path().filename().string());
  return names;
}

/// A BMP file of 16 bits per pixel, read by the file format.
class bmp_picture {
public:
  explicit bmp_picture(std::string contents) : contents_(std::move(contents)) {}

  std::string signature() const { return contents_.substr(0, 2); }
  uint32_t size() const { return number(2, 4); }
  uint32_t width() const { return number(18, 4); }
  uint32_t height() const { return number(22, 4); }
  uint32_t bits() const { return number(28, 2); }
  uint32_t compression() const { return number(30, 4); }
  std::vector<uint32_t> masks() const { return {number(54, 4), number(58, 4), number(62, 4)}; }
  uint32_t actual_size() const { return static_cast<uint32_t>(contents_.size()); }

  /// The pixel counted from the top; the file has its rows from the bottom to the top.
  uint16_t at(uint32_t x, uint32_t y) const {
    return static_cast<uint16_t>(number(number(10, 4) + ((height() - 1 - y) * width() + x) * 2, 2));
  }

private:
  uint32_t number(size_t at, size_t length) const {
    uint32_t value = 0;
    for (size_t i = length; i-- > 0;)
      value = value << 8 | static_cast<uint8_t>(contents_.at(at + i));
    return value;
  }

  std::string contents_;
};

/// Return the only file on the card; expect a screenshot of 640 x 480 pixels.
inline bmp_picture expect_saved_picture(const board &on) {
  const std::vector<std::string> names = card_of(on);
  EXPECT_THAT(names, testing::SizeIs(1));
  EXPECT_THAT(names, testing::Each(testing::MatchesRegex("q7_[0-9][0-9][0-9][0-9][0-9][0-9].bmp")));
  const bmp_picture picture{names.empty() ? std::string(614466, '\0')
                                          : on.read("tmp/mmcblk0p1/" + names.front())};
  EXPECT_EQ(picture.signature(), "BM");
  EXPECT_EQ(picture.size(), 614466U);
  EXPECT_EQ(picture.actual_size(), 614466U);
  EXPECT_EQ(picture.width(), 640U);
  EXPECT_EQ(picture.height(), 480U);
  EXPECT_EQ(picture.bits(), 16U);
  EXPECT_EQ(picture.compression(), 3U) << "colours by masks";
  EXPECT_EQ(picture.masks(), (std::vector<uint32_t>{0xF800, 0x07E0, 0x001F}));
  return picture;
}

inline void expect_what_the_screen_shows(const bmp_picture &picture, const shot &seen) {
  for (uint32_t y = 0; y < 480; ++y)
    for (uint32_t x = 0; x < 640; ++x)
      ASSERT_EQ(picture.at(x, y), seen.at(x, y)) << "at " << x << ", " << y;
}

} // namespace dravik::test
