// The demonstration's screenshots: what lands on the memory card.

#include "examples/demonstration.hpp"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace dravik::test {
namespace {

using sim::screen;
using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

const std::string is_saved = "dashcam: the screen is saved on the card\n";

/// The names of the files on the card.
std::vector<std::string> card_of(const board &on) {
  std::vector<std::string> names;
  for (const auto &entry : std::filesystem::directory_iterator{on.path("tmp/mmcblk0p1")})
    names.push_back(entry.path().filename().string());
  return names;
}

/// A BMP file of 16 bits a pixel, as a reader of the file format takes it.
class bmp_picture {
public:
  explicit bmp_picture(std::string bytes) : bytes_(std::move(bytes)) {}

  std::string signature() const { return bytes_.substr(0, 2); }
  uint32_t size() const { return number(2, 4); }
  uint32_t width() const { return number(18, 4); }
  uint32_t height() const { return number(22, 4); }
  uint32_t bits() const { return number(28, 2); }
  uint32_t compression() const { return number(30, 4); }
  std::vector<uint32_t> masks() const { return {number(54, 4), number(58, 4), number(62, 4)}; }
  uint32_t actual_size() const { return static_cast<uint32_t>(bytes_.size()); }

  /// The pixel counted from the top; the file has its rows from the bottom to the top.
  uint16_t at(uint32_t x, uint32_t y) const {
    return static_cast<uint16_t>(number(number(10, 4) + ((height() - 1 - y) * width() + x) * 2, 2));
  }

private:
  uint32_t number(size_t at, size_t length) const {
    uint32_t value = 0;
    for (size_t i = length; i-- > 0;)
      value = value << 8 | static_cast<uint8_t>(bytes_.at(at + i));
    return value;
  }

  std::string bytes_;
};

/// The only file on the card, and that it is a picture of 640 by 480.
bmp_picture saved_picture(const board &on) {
  const std::vector<std::string> names = card_of(on);
  EXPECT_THAT(names, SizeIs(1));
  EXPECT_THAT(names, Each(MatchesRegex("q7_[0-9][0-9][0-9][0-9][0-9][0-9].bmp")));
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

void expect_what_the_screen_shows(const bmp_picture &picture, const shot &seen) {
  for (uint32_t y = 0; y < 480; ++y)
    for (uint32_t x = 0; x < 640; ++x)
      ASSERT_EQ(picture.at(x, y), seen.at(x, y)) << "at " << x << ", " << y;
}

class DashcamScreenshot : public testing::TestWithParam<uint32_t> {};

TEST_P(DashcamScreenshot, IsWhatTheScreenShows) {
  screen shown = screen::of_size(640, 480);
  shown.line_length += GetParam();
  shown.yres_virtual = 960;
  const board on{shown};
  add_demonstration_files(on);
  application dashcam{on, DASHCAM, {"--screenshot", "--screen", "journey", "--time", "14:32:08"}};
  EXPECT_EQ(dashcam.finish(), 0);
  EXPECT_THAT(dashcam.errors(), HasSubstr(is_saved));
  expect_what_the_screen_shows(saved_picture(on), {on, shown});
}

INSTANTIATE_TEST_SUITE_P(All, DashcamScreenshot, testing::Values(0, 24), [](const auto &one) {
  return one.param == 0 ? "OfPlainLines" : "OfLinesWithAGapBehindThem";
});

TEST(DashcamScreenshotKey, SavesTheScreenAndGoesOn) {
  const board on{640, 480};
  add_demonstration_files(on);
  application dashcam{on, DASHCAM};
  dashcam.await_error("digits_640.q7 : 36\n");
  dashcam.send(SIGUSR1);
  dashcam.await_error(is_saved);
  dashcam.send(SIGTERM);
  EXPECT_EQ(dashcam.finish(), 0);
  const bmp_picture picture = saved_picture(on);
  for (uint32_t x = 0; x < 640; ++x)
    ASSERT_EQ(picture.at(x, 0), theme) << "the edge of the splash screen";
}

TEST(DashcamScreenshotKey, IsRefusedOnAPanelOfAnotherSize) {
  const board on{320, 240};
  add_demonstration_files(on);
  application dashcam{on, DASHCAM, {"--screen", "menu", "--screenshot"}};
  EXPECT_EQ(dashcam.finish(), 1);
  EXPECT_THAT(dashcam.errors(), HasSubstr("dashcam: only a panel of 640 by 480 can be saved\n"));
  EXPECT_THAT(card_of(on), IsEmpty());
}

TEST(DashcamScreenshotKey, FailsWhenTheCardIsOut) {
  const board on{640, 480};
  add_demonstration_files(on);
  std::filesystem::remove(on.path("tmp/mmcblk0p1"));
  application dashcam{on, DASHCAM, {"--screen", "menu", "--screenshot"}};
  EXPECT_EQ(dashcam.finish(), 1);
  EXPECT_THAT(dashcam.errors(), HasSubstr("dashcam: the screen cannot be saved; is the card in?\n"));
}

} // namespace
} // namespace dravik::test
