// Images drawn from memory slots: modes, placement, rejected files, and random images compared with
// the model.

#include "image/slot_stage.hpp"
#include "support/stderr_capture.hpp"

namespace dravik::test {
namespace {

using testing::ElementsAre;

class PictureSlot : public slot_stage {
protected:
  /// Load a 16-bit image whose rows have no padding, as the keyed modes read them; `colour(row,
  /// column)` counts rows from the bottom.
  template <class Colour> void load_dense(uint32_t width, uint32_t height, Colour colour) {
    bmp_maker picture = {.width = width, .height = height, .bits = 16};
    picture.pixels.resize(picture.row_size() * height);
    for (uint32_t row = 0; row < height; ++row)
      for (uint32_t column = 0; column < width; ++column)
        put_u16(picture.pixels, (size_t{row} * width + column) * 2, colour(row, column));
    load({picture.file()});
  }
};

TEST_F(PictureSlot, CopiesEveryColour) {
  bmp_maker picture = {.width = 4, .height = 1, .bits = 16};
  picture.set16(0, 0, DRAVIK_MAGENTA_KEY).set16(1, 0, 0).set16(2, 0, DRAVIK_BLACK).set16(3, 0, 0xABCD);
  load({picture.file()});
  put_pixel(10, 20, DRAVIK_MAGENTA_KEY);
  put_pixel(11, 20, 0);
  put_pixel(12, 20, DRAVIK_BLACK);
  put_pixel(13, 20, 0xABCD);
  EXPECT_EQ(bmp_mem_show(10, 20, 0, DRAVIK_BMP_COPY, DRAVIK_TOP_LEFT), 0);
  EXPECT_TRUE(screen_->same());
}

TEST_F(PictureSlot, DrawsRowsFromBottomInEveryMode) {
  load_dense(2, 3, [](uint32_t row, uint32_t) { return static_cast<uint16_t>(row + 1); });
  for (const int32_t mode : {0, 1}) {
    EXPECT_EQ(bmp_mem_show(0, 0, 0, mode, DRAVIK_TOP_LEFT), 0);
    for (uint32_t line = 0; line < 3; ++line)
      for (uint32_t column = 0; column < 2; ++column)
        put_pixel(column, line, static_cast<uint16_t>(3 - line));
    EXPECT_TRUE(screen_->same()) << mode;
  }
}

TEST_F(PictureSlot, LeavesKeyTransparentButNotBlack) {
  load_dense(3, 1, [](uint32_t, uint32_t column) {
    return std::array<uint16_t, 3>{0x1111, DRAVIK_MAGENTA_KEY, 0}[column];
  });
  EXPECT_EQ(bmp_mem_show(5, 6, 0, DRAVIK_BMP_KEYED, DRAVIK_TOP_LEFT), 0);
  put_pixel(5, 6, 0x1111);
  put_pixel(7, 6, 0);
  EXPECT_TRUE(screen_->same());
}

TEST_F(PictureSlot, DrawsSilhouetteWithoutKeyAndBlack) {
  load_dense(4, 1, [](uint32_t, uint32_t column) {
    return std::array<uint16_t, 4>{0x1111, DRAVIK_MAGENTA_KEY, 0, 1}[column];
  });
  EXPECT_EQ(bmp_mem_show(5, 6, 0, DRAVIK_BMP_SILHOUETTE, DRAVIK_TOP_LEFT), 0);
  put_pixel(5, 6, silhouette_colour);
  put_pixel(8, 6, silhouette_colour);
  EXPECT_TRUE(screen_->same());
}

TEST_F(PictureSlot, CopiesPaddingOfOddWidth) {
  bmp_maker picture = {.width = 1, .height = 2, .bits = 16};
  picture.pixels = {0x11, 0x11, 0x22, 0x22, 0x33, 0x33, 0x44, 0x44};
  load({picture.file()});
  EXPECT_EQ(bmp_mem_show(8, 9, 0, DRAVIK_BMP_COPY, DRAVIK_TOP_LEFT), 0);
  put_pixel(8, 10, 0x1111);
  put_pixel(9, 10, 0x2222);
  put_pixel(8, 9, 0x3333);
  put_pixel(9, 9, 0x4444);
  EXPECT_TRUE(screen_->same());
}

TEST_F(PictureSlot, CopiesPaddingIntoNextLine) {
  use_screen({.xres = 33, .yres = 20});
  load({random_picture(33, 20).file(), random_picture(5, 7).file()});
  EXPECT_EQ(show_and_compare(0, 0, 0),
            0); // the padding of each line goes over the first pixel of the line below,
                // that of the last line nowhere
  EXPECT_EQ(show_and_compare(28, 2, 1), 0);
}

TEST_F(PictureSlot, CopiesEveryWidthTo160) {
  use_screen({.xres = 160, .yres = 12, .padding = 6});
  for (uint32_t width = 1; width <= 160; ++width) {
    load({random_picture(width, 3).file()});
    EXPECT_EQ(show_and_compare(160 - width, 5), 0) << width;
    EXPECT_EQ(show_and_compare(160 - width, 9), 0) << width << ", bottom line";
  }
}

TEST_F(PictureSlot, ShiftsKeyedRowsOfOddWidth) {
  bmp_maker picture = {.width = 1, .height = 2, .bits = 16};
  picture.pixels = {0x11, 0x11, 0x22, 0x22, 0x33, 0x33, 0x44, 0x44}; // 0x2222 is the padding of the first row
  load({picture.file()});
  EXPECT_EQ(bmp_mem_show(8, 9, 0, DRAVIK_BMP_KEYED, DRAVIK_TOP_LEFT), 0);
  put_pixel(8, 10, 0x1111);
  put_pixel(8, 9, 0x2222);
  EXPECT_TRUE(screen_->same());
}

TEST_F(PictureSlot, DrawsNothingInOtherModes) {
  load({random_picture(5, 5).file()});
  for (const int32_t mode : {3, 7, -1, 256, 0x10001, INT32_MIN, INT32_MAX})
    EXPECT_EQ(show_and_compare(1, 1, 0, mode), 0);
}

TEST_F(PictureSlot, DescribesButSkipsOtherDepths) {
  for (const uint16_t bits : std::initializer_list<uint16_t>{0, 1, 4, 8, 15, 17, 24, 32, 33, 65535})
    for (const int32_t mode : {0, 1, 2}) {
      load({bmp_maker{.width = 3, .height = 2, .bits = bits, .pixels = bytes(60), .data_size = 7U + bits}
                .file()});
      EXPECT_EQ(show_and_compare(1, 1, 0, mode), 0);
      EXPECT_EQ(bmpinfo[BMPINFO_BITS_PER_PIXEL], bits);
    }
}

TEST_F(PictureSlot, DescribesImageThatIsDrawn) {
  load({bmp_maker{.width = 3,
                  .height = 2,
                  .bits = 16,
                  .pixels = bytes(32),
                  .info_size = 0x01020304,
                  .data_size = 0x05060708,
                  .data_offset = 60,
                  .file_size = 0x090A0B0C}
            .file()});
  EXPECT_EQ(bmp_mem_show(0, 0, 0, 3, DRAVIK_TOP_LEFT), 0);
  EXPECT_THAT(bmpinfo, ElementsAre(3, 2, 16, 0x090A0B0C, 0x05060708, 0x01020304, 60));
}

TEST_F(PictureSlot, PlacesByCodesInEveryMode) {
  load({random_picture(20, 10).file(), random_picture(7, 9).file()});
  const uint8_t codes[] = {0, 1, 2, 3, 4, 5, 8, 11, 255};
  for (const uint8_t align : codes)
    for (const int32_t slot : {0, 1})
      for (const int32_t mode : {0, 1, 2})
        EXPECT_EQ(show_and_compare(40, 30, slot, mode, align), 0);
}

TEST_F(PictureSlot, TruncatesHalfTheSizeToCentre) {
  load_dense(3, 5, [](uint32_t, uint32_t) { return uint16_t{0x1111}; });
  EXPECT_EQ(bmp_mem_show(40, 30, 0, DRAVIK_BMP_KEYED, DRAVIK_CENTRE), 0);
  for (uint32_t y = 28; y < 33; ++y)
    for (uint32_t x = 39; x < 42; ++x)
      put_pixel(x, y, 0x1111);
  EXPECT_TRUE(screen_->same());
}

TEST_F(PictureSlot, StartsAtOriginIfCentredNearIt) {
  load({random_picture(20, 10).file()});
  for (const uint32_t x : {0U, 1U, 9U, 10U, 11U, 0xFFFFFFFFU, 0x80000000U})
    for (const uint32_t y : {0U, 4U, 5U, 6U, 0xFFFFFFFFU})
      EXPECT_EQ(show_and_compare(x, y, 0, 0, 3), 0);
}

TEST_F(PictureSlot, DrawsImageOfScreenSize) {
  load({random_picture(96, 64).file()});
  for (const int32_t mode : {0, 1, 2})
    EXPECT_EQ(show_and_compare(0, 0, 0, mode), 0);
  EXPECT_EQ(show_and_compare(48, 32, 0, 0, 3), 0);
}

TEST_F(PictureSlot, RejectsImageLargerThanScreen) {
  load({random_picture(97, 1).file(), random_picture(1, 65).file()});
  expect_refused(0, "BMP image size is too big : 97 x 1, fb size : 96x64");
  expect_refused(1, "BMP image size is too big : 1 x 65, fb size : 96x64");
}

TEST_F(PictureSlot, RejectsImageStoredFromTop) {
  load({bmp_maker{.width = 2, .height = 0xFFFFFFFE, .bits = 16, .pixels = bytes(8)}.file()});
  expect_refused(0, "BMP image size is too big : 2 x -2, fb size : 96x64");
}

TEST_F(PictureSlot, AcceptsMoreThan2048Columns) {
  use_screen({.xres = 3000, .yres = 8});
  load({random_picture(2049, 4).file(), random_picture(3000, 8).file()});
  for (const int32_t mode : {0, 1, 2}) {
    EXPECT_EQ(show_and_compare(100, 1, 0, mode), 0);
    EXPECT_EQ(show_and_compare(0, 0, 1, mode), 0);
  }
}

TEST_F(PictureSlot, LogsThreeLinesIfOutOfRange) {
  load({random_picture(10, 5).file()});
  EXPECT_EQ(bmp_mem_show(87, 3, 0, DRAVIK_BMP_COPY, DRAVIK_TOP_LEFT), -1);
  EXPECT_THAT(logged(),
              ElementsAre("BMP image is out of range!", "Canvas size :   96 x   64 (   0,   0)-->(  95,  63)",
                          "Image size :   10 x    5 (  87,   3)-->(  96,   7)"));
  EXPECT_EQ(bmp_mem_show(0, 60, 0, DRAVIK_BMP_COPY, DRAVIK_TOP_LEFT), -1);
  EXPECT_THAT(logged(),
              ElementsAre("BMP image is out of range!", "Canvas size :   96 x   64 (   0,   0)-->(  95,  63)",
                          "Image size :   10 x    5 (   0,  60)-->(   9,  64)"));
  expect_info();
  EXPECT_TRUE(screen_->same());
}

TEST_F(PictureSlot, PrintsNothingToStandardError) {
  stderr_capture capture;
  load({random_picture(10, 5).file(), random_picture(97, 5).file(), {'x'}});
  EXPECT_EQ(show_and_compare(0, 0, 0), 0);
  EXPECT_EQ(show_and_compare(90, 0, 0), -1);
  EXPECT_EQ(show_and_compare(0, 0, 1), -1);
  EXPECT_EQ(show_and_compare(0, 0, 2), -1);
  EXPECT_EQ(bmp_mem_show(0, 0, 3, DRAVIK_BMP_COPY, DRAVIK_TOP_LEFT), -1);
  EXPECT_EQ(capture.take(), "");
}

TEST_F(PictureSlot, ChecksEveryPositionAroundLastThatFits) {
  load({random_picture(10, 6).file()});
  for (const uint32_t x : {85U, 86U, 87U, 96U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFF6U, 0xFFFFFFFFU})
    for (const uint32_t y : {57U, 58U, 59U, 64U, 0x7FFFFFFFU, 0xFFFFFFFAU, 0xFFFFFFFFU})
      for (const uint8_t align : std::initializer_list<uint8_t>{0, 1, 2, 3})
        show_and_compare(x, y, 0, 1, align);
}

TEST_F(PictureSlot, ReportsTooBigBeforeOutOfRange) {
  load({random_picture(97, 1).file()});
  EXPECT_EQ(show_and_compare(96, 64), -1);
}

TEST_F(PictureSlot, ReportsOutOfRangeBeforeDepth) {
  load({random_picture(10, 5, 24).file()});
  EXPECT_EQ(show_and_compare(90, 0), -1);
  EXPECT_EQ(show_and_compare(86, 0), 0);
}

TEST_F(PictureSlot, RejectsFileWithoutSignature) {
  for (const char *signature : {"MB", "BB", "bM", "B\0"}) {
    bmp_maker picture = random_picture(97, 5); // too big also, which comes later
    picture.signature[0] = signature[0];
    picture.signature[1] = signature[1];
    load({random_picture(1, 1).file(), picture.file()});
    expect_refused(1, "BMP type err, bmp_mem_idx=1");
  }
}

TEST_F(PictureSlot, IgnoresFileSizeOfHeader) {
  bmp_maker picture = random_picture(10, 5);
  for (const uint32_t size : {0U, 1U, 0xFFFFFFFFU}) {
    picture.file_size = size;
    load({picture.file()});
    EXPECT_EQ(show_and_compare(), 0);
  }
}

TEST_F(PictureSlot, ReadsPixelsAtHeaderOffset) {
  for (const uint32_t offset : {54U, 55U, 57U, 66U, 138U, 1001U}) {
    bmp_maker picture = random_picture(33, 5);
    picture.data_offset = offset;
    load({picture.file()});
    for (const int32_t mode : {0, 1, 2})
      EXPECT_EQ(show_and_compare(9, 9, 0, mode), 0) << offset;
  }
}

TEST_F(PictureSlot, DrawsNothingWithoutRowsOrColumns) {
  load({random_picture(0, 5).file(), random_picture(5, 0).file(), random_picture(0, 0).file()});
  for (const int32_t slot : {0, 1, 2})
    for (const int32_t mode : {0, 1, 2})
      EXPECT_EQ(show_and_compare(96, 59, slot, mode, 0), slot == 1 ? -1 : 0);
}

TEST_F(PictureSlot, SkipsKeyInEveryPlaceOfEveryWidthTo70) {
  for (uint32_t width = 1; width <= 70; ++width)
    for (const bool is_hole : {true, false}) {
      // One pixel in a row of the key colour, or the other way round, a row for each of 35 places.
      for (const uint32_t first : {0U, 35U}) {
        load_dense(width, 35, [=](uint32_t row, uint32_t column) {
          const bool is_place = (row + first) % width == column;
          return static_cast<uint16_t>(is_place == is_hole ? DRAVIK_MAGENTA_KEY
                                                           : 0x1000 + row * 100 + column);
        });
        SCOPED_TRACE(width);
        EXPECT_EQ(show_and_compare(3, 2, 0, 1), 0);
        EXPECT_EQ(show_and_compare(96 - width, 29, 0, 2), 0);
      }
    }
}

TEST_F(PictureSlot, SkipsBlackAndKeyInEveryWidthTo70) {
  for (uint32_t width = 1; width <= 70; ++width) {
    load_dense(width, 20, [this](uint32_t, uint32_t) {
      return std::array<uint16_t, 4>{DRAVIK_MAGENTA_KEY, 0, 1, 0xF81E}[random_() % 4];
    });
    SCOPED_TRACE(width);
    EXPECT_EQ(show_and_compare(3, 2, 0, 1), 0);
    EXPECT_EQ(show_and_compare(3, 30, 0, 2), 0);
  }
}

TEST_F(PictureSlot, DrawsRandomImagesAsModel) {
  for (int n = 0; n < 400; ++n) {
    bmp_maker picture = random_picture(random_in(random_, 1, 98), random_in(random_, 1, 66));
    const uint32_t sparse = random_in(random_, 1, 40);
    for (size_t i = 0; i + 1 < picture.pixels.size(); i += 2)
      if (random_() % sparse == 0)
        put_u16(picture.pixels, i, random_() % 2 == 0 ? DRAVIK_MAGENTA_KEY : uint16_t{0});
    if (random_() % 4 == 0)
      picture.data_offset = random_in(random_, 54, 90);
    load({picture.file()});
    SCOPED_TRACE(n);
    for (const int32_t mode : {0, 1, 2}) {
      const uint32_t x = random_in(random_, 0, 99), y = random_in(random_, 0, 66);
      const auto align = static_cast<uint8_t>(random_in(random_, 0, 4));
      show_and_compare(random_() % 8 == 0 ? 0 - x : x % (98 - std::min(picture.width, 96U)),
                       y % (66 - std::min(picture.height, 64U)), 0, mode, align);
    }
  }
}

} // namespace
} // namespace dravik::test
