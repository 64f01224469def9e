// The examples that show one task each.

#include "examples/demonstration.hpp"

#include <dravik.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace dravik::test {
namespace {

using sim::screen;
using testing::Contains;
using testing::ElementsAre;
using testing::Gt;
using testing::HasSubstr;
using testing::SizeIs;
using testing::UnorderedElementsAre;

constexpr uint16_t yellow = 0xFFE0, cyan = 0x07FF;

TEST(DrawExample, DrawsItsShapes) {
  const board on;
  application draw{on, EXAMPLE_DRAW};
  EXPECT_EQ(draw.finish(), 0);
  EXPECT_EQ(draw.errors(), "");
  const shot seen{on, {}};
  EXPECT_EQ(seen.at(2, 240), theme) << "the frame";
  EXPECT_EQ(seen.at(637, 240), theme);
  EXPECT_EQ(seen.at(10, 100), grad_line[100]);
  EXPECT_EQ(seen.at(500, 100), black) << "right of the shading";
  EXPECT_EQ(seen.at(20, 100), cyan);
  EXPECT_EQ(seen.at(160, 100), white);
  EXPECT_EQ(seen.at(178, 100), red);
  EXPECT_EQ(seen.at(192, 100), white);
  EXPECT_EQ(seen.at(260, 75), theme);
  EXPECT_EQ(seen.at(230, 110), yellow);
  EXPECT_EQ(seen.at(265, 20), yellow);
  EXPECT_EQ(seen.at(280, 195), white) << "the end of the ramp";
}

// The geometry that docs/simulated-board.md gives for padded lines.
TEST(DrawExample, DrawsOnPaddedLines) {
  screen padded = screen::of_size(1024, 480);
  padded.xres = 800;
  const board on{padded};
  application draw{on, EXAMPLE_DRAW};
  EXPECT_EQ(draw.finish(), 0);
  const shot seen{on, padded};
  EXPECT_EQ(seen.at(797, 240), theme) << "the frame";
  EXPECT_EQ(seen.at(400, 477), theme);
  EXPECT_EQ(seen.at(900, 240), 0) << "the padding";
}

TEST(TextExample, WritesInThreeSizes) {
  const board on;
  add_demonstration_files(on);
  application text{on, EXAMPLE_TEXT};
  EXPECT_EQ(text.finish(), 0);
  EXPECT_EQ(text.errors(), "");
  const shot seen{on, {}};
  EXPECT_THAT(seen.colours(16, 16, 300, 16), UnorderedElementsAre(black, white));
  EXPECT_THAT(seen.colours(16, 40, 300, 24), UnorderedElementsAre(black, white));
  EXPECT_THAT(seen.colours(16, 72, 300, 32), UnorderedElementsAre(black, white));
  EXPECT_THAT(seen.colours(16, 112, 300, 16), UnorderedElementsAre(black, yellow));
  EXPECT_THAT(seen.colours(16, 136, 120, 24), UnorderedElementsAre(theme, white));
  EXPECT_THAT(seen.colours(148, 136, 12, 24), UnorderedElementsAre(black, yellow));
}

TEST(TextExample, SaysWhichFontIsMissing) {
  const board on;
  application text{on, EXAMPLE_TEXT};
  EXPECT_EQ(text.finish(), 1);
  EXPECT_EQ(text.errors(), "text: no font /usr/local/dravik/font/Lat15-TerminusBold16.psf\n");
}

TEST(ArtworkExample, ShowsImagesThroughFourRamps) {
  const board on;
  add_demonstration_files(on);
  application artwork{on, EXAMPLE_ARTWORK};
  EXPECT_EQ(artwork.finish(), 0);
  EXPECT_THAT(artwork.errors(), HasSubstr("  /usr/local/dravik/art/icons_640.q7 : "));
  const shot seen{on, {}};
  const uint16_t backgrounds[] = {black, black, white, theme};
  for (uint32_t row = 0; row < 4; ++row)
    for (uint32_t column = 0; column < 4; ++column) {
      EXPECT_EQ(seen.at(column * 80, row * 80), backgrounds[row]) << column << ", " << row;
      EXPECT_THAT(seen.colours(column * 80, row * 80, 80, 80), SizeIs(Gt(4))) << column << ", " << row;
    }
}

TEST(ArtworkExample, SaysWhenTheArchiveIsMissing) {
  const board on;
  application artwork{on, EXAMPLE_ARTWORK, {"/usr/local/dravik/none.q7"}};
  EXPECT_EQ(artwork.finish(), 1);
  EXPECT_THAT(artwork.errors(), HasSubstr("artwork: /usr/local/dravik/none.q7 cannot be loaded"));
}

TEST(PictureExample, ShowsTheLogoInTheMiddle) {
  const board on;
  add_demonstration_files(on);
  application picture{on, EXAMPLE_PICTURE};
  EXPECT_EQ(picture.finish(), 0);
  EXPECT_EQ(picture.errors(), "");
  EXPECT_EQ(picture.output(), "/usr/local/dravik/bmp/logo_320.bmp: 180 x 60 pixels of 24 bits\n");
  const shot seen{on, {}};
  EXPECT_THAT(seen.colours(230, 210, 180, 60), SizeIs(Gt(30)));
  EXPECT_THAT(seen.colours(0, 0, 640, 210), ElementsAre(black));
  EXPECT_THAT(seen.colours(0, 270, 640, 210), ElementsAre(black));
}

TEST(PictureExample, SaysWhenTheFileIsMissing) {
  const board on;
  application picture{on, EXAMPLE_PICTURE, {"/usr/local/dravik/none.bmp"}};
  EXPECT_EQ(picture.finish(), 1);
  EXPECT_THAT(picture.errors(), HasSubstr("open /usr/local/dravik/none.bmp error!"));
}

TEST(LogExample, WritesFromTwoThreads) {
  const board on;
  application log{on, EXAMPLE_LOG};
  EXPECT_EQ(log.finish(), 0);
  EXPECT_EQ(log.errors(), "");
  EXPECT_EQ(log.output(), "the last line has 13 characters\n");
  const std::string text = on.read("tmp/dravik.log");
  for (const char *line : {"] recording 0001 begins\n", "] recording 0004 begins\n",
                           "] temperature 40 degrees\n", "] temperature 43 degrees\n"})
    EXPECT_THAT(text, HasSubstr(line));
  EXPECT_TRUE(text.ends_with("] supply 13.8 V\n")) << text;
}

} // namespace
} // namespace dravik::test
