// Screenshots: the file byte by byte, its name, its pixels in other readers, and cards that fail.

#include "dravik.h"
#include "support/board.hpp"
#include "support/bytes.hpp"
#include "support/descriptors.hpp"
#include "support/program.hpp"
#include "support/screen.hpp"

#include <csignal>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/resource.h>

namespace {

constinit time_t clock_seconds = 0;

} // namespace

/// The clock of this program, which the library reads too, is stopped.
extern "C" time_t time(time_t *seconds) noexcept {
  if (seconds != nullptr)
    *seconds = clock_seconds;
  return clock_seconds;
}

namespace dravik::test {
namespace {

constexpr uint32_t width = 640, height = 480;
constexpr size_t file_size = 614466;
constexpr time_t hour = 3600;

using picture = std::vector<uint16_t>;

/// An image in which every RGB565 colour occurs.
picture all_colours() {
  picture pixels(size_t{width} * height);
  for (size_t i = 0; i < pixels.size(); ++i)
    pixels[i] = static_cast<uint16_t>(i * 40503);
  return pixels;
}

bytes file_by_hand(const picture &pixels) {
  const bytes head = {
      'B',  'M',                                // signature
      0x42, 0x60, 0x09, 0x00,                   // file size: 614466
      0x42, 0x60, 0x09, 0x00,                   // the same once more, where readers expect nothing
      66,   0,    0,    0,                      // where the rows begin
      40,   0,    0,    0,                      // size of the information header
      0x80, 0x02, 0,    0,    0xE0, 0x01, 0, 0, // 640 by 480
      1,    0,    16,   0,                      // planes, bits
      3,    0,    0,    0,                      // compression: masks are specified
      0x00, 0x60, 0x09, 0x00,                   // size of the rows: 614400
      0x12, 0x0B, 0,    0,    0x12, 0x0B, 0, 0, // 2834 pixels a metre, both ways
      0,    0,    0,    0,    0,    0,    0, 0, // colours used, important colours
      0x00, 0xF8, 0,    0,    0xE0, 0x07, 0, 0, // masks of red and green
      0x1F, 0x00, 0,    0,                      // and of blue
  };
  bytes file = head;
  for (uint32_t row = height; row-- > 0;)
    for (uint32_t column = 0; column < width; ++column) {
      const uint16_t pixel = pixels[row * width + column];
      file.push_back(static_cast<uint8_t>(pixel & 0xFF));
      file.push_back(static_cast<uint8_t>(pixel >> 8));
    }
  return file;
}

class Screenshot : public testing::Test {
protected:
  board board_;
  const picture pixels_ = all_colours();

  Screenshot() { set_clock(9 * hour + 5 * 60 + 7); }

  void set_clock(time_t seconds, const char *zone = "UTC0") {
    clock_seconds = seconds;
    ::setenv("TZ", zone, 1);
  }

  /// The names of the files on the card.
  words card() const {
    words names;
    for (const auto &entry : std::filesystem::directory_iterator(board_.path("tmp/mmcblk0p1")))
      names.push_back(entry.path().filename());
    return names;
  }

  /// Take a screenshot of a card that takes files of `limit` bytes.
  int take_with_room_for(rlim_t limit) {
    rlimit before;
    ::getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit cut = {limit, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &cut);
    const int result = fb_get_bmp_file(pixels_.data());
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    return result;
  }
};

TEST_F(Screenshot, IsTheFileByteForByte) {
  ASSERT_EQ(fb_get_bmp_file(pixels_.data()), 0);
  const bytes made = read_file(board_.path("tmp/mmcblk0p1/q7_090507.bmp"));
  ASSERT_EQ(made.size(), file_size);
  EXPECT_TRUE(made == file_by_hand(pixels_));
}

TEST_F(Screenshot, SavesRowsFromBottomLeftToTopRight) {
  picture pixels(size_t{width} * height);
  pixels[(height - 1) * width] = 0x1234;
  pixels[width - 1] = 0xABCD;
  ASSERT_EQ(fb_get_bmp_file(pixels.data()), 0);
  const bytes made = read_file(board_.path("tmp/mmcblk0p1/q7_090507.bmp"));
  EXPECT_EQ(get_u32(made, 66) & 0xFFFF, 0x1234U);
  EXPECT_EQ(get_u32(made, file_size - 2), 0xABCDU);
}

TEST_F(Screenshot, NamesFileByTimeOfDay) {
  for (const time_t seconds : {time_t{0}, 24 * hour - 1, 12 * hour + 34 * 60 + 56, 1000000 * 24 * hour + 1}) {
    set_clock(seconds);
    EXPECT_EQ(fb_get_bmp_file(pixels_.data()), 0);
  }
  EXPECT_THAT(card(), testing::UnorderedElementsAre("q7_000000.bmp", "q7_235959.bmp", "q7_123456.bmp",
                                                    "q7_000001.bmp"));
}

TEST_F(Screenshot, UsesLocalTime) {
  set_clock(9 * hour + 5 * 60 + 7, "AAA-05:30");
  fb_get_bmp_file(pixels_.data());
  set_clock(9 * hour + 5 * 60 + 7, "BBB+10");
  fb_get_bmp_file(pixels_.data());
  EXPECT_THAT(card(), testing::UnorderedElementsAre("q7_143507.bmp", "q7_230507.bmp"));
}

TEST_F(Screenshot, ReplacesAImageOfTheSameTimeOfDay) {
  board_.write("tmp/mmcblk0p1/q7_090507.bmp", std::string(700000, 'x'));
  set_clock(clock_seconds + 24 * hour);
  ASSERT_EQ(fb_get_bmp_file(pixels_.data()), 0);
  EXPECT_THAT(card(), testing::ElementsAre("q7_090507.bmp"));
  EXPECT_TRUE(read_file(board_.path("tmp/mmcblk0p1/q7_090507.bmp")) == file_by_hand(pixels_));
}

TEST_F(Screenshot, DoesNotLookAtTheScreen) {
  std::fill(std::begin(fbinfo), std::end(fbinfo), 0xFFFFFFFF);
  fbp = nullptr;
  EXPECT_EQ(fb_get_bmp_file(pixels_.data()), 0);
  EXPECT_TRUE(read_file(board_.path("tmp/mmcblk0p1/q7_090507.bmp")) == file_by_hand(pixels_));
}

TEST_F(Screenshot, IsDrawnAgainAsItWas) {
  fake_screen screen(width, height);
  ASSERT_EQ(fb_get_bmp_file(pixels_.data()), 0);
  ASSERT_EQ(fb_put_bmp_file(0, 0, "/tmp/mmcblk0p1/q7_090507.bmp", 0, 0), 0);
  for (uint32_t y = 0; y < height; ++y)
    for (uint32_t x = 0; x < width; ++x)
      screen.model().put(x, y, pixels_[y * width + x]);
  EXPECT_TRUE(screen.same());
}

TEST_F(Screenshot, SavesColoursThatConvertReads) {
  ASSERT_EQ(fb_get_bmp_file(pixels_.data()), 0);
  const std::string plain = board_.path("plain.rgb");
  ASSERT_EQ(
      run_program({"convert", board_.path("tmp/mmcblk0p1/q7_090507.bmp"), "-depth", "8", "rgb:" + plain}), 0)
      << "ImageMagick's convert could not read the file, or is not there";
  const bytes colours = read_file(plain);
  ASSERT_EQ(colours.size(), pixels_.size() * 3);
  for (size_t i = 0; i < pixels_.size(); ++i) {
    const int red = colours[i * 3], green = colours[i * 3 + 1], blue = colours[i * 3 + 2];
    ASSERT_EQ(red / 8 * 2048 + green / 4 * 32 + blue / 8, pixels_[i]) << "pixel " << i;
  }
}

TEST_F(Screenshot, FailsWithoutCardAndLeavesNothing) {
  board_.remove("tmp/mmcblk0p1");
  const size_t before = open_descriptors();
  EXPECT_EQ(fb_get_bmp_file(pixels_.data()), -1);
  EXPECT_FALSE(board_.exists("tmp/mmcblk0p1"));
  EXPECT_EQ(open_descriptors(), before);
}

TEST_F(Screenshot, FailsOnUnwritableCard) {
  std::filesystem::create_directory(board_.path("tmp/mmcblk0p1/q7_090507.bmp"));
  EXPECT_EQ(fb_get_bmp_file(pixels_.data()), -1);
  EXPECT_THAT(card(), testing::ElementsAre("q7_090507.bmp"));
}

TEST_F(Screenshot, FailsOnFullCard) {
  rlimit limit;
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
  ::signal(SIGXFSZ, SIG_IGN);
  const rlimit full = {0, limit.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &full), 0);
  const size_t before = open_descriptors();
  const int result = fb_get_bmp_file(pixels_.data());
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  EXPECT_EQ(result, -1);
  EXPECT_EQ(open_descriptors(), before);
}

TEST_F(Screenshot, FailsOnCardThatFillsUpAnywhere) {
  for (const rlim_t limit :
       {0UL, 1UL, 66UL, 4096UL, 32768UL, 65536UL, 300000UL, 614000UL, 614400UL, 614465UL})
    EXPECT_EQ(take_with_room_for(limit), -1) << limit;
  EXPECT_EQ(take_with_room_for(file_size), 0);
}

TEST_F(Screenshot, KeepsNoDescriptor) {
  const size_t before = open_descriptors();
  fb_get_bmp_file(pixels_.data());
  EXPECT_EQ(open_descriptors(), before);
}

} // namespace
} // namespace dravik::test
