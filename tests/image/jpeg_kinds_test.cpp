// JPEG files of every format, compared with djpeg, and the colours of their pixels.

#include "image/jpeg_stage.hpp"
#include "support/emulation.hpp"

#include <cstdio>
#include <jpeglib.h>

namespace dravik::test {
namespace {

class JpegKinds : public jpeg_stage {
protected:
  struct size {
    uint32_t width, height;
  };
  static constexpr size sizes[] = {{1, 1}, {7, 5}, {8, 8}, {9, 17}, {16, 16}, {37, 23}, {95, 63}, {96, 64}};

  /// Draw name_ and expect what djpeg makes of it.
  void expect_as_djpeg() {
    EXPECT_EQ(checked_draw(0, 0, name_), 0);
    EXPECT_EQ(said_, "");
    put(decoded(), 0, 0);
    EXPECT_TRUE(screen_->same());
  }

  void expect_as_djpeg(const words &options) {
    for (const size &each : sizes) {
      SCOPED_TRACE(testing::Message() << each.width << " x " << each.height);
      make(busy_picture(random_, each.width, each.height), options);
      expect_as_djpeg();
    }
  }

  /// Make name_ of components without a meaning, each of one value.
  void make_of_components(const bytes &values) const {
    constexpr JDIMENSION width = 21, height = 5;
    jpeg_error_mgr errors;
    jpeg_compress_struct coder;
    coder.err = jpeg_std_error(&errors);
    jpeg_create_compress(&coder);
    std::FILE *file = std::fopen(path_of(name_).c_str(), "wb");
    jpeg_stdio_dest(&coder, file);
    coder.image_width = width;
    coder.image_height = height;
    coder.input_components = static_cast<int>(values.size());
    coder.in_color_space = JCS_UNKNOWN;
    jpeg_set_defaults(&coder);
    jpeg_set_quality(&coder, 100, TRUE);
    jpeg_start_compress(&coder, TRUE);
    bytes row;
    for (JDIMENSION column = 0; column < width; ++column)
      append(row, values);
    for (JSAMPROW samples = row.data(); coder.next_scanline < height;)
      jpeg_write_scanlines(&coder, &samples, 1);
    jpeg_finish_compress(&coder);
    jpeg_destroy_compress(&coder);
    std::fclose(file);
  }

  void expect_plain(const bytes &values, uint16_t colour) {
    make_of_components(values);
    EXPECT_EQ(checked_draw(3, 4, name_), 0);
    for (uint32_t y = 4; y < 9; ++y)
      for (uint32_t x = 3; x < 24; ++x)
        screen_->model().put(x, y, colour);
    EXPECT_TRUE(screen_->same());
  }

  /// The colour on the screen of an image of one colour, which the file stores exactly.
  uint16_t checked_colour(uint8_t red, uint8_t green, uint8_t blue) {
    rgb_picture picture = {9, 1};
    for (uint32_t x = 0; x < picture.width; ++x)
      append(picture.channels, {red, green, blue});
    make(picture, {"-rgb", "-quality", "100"});
    EXPECT_EQ(decoded().channels, picture.channels) << "the file is not exact";
    EXPECT_EQ(checked_draw(0, 0, name_), 0);
    for (uint32_t x = 1; x < picture.width; ++x)
      EXPECT_EQ(screen_->drawn().get(x, 0), screen_->drawn().get(0, 0)) << x;
    return screen_->drawn().get(0, 0);
  }
};

TEST_F(JpegKinds, DrawsBaseline420) {
  expect_as_djpeg({"-sample", "2x2"});
}
TEST_F(JpegKinds, DrawsBaseline422) {
  expect_as_djpeg({"-sample", "2x1"});
}
TEST_F(JpegKinds, DrawsBaseline440) {
  expect_as_djpeg({"-sample", "1x2"});
}
TEST_F(JpegKinds, DrawsBaseline444) {
  expect_as_djpeg({"-sample", "1x1"});
}
TEST_F(JpegKinds, DrawsBaseline411) {
  expect_as_djpeg({"-sample", "4x1"});
}
TEST_F(JpegKinds, DrawsProgressive420) {
  expect_as_djpeg({"-progressive"});
}
TEST_F(JpegKinds, DrawsProgressive444) {
  expect_as_djpeg({"-progressive", "-sample", "1x1"});
}
TEST_F(JpegKinds, DrawsRestartMarkers) {
  expect_as_djpeg({"-restart", "1"});
}
TEST_F(JpegKinds, DrawsRestartMarkersAtEveryBlock) {
  expect_as_djpeg({"-restart", "1B", "-progressive"});
}
TEST_F(JpegKinds, DrawsOptimisedTables) {
  expect_as_djpeg({"-optimize"});
}
TEST_F(JpegKinds, DrawsLowestQuality) {
  expect_as_djpeg({"-quality", "1", "-baseline"});
}
TEST_F(JpegKinds, DrawsHighestQuality) {
  expect_as_djpeg({"-quality", "100", "-sample", "1x1"});
}
TEST_F(JpegKinds, DrawsStoredRgb) {
  expect_as_djpeg({"-rgb"});
}
TEST_F(JpegKinds, DrawsGrey) {
  expect_as_djpeg({"-grayscale"});
}
TEST_F(JpegKinds, DrawsProgressiveGrey) {
  expect_as_djpeg({"-grayscale", "-progressive"});
}

TEST_F(JpegKinds, DrawsFileOfOtherProgram) {
  const std::string ppm = board_.path("made.ppm");
  write_file(ppm, ppm_file(busy_picture(random_, 71, 50)));
  for (const char *interlace : {"none", "JPEG"}) {
    ASSERT_EQ(run_program({"convert", ppm, "-interlace", interlace, "-comment", "words", path_of(name_)}), 0);
    expect_as_djpeg();
  }
}

TEST_F(JpegKinds, DrawsFirstThreeChannelsOfCmyk) {
  const std::string ppm = board_.path("made.ppm"), raw = board_.path("made.cmyk");
  write_file(ppm, ppm_file(busy_picture(random_, 33, 17)));
  ASSERT_EQ(run_program({"convert", ppm, "-colorspace", "CMYK", path_of(name_)}), 0);
  ASSERT_EQ(run_program({"convert", path_of(name_), "-depth", "8", "cmyk:" + raw}), 0);
  const bytes inks = read_file(raw);
  ASSERT_EQ(inks.size(), 33U * 17 * 4) << "convert made no CMYK picture";
  rgb_picture picture = {33, 17};
  for (size_t i = 0; i < inks.size(); ++i)
    if (i % 4 != 3)
      picture.channels.push_back(static_cast<uint8_t>(255 - inks[i])); // these files hold the inks inverted
  EXPECT_EQ(checked_draw(5, 6, name_), 0);
  EXPECT_EQ(said_, "");
  put(picture, 5, 6);
  EXPECT_TRUE(screen_->same());
}

TEST_F(JpegKinds, DrawsTwoComponentsAsGrey) {
  expect_plain({0x9C, 0x31}, 0x9CF3);
}

TEST_F(JpegKinds, DrawsFirstThreeOfFourComponents) {
  expect_plain({0x80, 0x40, 0x20, 0x99}, 0x8204);
}

TEST_F(JpegKinds, TruncatesChannels) {
  EXPECT_EQ(checked_colour(255, 255, 255), DRAVIK_WHITE);
  EXPECT_EQ(checked_colour(0x87, 0x43, 0x87), 0x8210);
  EXPECT_EQ(checked_colour(0x80, 0x40, 0x80), 0x8210);
}

TEST_F(JpegKinds, DrawsNearBlackAsBlack) {
  EXPECT_EQ(checked_colour(0, 0, 0), DRAVIK_BLACK);
  EXPECT_EQ(checked_colour(7, 3, 7), DRAVIK_BLACK); // 0x0000
  EXPECT_EQ(checked_colour(0, 0, 8), DRAVIK_BLACK); // 0x0001
  EXPECT_EQ(checked_colour(8, 0, 0), DRAVIK_BLACK); // 0x0800
  EXPECT_EQ(checked_colour(8, 0, 8), DRAVIK_BLACK); // 0x0801
  EXPECT_EQ(checked_colour(15, 3, 15), DRAVIK_BLACK);
}

TEST_F(JpegKinds, KeepsColoursNextToNearBlack) {
  EXPECT_EQ(checked_colour(0, 4, 0), 0x0020);
  EXPECT_EQ(checked_colour(0, 0, 16), 0x0002);
  EXPECT_EQ(checked_colour(16, 0, 0), 0x1000);
  EXPECT_EQ(checked_colour(8, 4, 8), DRAVIK_BLACK);
  EXPECT_EQ(checked_colour(8, 4, 16), 0x0822);
}

TEST_F(JpegKinds, KeepsGreyNeutral) {
  rgb_picture picture = {8, 8, bytes(8 * 8 * 3, 0x9C)};
  make(picture, {"-grayscale", "-quality", "100"});
  EXPECT_EQ(checked_draw(0, 0, name_), 0);
  EXPECT_EQ(fbp[0] | fbp[1] << 8, 0x9CF3);
}

TEST_F(JpegKinds, DrawsEveryWidthTo70InThreePixelSizes) {
  use_screen({.xres = 80, .yres = 4, .padding = 2});
  for (uint32_t width = 1; width <= 70; width += stride<uint32_t>()) {
    SCOPED_TRACE(width);
    const rgb_picture picture = busy_picture(random_, width, 2);
    for (const words &options : {words{}, words{"-grayscale"}}) {
      make(picture, options);
      EXPECT_EQ(checked_draw(3, 1, name_), 0);
      put(decoded(), 3, 1);
      EXPECT_TRUE(screen_->same());
    }
  }
}

TEST_F(JpegKinds, PublishesSizes) {
  make(busy_picture(random_, 37, 23));
  EXPECT_EQ(checked_draw(0, 0, name_), 0);
  EXPECT_EQ(jpeginfo[JPEGINFO_WIDTH], 37U);
  EXPECT_EQ(jpeginfo[JPEGINFO_HEIGHT], 23U);
  EXPECT_EQ(jpeginfo[JPEGINFO_OUTPUT_WIDTH], 37U);
  EXPECT_EQ(jpeginfo[JPEGINFO_OUTPUT_HEIGHT], 23U);
}

} // namespace
} // namespace dravik::test
