// Placement of JPEG images: alignment codes, and images partly or completely off the screen.

#include "image/jpeg_stage.hpp"

namespace dravik::test {
namespace {

class JpegPlace : public jpeg_stage {
protected:
  rgb_picture picture_;

  void use_picture(uint32_t width, uint32_t height) {
    make(busy_picture(random_, width, height));
    picture_ = decoded();
  }

  static int64_t as_signed(uint32_t position) { return static_cast<int32_t>(position); }

  static uint32_t centred(uint32_t at, uint32_t size) { return as_signed(at) > size / 2 ? at - size / 2 : 0; }

  /// The three lines about an image that leaves the screen; nothing for one that does not.
  std::string warning(uint32_t x, uint32_t y) const {
    const uint32_t xres = fbinfo[FBINFO_XRES], yres = fbinfo[FBINFO_YRES], width = picture_.width,
                   height = picture_.height;
    if (width <= xres && height <= yres && x + width <= xres && y + height <= yres)
      return {};
    char text[300];
    std::snprintf(text, sizeof text,
                  "JPG image is out of range!\n"
                  "Canvas size : %4u x %4u (   0,   0)-->(%4u,%4u)\n"
                  " Image size : %4u x %4u (%4d,%4d)-->(%4d,%4d)\n",
                  xres, yres, xres - 1, yres - 1, width, height, static_cast<int>(x), static_cast<int>(y),
                  static_cast<int>(x + width - 1), static_cast<int>(y + height - 1));
    return text;
  }

  void expect_at(uint32_t x, uint32_t y, uint32_t align = 0) {
    SCOPED_TRACE(testing::Message() << "at " << x << ", " << y << " with code " << align);
    EXPECT_EQ(checked_draw(x, y, name_, align), 0);
    const uint32_t left = align == 1 || align == 3 ? centred(x, picture_.width) : x;
    const uint32_t top = align == 2 || align == 3 ? centred(y, picture_.height) : y;
    EXPECT_EQ(said_, warning(left, top));
    put(picture_, as_signed(left), as_signed(top));
    EXPECT_TRUE(screen_->same());
  }
};

TEST_F(JpegPlace, DrawsAtTopLeftCorner) {
  use_picture(20, 10);
  for (const uint32_t x : {0U, 1U, 2U, 75U, 76U})
    for (const uint32_t y : {0U, 1U, 53U, 54U})
      expect_at(x, y);
}

TEST_F(JpegPlace, PlacesByCodes) {
  for (const uint32_t width : {20U, 21U}) {
    use_picture(width, width - 9);
    for (const uint32_t align : {0U, 1U, 2U, 3U, 4U, 5U, 11U, 256U, 257U, 0xFFFFFFFFU})
      expect_at(40, 30, align);
  }
}

TEST_F(JpegPlace, TruncatesHalfTheSizeToCentre) {
  make({3, 5, bytes(3 * 5 * 3, 255)}, {"-grayscale", "-quality", "100"});
  EXPECT_EQ(checked_draw(40, 30, name_, 3), 0);
  for (uint32_t y = 28; y < 33; ++y)
    for (uint32_t x = 39; x < 42; ++x)
      screen_->model().put(x, y, DRAVIK_WHITE);
  EXPECT_TRUE(screen_->same());
}

TEST_F(JpegPlace, StartsAtOriginIfCentredNearIt) {
  use_picture(20, 10);
  for (const uint32_t x : {0U, 9U, 10U, 11U, 0xFFFFFFFFU, 0x80000000U})
    for (const uint32_t y : {0U, 5U, 6U, 0xFFFFFFFFU})
      expect_at(x, y, 3);
}

TEST_F(JpegPlace, ClipsAtEveryEdge) {
  use_picture(20, 10);
  const uint32_t columns[] = {0xFFFFFFFF, 0xFFFFFFF0, 0xFFFFFFED, 0xFFFFFFEC, 0xFFFFFFEB, 3,
                              76,         77,         95,         96,         97};
  const uint32_t rows[] = {0xFFFFFFFF, 0xFFFFFFF7, 0xFFFFFFF6, 0xFFFFFFF5, 3, 54, 55, 63, 64, 65};
  for (const uint32_t x : columns)
    for (const uint32_t y : rows)
      expect_at(x, y);
}

TEST_F(JpegPlace, TreatsWrappedPositionsAsNegative) {
  use_picture(20, 10);
  expect_at(0xFFFFFFFF, 0xFFFFFFFF);
  EXPECT_EQ(said_, "");
  expect_at(0xFFFFFFEC, 3); // ends with the column left of the first
  EXPECT_EQ(said_, "");
  expect_at(0xFFFFFFEB, 3);
  EXPECT_EQ(said_, "JPG image is out of range!\n"
                   "Canvas size :   96 x   64 (   0,   0)-->(  95,  63)\n"
                   " Image size :   20 x   10 ( -21,   3)-->(  -2,  12)\n");
}

TEST_F(JpegPlace, DrawsNothingFarOffTheScreen) {
  use_picture(20, 10);
  for (const uint32_t far : {0x7FFFFFFFU, 0x7FFFFFF0U, 0x80000000U, 0x80000001U, 0xC0000000U, 0x40000000U}) {
    expect_at(far, 5);
    expect_at(5, far);
    expect_at(far, far);
    expect_at(far, far, 3);
  }
}

TEST_F(JpegPlace, PrintsNoWarningForSizeOfScreen) {
  use_picture(96, 64);
  expect_at(0, 0);
  EXPECT_EQ(said_, "");
  expect_at(48, 32, 3);
  EXPECT_EQ(said_, "");
}

TEST_F(JpegPlace, WarnsOfImageWiderThanScreen) {
  use_picture(97, 20);
  EXPECT_EQ(checked_draw(0, 2, name_), 0);
  EXPECT_EQ(said_, "JPG image is out of range!\n"
                   "Canvas size :   96 x   64 (   0,   0)-->(  95,  63)\n"
                   " Image size :   97 x   20 (   0,   2)-->(  96,  21)\n");
  put(picture_, 0, 2);
  EXPECT_TRUE(screen_->same());
}

TEST_F(JpegPlace, ClipsImageLargerOnEverySide) {
  use_picture(250, 190);
  expect_at(0xFFFFFFB0, 0xFFFFFFC0);
  expect_at(0, 0);
  expect_at(48, 32, 3);
  expect_at(200, 150, 3);
}

TEST_F(JpegPlace, ClipsImageMuchLargerThanMemory) {
  use_picture(600, 900);
  expect_at(0, 0);
  expect_at(0xFFFFFE00, 0xFFFFFD00);
}

TEST_F(JpegPlace, DrawsOnLinesWithoutPadding) {
  use_screen({.xres = 40, .yres = 30});
  use_picture(41, 31);
  expect_at(0, 0);
  expect_at(0xFFFFFFFF, 0xFFFFFFFF);
}

TEST_F(JpegPlace, DrawsAtRandomPositions) {
  for (int n = 0; n < 20; ++n) {
    use_picture(random_in(random_, 1, 120), random_in(random_, 1, 90));
    for (int place = 0; place < 20; ++place)
      expect_at(random_in(random_, 0, 240) - 120, random_in(random_, 0, 180) - 90, random_in(random_, 0, 4));
  }
}

} // namespace
} // namespace dravik::test
