// BMP files of 16 bits: copied rows, the colour key, silhouettes, and their double read.

#include "image/bmp_stage.hpp"

namespace dravik::test {
namespace {

class Bmp16 : public bmp_stage {
protected:
  uint16_t pixel_at(uint32_t x, uint32_t y) const {
    const uint8_t *const at = fbp + y * fbinfo[FBINFO_LINE_LENGTH] + x * 2;
    return static_cast<uint16_t>(at[0] | at[1] << 8);
  }

  /// An image whose rows, counted from the bottom, are each of one colour: 0x100, 0x101, ...
  static bmp_maker numbered_rows(uint32_t width, uint32_t height) {
    bmp_maker made = {width, height, 16};
    for (uint32_t row = 0; row < height; ++row)
      for (uint32_t column = 0; column < width; ++column)
        made.set16(column, height - 1 - row, static_cast<uint16_t>(0x100 + row));
    return made;
  }

  /// The numbers of the file's rows that the screen shows, from the bottom line up.
  std::vector<int> shown_rows(uint32_t height) const {
    std::vector<int> rows;
    for (uint32_t line = height; line-- > 0;)
      rows.push_back(pixel_at(0, line) - 0x100);
    return rows;
  }
};

using numbers = std::vector<int>;

TEST_F(Bmp16, CopiesEveryRow) {
  draw_and_compare(numbered_rows(4, 5).file());
  EXPECT_EQ(shown_rows(5), (numbers{0, 1, 2, 3, 4}));
}

TEST_F(Bmp16, CopiesKeyColour) {
  bmp_maker picture = {2, 1, 16};
  picture.set16(0, 0, DRAVIK_MAGENTA_KEY).set16(1, 0, 0x0000);
  draw_and_compare(picture.file(), 7, 7);
  EXPECT_EQ(pixel_at(7, 7), DRAVIK_MAGENTA_KEY);
  EXPECT_EQ(pixel_at(8, 7), 0x0000);
}

TEST_F(Bmp16, CopiesPaddingOfOddWidth) {
  bmp_maker picture = numbered_rows(3, 2);
  for (const size_t padding : {6U, 14U})
    put_u16(picture.pixels, padding, 0xABCD);
  draw_and_compare(picture.file(), 10, 10);
  EXPECT_EQ(pixel_at(13, 10), 0xABCD);
  EXPECT_EQ(pixel_at(13, 11), 0xABCD);
}

TEST_F(Bmp16, CopiesPaddingIntoNextLine) {
  use_screen({.xres = 33, .yres = 20});
  EXPECT_EQ(draw_and_compare(random_picture(16, 5, 7).file(), 28, 2), 0);
  EXPECT_EQ(draw_and_compare(random_picture(16, 33, 20).file(), 0, 0), 0);
  EXPECT_EQ(draw_and_compare(random_picture(16, 5, 7).file(), 28, 13), 0); // but never past the last line
}

TEST_F(Bmp16, CopiesManyRows) {
  use_screen({.xres = 33, .yres = 700});
  for (const uint32_t height : {63U, 64U, 65U, 128U, 700U})
    EXPECT_EQ(draw_and_compare(random_picture(16, 17, height).file(), 3, 0), 0);
}

TEST_F(Bmp16, LeavesKeyColourTransparent) {
  bmp_maker picture = {3, 1, 16};
  picture.set16(0, 0, 0x1111).set16(1, 0, DRAVIK_MAGENTA_KEY).set16(2, 0, 0x0000);
  const uint16_t before = pixel_at(6, 5);
  draw_and_compare(picture.file(), 5, 5, 1);
  EXPECT_EQ(pixel_at(5, 5), 0x1111);
  EXPECT_EQ(pixel_at(6, 5), before);
  EXPECT_EQ(pixel_at(7, 5), 0x0000);
}

TEST_F(Bmp16, DrawsSilhouetteInGrey) {
  bmp_maker picture = {3, 1, 16};
  picture.set16(0, 0, 0x1111).set16(1, 0, DRAVIK_MAGENTA_KEY).set16(2, 0, 0x0000);
  const uint16_t before = pixel_at(6, 5);
  draw_and_compare(picture.file(), 5, 5, 2);
  EXPECT_EQ(pixel_at(5, 5), silhouette_colour);
  EXPECT_EQ(pixel_at(6, 5), before);
  EXPECT_EQ(pixel_at(7, 5), silhouette_colour);
}

TEST_F(Bmp16, DrawsNothingInOtherModes) {
  for (const uint32_t mode : {3U, 7U, 256U, 0x10001U, 0xFFFFFFFFU})
    EXPECT_EQ(draw_and_compare(random_picture(16, 8, 8).file(), 0, 0, mode), 0);
}

TEST_F(Bmp16, IgnoresModeInOtherDepths) {
  for (const uint16_t bits : depths{1, 4, 8, 24, 32})
    EXPECT_EQ(draw_and_compare(random_picture(bits, 8, 8).file(), 0, 0, 7), 0);
}

TEST_F(Bmp16, ReadsTwoRowsPerRowOfOneRow) {
  draw_and_compare(numbered_rows(4, 1).file(), 0, 0, 1);
  EXPECT_EQ(shown_rows(1), numbers{0});
}

TEST_F(Bmp16, ReadsTwoRowsPerRowOfTwoRows) {
  draw_and_compare(numbered_rows(4, 2).file(), 0, 0, 1);
  EXPECT_EQ(shown_rows(2), (numbers{0, 0}));
}

TEST_F(Bmp16, ReadsTwoRowsPerRowOfThreeRows) {
  draw_and_compare(numbered_rows(4, 3).file(), 0, 0, 1);
  EXPECT_EQ(shown_rows(3), (numbers{0, 2, 2}));
}

TEST_F(Bmp16, ReadsTwoRowsPerRowOfFourRows) {
  draw_and_compare(numbered_rows(4, 4).file(), 0, 0, 1);
  EXPECT_EQ(shown_rows(4), (numbers{0, 2, 2, 2}));
}

TEST_F(Bmp16, ReadsTwoRowsPerRowOfFiveRows) {
  draw_and_compare(numbered_rows(4, 5).file(), 0, 0, 1);
  EXPECT_EQ(shown_rows(5), (numbers{0, 2, 4, 4, 4}));
}

TEST_F(Bmp16, ReadsPastImage) {
  bmp_maker picture = numbered_rows(4, 3);
  for (uint8_t row = 3; row <= 5; ++row)
    for (int column = 0; column < 4; ++column)
      append(picture.pixels, {row, 1});
  draw_and_compare(picture.file(), 0, 0, 1);
  EXPECT_EQ(shown_rows(3), (numbers{0, 2, 4}));
}

TEST_F(Bmp16, KeepsRestOfPreviousReadIfTruncated) {
  bmp_maker picture = numbered_rows(4, 3); // 0 1 | 2, truncated by half a row
  picture.pixels.resize(20);
  draw_and_compare(picture.file(), 0, 0, 1);
  EXPECT_EQ(shown_rows(3), (numbers{0, 2, 2}));
  EXPECT_EQ(pixel_at(2, 0), 0x100);
  EXPECT_EQ(pixel_at(2, 1), 0x100);
}

TEST_F(Bmp16, DrawsNothingKeyedWithoutPixels) {
  bmp_maker picture = {20, 20, 16};
  EXPECT_EQ(draw_and_compare(picture.file(), 5, 5, 1), 0);
  EXPECT_EQ(draw_and_compare(picture.file(), 5, 5, 2), 0);
  EXPECT_EQ(draw_and_compare(picture.file(), 5, 5, 0), 0);
}

TEST_F(Bmp16, DrawsKeyedImagesOfEveryWidthTo640) {
  use_screen({.xres = 640, .yres = 12});
  for (uint32_t width = 1; width <= 640; width += width < 20 || (width > 250 && width < 262) ? 1 : 17)
    for (const uint32_t mode : {1U, 2U}) {
      bmp_maker picture = random_picture(16, width, random_in(random_, 1, 12));
      for (size_t i = 0; i < picture.pixels.size(); i += 6)
        put_u16(picture.pixels, i, DRAVIK_MAGENTA_KEY);
      SCOPED_TRACE(width);
      EXPECT_EQ(draw_and_compare(picture.file(), 640 - width, 0, mode), 0);
    }
  EXPECT_EQ(draw_and_compare(random_picture(16, 640, 12).file(), 0, 0, 1), 0);
}

} // namespace
} // namespace dravik::test
