// The record of the screen, its memory and single pixels, without a device.

#include "support/screen.hpp"

#include <algorithm>
#include <array>
#include <gmock/gmock.h>
#include <numeric>
#include <vector>

namespace dravik::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::Pair;

// The sizes that programs copy.
static_assert(sizeof fbfd == 4 && sizeof fbinfo == 12 * 4 && sizeof image_buffer == size_t{640} * 480);
static_assert(FBINFO_WORDS == 12);

/// Taken before main(), when no test has used a screen yet.
const struct {
  int32_t descriptor = fbfd;
  const uint8_t *address = fbp, *mapping = fbp0;
  ptrdiff_t empty_cells = std::ranges::count(image_buffer, 0);
  std::vector<uint32_t> record = [] {
    std::vector<uint32_t> copy(12, 77U);
    get_cam_fb_info(copy.data());
    return copy;
  }();
} at_load;

TEST(FbGlobals, AreZeroBeforeTheScreenIsOpened) {
  EXPECT_EQ(at_load.descriptor, 0);
  EXPECT_EQ(at_load.address, nullptr);
  EXPECT_EQ(at_load.mapping, nullptr);
  EXPECT_EQ(at_load.empty_cells, 640 * 480);
}

TEST(GetCamFbInfo, ReturnsTwelveZerosBeforeTheScreenIsOpened) {
  EXPECT_THAT(at_load.record, Each(0U));
}

TEST(GetCamFbInfo, CopiesAllTwelveWordsInOrderAndNoMore) {
  std::iota(std::begin(fbinfo), std::end(fbinfo), 100U);
  uint32_t copy[13] = {};
  get_cam_fb_info(copy);
  EXPECT_THAT(copy, ElementsAre(100, 101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111, 0));
}

TEST(GetCamFbInfo, HasWordsInOrder) {
  EXPECT_THAT(
      (std::array<int, 12>{FBINFO_LINE_LENGTH, FBINFO_BYTES_PER_PIXEL, FBINFO_SCREEN_SIZE, FBINFO_SPARE_A,
                           FBINFO_XRES, FBINFO_YRES, FBINFO_BITS_PER_PIXEL, FBINFO_BUFFER_OFFSET,
                           FBINFO_BUFFER_COUNT, FBINFO_COPY_SIZE, FBINFO_LINE_COUNT, FBINFO_SPARE_B}),
      ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11));
}

/// Screen memory of 40 bytes, counted from 1.
class GetFbBuffer : public testing::Test {
protected:
  GetFbBuffer() {
    std::iota(memory.begin(), memory.end(), uint8_t{1});
    fbp = memory.data();
    fbinfo[FBINFO_COPY_SIZE] = 40;
    fbinfo[FBINFO_BUFFER_OFFSET] = 0;
  }

  std::array<uint8_t, 60> memory;
  std::array<uint8_t, 60> copy = {};
};

TEST_F(GetFbBuffer, CopiesCopySizeBytesAndNoMore) {
  get_fb_buffer(0, 0, copy.data());
  EXPECT_TRUE(std::equal(copy.begin(), copy.begin() + 40, memory.begin()));
  EXPECT_THAT(std::vector<uint8_t>(copy.begin() + 40, copy.end()), Each(0));
}

TEST_F(GetFbBuffer, StartsAtTheBufferOffset) {
  fbinfo[FBINFO_BUFFER_OFFSET] = 13;
  get_fb_buffer(0, 0, copy.data());
  EXPECT_TRUE(std::equal(copy.begin(), copy.begin() + 40, memory.begin() + 13));
  EXPECT_EQ(copy[40], 0);
}

TEST_F(GetFbBuffer, CopiesCopySizeBytes) {
  fbinfo[FBINFO_SCREEN_SIZE] = 55;
  fbinfo[FBINFO_COPY_SIZE] = 3;
  get_fb_buffer(0, 0, copy.data());
  EXPECT_THAT(std::vector<uint8_t>(copy.begin(), copy.begin() + 5), ElementsAre(1, 2, 3, 0, 0));
}

TEST_F(GetFbBuffer, LeavesDestinationForOtherSelectors) {
  constexpr uint32_t pairs[][2] = {{1, 0},          {0, 1},   {1, 1}, {0x80000000, 0},
                                   {0, 0xFFFFFFFF}, {256, 0}, {5, 5}};
  for (const auto &[a, b] : pairs) {
    get_fb_buffer(a, b, copy.data());
    EXPECT_THAT(copy, Each(0)) << a << ", " << b;
  }
}

TEST(FbPutPixel, StoresAtLineLengthTimesYPlusTwoX) {
  fake_screen screen{{.xres = 7, .yres = 5, .padding = 6, .misalignment = 2}};
  fb_put_pixel(3, 4, 0xF801);
  EXPECT_EQ(fbp[4 * 20 + 3 * 2], 0x01);
  EXPECT_EQ(fbp[4 * 20 + 3 * 2 + 1], 0xF8);
  EXPECT_THAT(screen.painted(), ElementsAre(Pair(3, 4)));
}

TEST(FbPutPixel, ReachesEveryPixelOfPaddedLines) {
  for (const uint32_t padding : {0U, 2U, 4U, 62U}) {
    fake_screen screen{{.xres = 9, .yres = 6, .padding = padding}};
    uint16_t colour = 0xF000;
    for (uint32_t y = 0; y < 6; ++y)
      for (uint32_t x = 0; x < 9; ++x, ++colour) {
        fb_put_pixel(x, y, colour);
        screen.model().put(x, y, colour);
      }
    EXPECT_TRUE(screen.same()) << "padding " << padding;
  }
}

TEST(FbPutPixel, ContinuesPastEdgeInMemory) {
  fake_screen screen{8, 4};
  fb_put_pixel(8, 1, DRAVIK_RED);  // column 0 of the next line
  fb_put_pixel(3, 4, DRAVIK_RED);  // the line after the last
  fb_put_pixel(17, 0, DRAVIK_RED); // two lines on
  EXPECT_THAT(screen.painted(), ElementsAre(Pair(0, 2), Pair(1, 2), Pair(3, 4)));
}

TEST(FbPutPixel, TreatsLargestNumbersAsMinusOne) {
  fake_screen screen{8, 4};
  fb_put_pixel(0xFFFFFFFF, 1, DRAVIK_RED); // left of line 1: the end of line 0
  fb_put_pixel(2, 0xFFFFFFFF, DRAVIK_RED);
  EXPECT_THAT(screen.painted(), ElementsAre(Pair(2, -1), Pair(7, 0)));
}

TEST(FbPutPixel, IgnoresDepth) {
  fake_screen screen{8, 4};
  fbinfo[FBINFO_BYTES_PER_PIXEL] = 4;
  fbinfo[FBINFO_BITS_PER_PIXEL] = 32;
  fb_put_pixel(3, 2, DRAVIK_RED);
  EXPECT_THAT(screen.painted(), ElementsAre(Pair(3, 2)));
}

TEST(FbPutPixel, DrawsThemeCodeAsPlainColour) {
  fake_screen screen{8, 4};
  set_theme_color(DRAVIK_RED);
  fb_put_pixel(1, 1, DRAVIK_THEME);
  EXPECT_EQ(screen.drawn().get(1, 1), DRAVIK_THEME);
}

TEST(FbPutPixel, UsesAddressAtTheCall) {
  fake_screen first{8, 4}, second{8, 4};
  first.use();
  fb_put_pixel(1, 1, DRAVIK_RED);
  second.use();
  fb_put_pixel(2, 2, DRAVIK_RED);
  EXPECT_THAT(first.painted(), ElementsAre(Pair(1, 1)));
  EXPECT_THAT(second.painted(), ElementsAre(Pair(2, 2)));
}

} // namespace
} // namespace dravik::test
