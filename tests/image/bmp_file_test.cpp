// BMP files drawn: depths, palettes, placement, limits, and the messages of every failure.

#include "image/bmp_stage.hpp"

#include <filesystem>

namespace dravik::test {
namespace {

class BmpFile : public bmp_stage {};

uint16_t pixel_at(uint32_t x, uint32_t y) {
  const uint8_t *const at = fbp + y * fbinfo[FBINFO_LINE_LENGTH] + x * 2;
  return static_cast<uint16_t>(at[0] | at[1] << 8);
}

// ------------------------------------------------------------------------------------------------ depths

TEST_F(BmpFile, DrawsEveryDepthAndWidth) {
  for (const uint16_t bits : drawn_depths)
    for (uint32_t width = 0; width <= 40; ++width) {
      SCOPED_TRACE(testing::Message() << bits << " bits, " << width << " wide");
      const uint32_t height = random_in(random_, 0, 9);
      EXPECT_EQ(draw_and_compare(random_picture(bits, width, height).file(), random_in(random_, 0, 50),
                                 random_in(random_, 0, 50), random_in(random_, 0, 2)),
                0);
    }
}

TEST_F(BmpFile, TruncatesTrueColour) {
  bmp_maker picture = {1, 1, 24};
  picture.pixels = {0x0F, 0x07, 0x0F, 0}; // blue, green, red
  draw_and_compare(picture.file(), 3, 4);
  EXPECT_EQ(pixel_at(3, 4), DRAVIK_BLACK);
  picture.pixels = {0xF7, 0xFB, 0xF7, 0};
  draw_and_compare(picture.file(), 3, 4);
  EXPECT_EQ(pixel_at(3, 4), 0xF7DE);
}

TEST_F(BmpFile, ReadsChannelsInOrder) {
  const struct {
    bytes pixel;
    uint16_t colour;
  } colours[] = {
      {{0xFF, 0, 0, 0}, DRAVIK_BLUE}, {{0, 0xFF, 0, 0}, DRAVIK_GREEN}, {{0, 0, 0xFF, 0}, DRAVIK_RED}};
  for (const uint16_t bits : depths{24, 32})
    for (const auto &[pixel, colour] : colours) {
      bmp_maker picture = {1, 1, bits};
      picture.pixels = pixel;
      draw_and_compare(picture.file());
      EXPECT_EQ(pixel_at(0, 0), colour);
    }
}

TEST_F(BmpFile, DrawsRowsFromBottom) {
  bmp_maker picture = {1, 2, 24};
  picture.pixels = {0xFF, 0, 0, 0, 0, 0, 0xFF, 0}; // blue, then red
  draw_and_compare(picture.file(), 5, 6);
  EXPECT_EQ(pixel_at(5, 6), DRAVIK_RED);
  EXPECT_EQ(pixel_at(5, 7), DRAVIK_BLUE);
}

TEST_F(BmpFile, DrawsFirstBitAsLeftPixel) {
  bmp_maker picture = {3, 1, 1};
  add_colour(picture.palette, 255, 0, 0);
  add_colour(picture.palette, 0, 255, 0);
  picture.important_colours = 2;
  picture.pixels = {0b10000000, 0, 0, 0};
  draw_and_compare(picture.file());
  EXPECT_EQ(pixel_at(0, 0), DRAVIK_GREEN);
  EXPECT_EQ(pixel_at(1, 0), DRAVIK_RED);
}

TEST_F(BmpFile, DrawsHighHalfAsLeftPixel) {
  bmp_maker picture = {2, 1, 4};
  for (uint8_t i = 0; i < 16; ++i)
    add_colour(picture.palette, static_cast<uint8_t>(i * 8), 0, 0);
  picture.important_colours = 16;
  picture.pixels = {0x3C, 0, 0, 0};
  draw_and_compare(picture.file());
  EXPECT_EQ(pixel_at(0, 0), 3 << 11);
  EXPECT_EQ(pixel_at(1, 0), 12 << 11);
}

TEST_F(BmpFile, DrawsBlackAsDarkGreyIn1And4BitsOnly) {
  for (const uint16_t bits : depths{1, 4, 8}) {
    bmp_maker picture = {1, 1, bits};
    add_colour(picture.palette, 7, 3, 7); // truncated to 0
    picture.palette.resize(size_t{4} << bits, 0xFF);
    picture.pixels = {0, 0, 0, 0};
    draw_and_compare(picture.file(), 9, 9);
    EXPECT_EQ(pixel_at(9, 9), bits == 8 ? 0x0000 : 0x0841) << bits;
  }
  for (const uint16_t bits : depths{16, 24, 32}) {
    bmp_maker picture = {1, 1, bits};
    picture.pixels = {0, 0, 0, 0};
    draw_and_compare(picture.file(), 9, 9);
    EXPECT_EQ(pixel_at(9, 9), 0x0000) << bits;
  }
}

TEST_F(BmpFile, DrawsNothingInOtherDepths) {
  for (uint16_t bits = 0; bits <= 40; ++bits)
    if (std::find(std::begin(drawn_depths), std::end(drawn_depths), bits) == std::end(drawn_depths)) {
      EXPECT_EQ(draw_and_compare(bmp_maker{4, 4, bits, {}, random_bytes(random_, 200)}.file()), 0) << bits;
    }
  EXPECT_EQ(draw_and_compare(bmp_maker{4, 4, 0xFFFF, {}, random_bytes(random_, 200)}.file()), 0);
  EXPECT_EQ(draw_and_compare(bmp_maker{4, 4, 0x0118, {}, random_bytes(random_, 200)}.file()), 0);
}

TEST_F(BmpFile, IgnoresCompression) {
  for (const uint16_t bits : drawn_depths) {
    bytes content = random_picture(bits, 7, 5).file();
    put_u32(content, 30, 3);
    put_u32(content, 46, 1);
    EXPECT_EQ(draw_and_compare(content, 1, 1), 0);
  }
}

// ------------------------------------------------------------------------------------------------ palettes

TEST_F(BmpFile, ReadsImportantColoursOfPalette) {
  for (const uint32_t count : {1U, 16U, 255U, 256U}) {
    bmp_maker picture = random_picture(8, 16, 16);
    picture.important_colours = count;
    draw_and_compare(picture.file());
  }
}

TEST_F(BmpFile, KeepsColoursOfPreviousFile) {
  draw_and_compare(random_picture(8, 4, 4).file());
  const bytes before(palette, palette + 1024);
  bmp_maker picture = random_picture(8, 4, 4);
  picture.important_colours = 16;
  draw_and_compare(picture.file());
  EXPECT_EQ(bytes(palette, palette + 64), first_bytes(picture.palette, 64));
  EXPECT_TRUE(std::equal(palette + 64, palette + 1024, before.begin() + 64));
}

TEST_F(BmpFile, ReadsWholePaletteWithoutImportantColours) {
  bmp_maker picture = random_picture(4, 40, 40);
  picture.important_colours = 0; // the bytes after the 16 colours are read for the rest
  draw_and_compare(picture.file());
  EXPECT_EQ(bytes(palette + 64, palette + 864), first_bytes(picture.pixels, 800));
}

TEST_F(BmpFile, IgnoresColoursUsed) {
  bytes content = random_picture(8, 4, 4).file();
  put_u32(content, 46, 3);
  draw_and_compare(content);
  EXPECT_EQ(bytes(palette, palette + 1024), bytes(content.begin() + 54, content.begin() + 54 + 1024));
}

TEST_F(BmpFile, ReadsOnePaletteForEnormousNumbers) {
  for (const uint32_t count :
       {257U, 1000U, 0x3FFFFFFFU, 0x40000000U, 0x40000001U, 0x80000000U, 0xFFFFFFFFU}) {
    SCOPED_TRACE(count);
    bmp_maker picture = random_picture(8, 16, 16);
    picture.important_colours = count;
    append(picture.pixels, random_bytes(random_, 4000));
    draw_and_compare(picture.file());
  }
}

TEST_F(BmpFile, ReadsPaletteAtByte54) {
  bmp_maker picture = random_picture(8, 5, 5);
  picture.info_size = 108;
  draw_and_compare(picture.file());
  EXPECT_EQ(bmpinfo[BMPINFO_INFO_SIZE], 108U);
}

TEST_F(BmpFile, ReadsPixelsAtHeaderOffset) {
  for (const uint16_t bits : drawn_depths) {
    bmp_maker picture = random_picture(bits, 9, 4);
    picture.data_offset = 1500;
    draw_and_compare(picture.file(), 2, 2);
    picture.data_offset = 7; // in the header itself
    draw_and_compare(picture.file(), 2, 2);
  }
}

TEST_F(BmpFile, LeavesPaletteForTrueColour) {
  const bytes before(palette, palette + 1024);
  for (const uint16_t bits : depths{16, 24, 32})
    draw_and_compare(random_picture(bits, 5, 5).file());
  EXPECT_TRUE(std::equal(before.begin(), before.end(), palette));
}

TEST_F(BmpFile, LeavesLastRowInRowBuffer) {
  const bmp_maker picture = random_picture(24, 5, 3);
  draw_and_compare(picture.file());
  EXPECT_EQ(bytes(image, image + 16), bytes(picture.pixels.end() - 16, picture.pixels.end()));
}

TEST_F(BmpFile, LeavesRowBufferFor16Bits) {
  const bytes before(image, image + 8192);
  for (const uint32_t mode : {0U, 1U, 2U})
    draw_and_compare(random_picture(16, 5, 3).file(), 0, 0, mode);
  EXPECT_TRUE(std::equal(before.begin(), before.end(), image));
}

// ------------------------------------------------------------------------------------------------ bmpinfo

TEST_F(BmpFile, PublishesHeaderInOrder) {
  bmp_maker picture = random_picture(24, 6, 5);
  picture.info_size = 0x11223344;
  picture.data_size = 0x55667788;
  const bytes content = picture.file();
  draw_and_compare(content);
  const uint32_t expected[] = {6, 5, 24, static_cast<uint32_t>(content.size()), 0x55667788, 0x11223344, 54};
  EXPECT_TRUE(std::equal(std::begin(expected), std::end(expected), bmpinfo));
}

TEST_F(BmpFile, PublishesHeaderBeforeLaterChecks) {
  EXPECT_EQ(draw_and_compare(bmp_maker{2049, 3, 24}.file()), -1);
  EXPECT_EQ(bmpinfo[BMPINFO_WIDTH], 2049U);
  EXPECT_EQ(draw_and_compare(bmp_maker{97, 3, 24}.file()), -1);
  EXPECT_EQ(bmpinfo[BMPINFO_WIDTH], 97U);
}

TEST_F(BmpFile, PublishesNoHeaderWithoutSignature) {
  draw_and_compare(random_picture(24, 6, 5).file());
  bmp_maker other = {7, 7, 24};
  other.signature[1] = 'A';
  EXPECT_EQ(draw_and_compare(other.file()), -1);
  other.signature[1] = 'M';
  other.file_size = 1;
  EXPECT_EQ(draw_and_compare(other.file()), -1);
  EXPECT_EQ(bmpinfo[BMPINFO_WIDTH], 6U);
}

// ------------------------------------------------------------------------------------------------ placement

TEST_F(BmpFile, PlacesByAlignmentCodes) {
  const bytes content = random_picture(24, 11, 9).file();
  for (unsigned align = 0; align <= 255; ++align)
    for (const uint32_t at : {0U, 1U, 4U, 5U, 6U, 40U}) {
      SCOPED_TRACE(testing::Message() << "align " << align << " at " << at);
      EXPECT_EQ(draw_and_compare(content, at, at + 1, 0, static_cast<uint8_t>(align)), 0);
    }
}

TEST_F(BmpFile, CentresAsWorkedOutByHand) {
  bmp_maker picture = {11, 9, 16};
  picture.set16(0, 0, 0x1234);
  const bytes content = picture.file();
  draw_and_compare(content, 30, 20, 0, 3);
  EXPECT_EQ(pixel_at(25, 16), 0x1234);
  draw_and_compare(content, 30, 20, 0, 1);
  EXPECT_EQ(pixel_at(25, 20), 0x1234);
  draw_and_compare(content, 30, 20, 0, 2);
  EXPECT_EQ(pixel_at(30, 16), 0x1234);
  draw_and_compare(content, 5, 4, 0, 3); // half the size is not enough to leave 0
  EXPECT_EQ(pixel_at(0, 0), 0x1234);
  draw_and_compare(content, 6, 5, 0, 3);
  EXPECT_EQ(pixel_at(1, 1), 0x1234);
  draw_and_compare(content, 2, 1, 0, 3);
  EXPECT_EQ(pixel_at(0, 0), 0x1234);
}

TEST_F(BmpFile, CentresNegativePositionsAtZero) {
  const bytes content = random_picture(24, 11, 9).file();
  EXPECT_EQ(draw_and_compare(content, 0xFFFFFFFF, 0x80000000, 0, 3), 0);
  EXPECT_EQ(draw_and_compare(content, 0xFFFFFFFF, 0, 0, 2),
            0); // not centred on x: from the column left of the first
}

TEST_F(BmpFile, FillsTheScreenToItsEdges) {
  for (const uint16_t bits : drawn_depths) {
    EXPECT_EQ(draw_and_compare(random_picture(bits, 96, 64).file(), 0, 0, 0), 0);
    EXPECT_EQ(draw_and_compare(random_picture(bits, 1, 1).file(), 95, 63, 1), 0);
    EXPECT_EQ(draw_and_compare(random_picture(bits, 0, 0).file(), 96, 64, 2), 0);
  }
}

TEST_F(BmpFile, UsesScreenInformationAtTheCall) {
  const bytes content = random_picture(24, 20, 10).file();
  EXPECT_EQ(draw_and_compare(content, 76, 54), 0);
  use_screen({.xres = 40, .yres = 30});
  EXPECT_EQ(draw_and_compare(content, 76, 54), -1);
  EXPECT_EQ(draw_and_compare(content, 20, 20), 0);
}

// ------------------------------------------------------------------------------------------------ limits

TEST_F(BmpFile, AcceptsWidth2048) {
  use_screen({.xres = 2100, .yres = 6});
  for (const uint16_t bits : drawn_depths)
    for (const uint32_t mode : {0U, 1U, 2U}) {
      EXPECT_EQ(draw_and_compare(random_picture(bits, 2048, 5).file(), 10, 1, mode), 0);
      EXPECT_EQ(draw_and_compare(random_picture(bits, 2049, 5).file(), 10, 1, mode), -1);
      EXPECT_EQ(said_, "BMP image size is too big. 2049 x 5\n");
    }
}

TEST_F(BmpFile, ReportsTooWideBeforeOutOfRange) {
  EXPECT_EQ(draw_and_compare(bmp_maker{2049, 1000, 24}.file()), -1);
  EXPECT_EQ(said_, "BMP image size is too big. 2049 x 1000\n");
}

TEST_F(BmpFile, PrintsSizesAsSignedNumbers) {
  EXPECT_EQ(draw_and_compare(bmp_maker{0xFFFFFFFE, 0x80000000, 0}.file()), -1);
  EXPECT_EQ(said_, "BMP image size is too big. -2 x -2147483648\n");
}

TEST_F(BmpFile, RejectsOneColumnOrLineTooMany) {
  const bytes content = random_picture(24, 10, 8).file();
  EXPECT_EQ(draw_and_compare(content, 86, 56), 0);
  EXPECT_EQ(draw_and_compare(content, 87, 56), -1);
  EXPECT_EQ(said_, "BMP image is out of range!\n"
                   "Canvas size :   96 x   64 (   0,   0)-->(  95,  63)\n"
                   " Image size :   10 x    8 (  87,  56)-->(  96,  63)\n");
  EXPECT_EQ(draw_and_compare(content, 86, 57), -1);
  EXPECT_EQ(said_, "BMP image is out of range!\n"
                   "Canvas size :   96 x   64 (   0,   0)-->(  95,  63)\n"
                   " Image size :   10 x    8 (  86,  57)-->(  95,  64)\n");
}

TEST_F(BmpFile, ReportsPositionAfterCentring) {
  const bytes content = random_picture(24, 10, 8).file();
  EXPECT_EQ(draw_and_compare(content, 96, 64, 0, 3), -1);
  EXPECT_EQ(said_, "BMP image is out of range!\n"
                   "Canvas size :   96 x   64 (   0,   0)-->(  95,  63)\n"
                   " Image size :   10 x    8 (  91,  60)-->( 100,  67)\n");
}

TEST_F(BmpFile, RejectsImageStoredFromTop) {
  EXPECT_EQ(draw_and_compare(bmp_maker{4, static_cast<uint32_t>(-4), 24, {}, bytes(48)}.file()), -1);
  EXPECT_EQ(said_, "BMP image is out of range!\n"
                   "Canvas size :   96 x   64 (   0,   0)-->(  95,  63)\n"
                   " Image size :    4 x   -4 (   0,   0)-->(   3,  -5)\n");
  EXPECT_EQ(draw_and_compare(bmp_maker{4, static_cast<uint32_t>(-4), 24, {}, bytes(48)}.file(), 0, 4), -1);
  EXPECT_EQ(draw_and_compare(bmp_maker{4, static_cast<uint32_t>(-4), 24, {}, bytes(48)}.file(), 0, 20, 0, 3),
            -1);
}

TEST_F(BmpFile, TreatsWrappedPositionsAsNegative) {
  bmp_maker picture = {10, 1, 16};
  for (uint32_t column = 0; column < 10; ++column)
    picture.set16(column, 0, static_cast<uint16_t>(0x1230 + column));
  const bytes content = picture.file();
  EXPECT_EQ(draw_and_compare(content, 0xFFFFFFFF, 5), 0);
  EXPECT_EQ(said_, "");
  EXPECT_EQ(pixel_at(0, 5), 0x1231);
  EXPECT_EQ(pixel_at(8, 5), 0x1239);
  EXPECT_EQ(pixel_at(98, 4), 0x1230); // the last column of the padding of the line before
}

TEST_F(BmpFile, DrawsWrappedPositionsInEveryDepthAndMode) {
  for (const uint16_t bits : drawn_depths)
    for (const uint32_t mode : {0U, 1U, 2U}) {
      const bytes content = random_picture(bits, 11, 8).file();
      for (const uint32_t at : {0xFFFFFFFFU, 0xFFFFFFFBU}) {
        EXPECT_EQ(draw_and_compare(content, at, 20, mode), 0);
        EXPECT_EQ(draw_and_compare(content, 20, at, mode), 0);
        EXPECT_EQ(draw_and_compare(content, at, at, mode), 0);
      }
    }
}

TEST_F(BmpFile, RejectsPositionsFurtherThanSize) {
  const bytes content = random_picture(24, 10, 8).file();
  EXPECT_EQ(draw_and_compare(content, 0xFFFFFFF6, 5), 0); // ends with the column left of the first
  EXPECT_EQ(draw_and_compare(content, 0xFFFFFFF5, 5), -1);
  EXPECT_EQ(said_, "BMP image is out of range!\n"
                   "Canvas size :   96 x   64 (   0,   0)-->(  95,  63)\n"
                   " Image size :   10 x    8 ( -11,   5)-->(  -2,  12)\n");
  EXPECT_EQ(draw_and_compare(content, 5, 0xFFFFFFF7), -1);
}

TEST_F(BmpFile, RejectsFilesThatWrapSums) {
  EXPECT_EQ(draw_and_compare(bmp_maker{10, 0xFFFFFFFF, 24}.file(), 0, 1), -1);
  EXPECT_EQ(draw_and_compare(bmp_maker{10, 0xFFFFFFC0, 24}.file(), 0, 64), -1);
  EXPECT_EQ(draw_and_compare(bmp_maker{97, 1, 24}.file(), 0xFFFFFFFF, 1), -1);
  EXPECT_EQ(draw_and_compare(bmp_maker{1, 65, 24}.file(), 1, 0xFFFFFFFF), -1);
}

// ------------------------------------------------------------------------------------------------ failures

TEST_F(BmpFile, FailsForMissingFile) {
  const std::string path = board_.path("missing.bmp");
  stderr_capture capture;
  EXPECT_EQ(fb_put_bmp_file(0, 0, path.c_str(), DRAVIK_BMP_COPY, DRAVIK_TOP_LEFT), -1);
  EXPECT_EQ(capture.take(), "open " + path + " error!\n");
  EXPECT_TRUE(screen_->same());
}

TEST_F(BmpFile, FailsForDirectory) {
  const std::string path = board_.path("folder");
  std::filesystem::create_directory(path);
  stderr_capture capture;
  EXPECT_EQ(fb_put_bmp_file(0, 0, path.c_str(), DRAVIK_BMP_COPY, DRAVIK_TOP_LEFT), -1);
  EXPECT_EQ(capture.take(), path + " file size error!\n");
}

TEST_F(BmpFile, RejectsOtherFileSize) {
  bmp_maker picture = random_picture(24, 4, 4);
  for (const uint32_t size : {0U, 101U, 103U, 0xFFFFFFFFU}) {
    picture.file_size = size;
    EXPECT_EQ(draw_and_compare(picture.file()), -1);
    EXPECT_EQ(said_, path_ + " file size error!\n");
  }
  picture.file_size = 102;
  EXPECT_EQ(draw_and_compare(picture.file()), 0);
}

TEST_F(BmpFile, ChecksFileSizeBeforeSignature) {
  bmp_maker picture = random_picture(24, 4, 4);
  picture.signature[0] = 'X';
  picture.file_size = 1;
  EXPECT_EQ(draw_and_compare(picture.file()), -1);
  EXPECT_EQ(said_, path_ + " file size error!\n");
}

TEST_F(BmpFile, ChecksBothLettersOfSignature) {
  for (const auto &[first, second] : {std::pair{'b', 'M'}, {'B', 'm'}, {'M', 'B'}, {'\0', '\0'}}) {
    bmp_maker picture = random_picture(24, 4, 4);
    picture.signature[0] = first;
    picture.signature[1] = second;
    EXPECT_EQ(draw_and_compare(picture.file()), -1);
    EXPECT_EQ(said_, path_ + " BMP type error!\n");
  }
}

TEST_F(BmpFile, RejectsEmptyFileByType) {
  EXPECT_EQ(draw_and_compare({}), -1);
  EXPECT_EQ(said_, path_ + " BMP type error!\n");
}

TEST_F(BmpFile, LeavesNothingOpen) {
  const auto open_files = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  };
  const auto before = open_files();
  for (const uint16_t bits : depths{1, 3, 16, 24})
    draw_and_compare(bmp_maker{4, 4, bits, {}, bytes(200)}.file());
  draw_and_compare(bmp_maker{4, 4, 16, {}, bytes(200)}.file(), 0, 0, 7);
  draw_and_compare(bmp_maker{3000, 4, 24, {}, {}}.file());
  draw_and_compare(bmp_maker{300, 4, 24, {}, {}}.file());
  draw_and_compare({1, 2, 3});
  draw_and_compare({});
  EXPECT_EQ(open_files(), before);
}

} // namespace
} // namespace dravik::test
