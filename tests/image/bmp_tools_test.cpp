// BMP files made by other programs: the screen must show the pixels that the programs converted.

#include "dravik.h"
#include "support/board.hpp"
#include "support/bytes.hpp"
#include "support/program.hpp"
#include "support/screen.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <unistd.h>

namespace dravik::test {
namespace {

struct rgb {
  uint8_t red, green, blue;
};

/// RGB565 of a pixel, as the library truncates it.
uint16_t truncated(rgb colour) {
  return static_cast<uint16_t>(colour.red / 8 * 2048 + colour.green / 4 * 32 + colour.blue / 8);
}

/// How convert makes a 16-bit pixel.
uint16_t scaled_down(rgb colour) {
  return static_cast<uint16_t>(colour.red * 31 / 255 * 2048 + colour.green * 63 / 255 * 32 +
                               colour.blue * 31 / 255);
}

bool has_program(const std::string &name) {
  for (const char *folder : {"/usr/local/bin/", "/usr/bin/", "/bin/"})
    if (::access((folder + name).c_str(), X_OK) == 0)
      return true;
  return false;
}

class BmpTools : public testing::Test {
protected:
  static constexpr uint32_t width = 37, height = 23, left = 5, top = 3;

  board board_;
  fake_screen screen_{64, 48};
  std::mt19937 random_{5};
  std::vector<rgb> pixels_;
  const std::string ppm_ = board_.path("picture.ppm"), bmp_ = board_.path("picture.bmp");

  /// Random pixels of some colours, as a PPM file. None of them is black, which few bits cannot show.
  void make_picture(size_t colour_count) {
    std::vector<rgb> colours;
    for (size_t i = 0; i < colour_count; ++i)
      colours.push_back({static_cast<uint8_t>(random_() | 8), static_cast<uint8_t>(random_()),
                         static_cast<uint8_t>(random_())});
    const std::string head = "P6\n37 23\n255\n";
    bytes file(head.begin(), head.end());
    for (uint32_t i = 0; i < width * height; ++i) {
      const rgb colour = colours[i < colour_count ? i : random_() % colour_count];
      pixels_.push_back(colour);
      append(file, {colour.red, colour.green, colour.blue});
    }
    write_file(ppm_, file);
  }

  /// Draw the BMP file, which has the depth given, and expects the image.
  void expect_picture(uint16_t bits) {
    ASSERT_EQ(get_u32(read_file(bmp_), 28) & 0xFFFF, bits) << "the program made another depth";
    EXPECT_EQ(fb_put_bmp_file(left, top, bmp_.c_str(), DRAVIK_BMP_COPY, DRAVIK_TOP_LEFT), 0);
    for (uint32_t y = 0; y < height; ++y) {
      for (uint32_t x = 0; x < width; ++x)
        screen_.model().put(left + x, top + y,
                            (bits == 16 ? scaled_down : truncated)(pixels_[y * width + x]));
      if (bits == 16) // the padding of an odd row
        screen_.model().put(left + width, top + y, 0);
    }
    EXPECT_TRUE(screen_.same());
  }

  void expect_from_convert(size_t colours, const words &options, uint16_t bits) {
    if (!has_program("convert"))
      GTEST_SKIP() << "no convert here";
    make_picture(colours);
    words command = {"convert", ppm_};
    command.insert(command.end(), options.begin(), options.end());
    ASSERT_EQ(run_program(command), 0);
    expect_picture(bits);
  }

  void expect_from_ppmtobmp(size_t colours, const char *option, uint16_t bits) {
    if (!has_program("ppmtobmp"))
      GTEST_SKIP() << "no ppmtobmp here";
    make_picture(colours);
    ASSERT_EQ(run_program({"ppmtobmp", option, ppm_}, bmp_), 0);
    expect_picture(bits);
  }
};

TEST_F(BmpTools, DrawsConvert24) {
  expect_from_convert(800, {"-type", "TrueColor", "BMP3:" + bmp_}, 24);
}

TEST_F(BmpTools, DrawsConvert24WithLongHeader) {
  expect_from_convert(800, {"-type", "TrueColor", "BMP:" + bmp_}, 24);
}

TEST_F(BmpTools, DrawsConvert32) {
  expect_from_convert(800, {"-alpha", "on", "-channel", "A", "-evaluate", "set", "50%", "BMP:" + bmp_}, 32);
}

TEST_F(BmpTools, DrawsConvert8) {
  expect_from_convert(200, {"-type", "Palette", "-compress", "None", "BMP3:" + bmp_}, 8);
}

TEST_F(BmpTools, DrawsConvert4) {
  expect_from_convert(16, {"-type", "Palette", "-compress", "None", "BMP3:" + bmp_}, 4);
}

TEST_F(BmpTools, DrawsConvert1) {
  expect_from_convert(2, {"-type", "Palette", "-colors", "2", "BMP3:" + bmp_}, 1);
}

TEST_F(BmpTools, DrawsConvert16) {
  expect_from_convert(800, {"-define", "bmp:subtype=RGB565", "BMP:" + bmp_}, 16);
}

TEST_F(BmpTools, DrawsPpmtobmp24) {
  expect_from_ppmtobmp(800, "-bpp=24", 24);
}
TEST_F(BmpTools, DrawsPpmtobmp8) {
  expect_from_ppmtobmp(256, "-windows", 8);
}
TEST_F(BmpTools, DrawsPpmtobmp4) {
  expect_from_ppmtobmp(16, "-bpp=4", 4);
}
TEST_F(BmpTools, DrawsPpmtobmp1) {
  expect_from_ppmtobmp(2, "-bpp=1", 1);
}

} // namespace
} // namespace dravik::test
