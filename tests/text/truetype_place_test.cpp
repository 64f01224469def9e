// Where the box is put on the screen.

#include "text/font_maker.hpp"
#include "text/truetype_stage.hpp"

#include <climits>

namespace dravik::test {
namespace {

// 9 points are 10 pixels at 80 dots per inch; at 160 units per em, 16 units are a pixel.
constexpr uint32_t ten_pixels = 9;
constexpr uint16_t ink = 0x4000 + DRAVIK_BLACK_ON_WHITE * DRAVIK_RAMP_STEPS + 15;

/// A font whose A is a bar that makes a box of a width and a height. Its ink fills all but the last column
/// and row, and its top is `top` rows above the base line.
bytes bar(int width, int height, int top) {
  const auto pixels = [](int count) { return static_cast<int16_t>(count * 16); };
  return make_truetype(160, {{static_cast<uint16_t>((width - 1) * 16),
                              rectangle{0, pixels(top - height + 1), pixels(width - 1), pixels(top)}}});
}

/// One text of a size of its own, and where its first pixel is expected.
class placing {
public:
  placing(int width, int height, int top = 0) : font_(bar(width, height, top)) {}

  testing::AssertionResult lands(int32_t align, uint32_t x, uint32_t y, uint32_t column, uint32_t line) {
    const auto drawn = stage_.draws(
        {.text = u"A", .font_size = ten_pixels, .font = font_.path(), .x = x, .y = y, .align = align});
    return drawn ? stage_.shows(column, line, ink) : drawn;
  }

private:
  font_file font_;
  text_stage stage_;
};

TEST(TrueTypeAlign, PlacesTopLeftCornerByDefault) {
  for (const int32_t align : {0, 8, 9, -1, 100, INT_MAX, INT_MIN}) {
    placing at(31, 11);
    EXPECT_TRUE(at.lands(align, 100, 200, 100, 200)) << align;
  }
}

TEST(TrueTypeAlign, CentresOnColumn) {
  EXPECT_TRUE(placing(31, 11).lands(1, 100, 200, 85, 200)); // half of 31 is 15
  EXPECT_TRUE(placing(30, 11).lands(1, 100, 200, 85, 200));
  EXPECT_TRUE(placing(31, 11).lands(1, 16, 200, 1, 200));
  EXPECT_TRUE(placing(31, 11).lands(1, 15, 200, 0, 200));
  EXPECT_TRUE(placing(31, 11).lands(1, 3, 200, 0, 200));
  EXPECT_TRUE(placing(31, 11).lands(1, 0xFFFFFFFF, 200, 0, 200)); // -1
}

TEST(TrueTypeAlign, CentresOnLineIfBoxIsLowOnPlane) {
  EXPECT_TRUE(placing(31, 11).lands(2, 100, 200, 100, 195)); // the top row is 100
  EXPECT_TRUE(placing(31, 10).lands(2, 100, 200, 100, 195));
}

TEST(TrueTypeAlign, ComparesRowOfPlaneInsteadOfLine) {
  EXPECT_TRUE(placing(31, 40, 81).lands(2, 100, 200, 100, 0));   // top row 19, half the height 20
  EXPECT_TRUE(placing(31, 40, 80).lands(2, 100, 200, 100, 0));   // 20 and 20
  EXPECT_TRUE(placing(31, 40, 79).lands(2, 100, 200, 100, 180)); // 21 and 20
}

TEST(TrueTypeAlign, ClipsCentredTextAboveScreen) {
  EXPECT_TRUE(placing(31, 41).lands(2, 100, 5, 100, 0)); // drawn from line -15 to line 25
  EXPECT_TRUE(placing(31, 41).lands(2, 100, 0, 100, 0));
  EXPECT_TRUE(placing(31, 41).lands(2, 100, 0xFFFFFFF0, 100, 0)); // from -36 to 4
}

TEST(TrueTypeAlign, CentresOnBoth) {
  EXPECT_TRUE(placing(31, 41).lands(3, 100, 200, 85, 180));
  EXPECT_TRUE(placing(31, 41).lands(3, 100, 21, 85, 1));
  EXPECT_TRUE(placing(31, 41).lands(3, 100, 20, 85, 0));
  EXPECT_TRUE(placing(31, 41).lands(3, 15, 5, 0, 0));
  EXPECT_TRUE(placing(31, 41).lands(3, 0x80000000, 0x80000000, 0, 0));
}

TEST(TrueTypeAlign, CentresIn640Columns) {
  EXPECT_TRUE(placing(31, 11).lands(4, 7, 200, 304, 200));
  EXPECT_TRUE(placing(30, 11).lands(4, 7, 200, 305, 200));
  EXPECT_TRUE(placing(639, 11).lands(4, 7, 200, 0, 200));
  EXPECT_TRUE(placing(640, 11).lands(4, 7, 200, 0, 200));
  EXPECT_TRUE(placing(641, 11).lands(4, 7, 200, 7, 200)); // too wide: stays where it is
  EXPECT_TRUE(placing(700, 11).lands(4, 7, 200, 7, 200));
}

TEST(TrueTypeAlign, CentresIn480Lines) {
  EXPECT_TRUE(placing(31, 11).lands(5, 100, 7, 100, 234));
  EXPECT_TRUE(placing(31, 480, 90).lands(5, 100, 7, 100, 0));
  EXPECT_TRUE(placing(31, 481, 90).lands(5, 100, 7, 100, 7));
}

TEST(TrueTypeAlign, AlignsAtRightEdge) {
  EXPECT_TRUE(placing(31, 11).lands(6, 7, 200, 609, 200));
  EXPECT_TRUE(placing(640, 11).lands(6, 7, 200, 0, 200));
  EXPECT_TRUE(placing(641, 11).lands(6, 7, 200, 7, 200));
}

TEST(TrueTypeAlign, AlignsAtBottomEdge) {
  EXPECT_TRUE(placing(31, 11).lands(7, 100, 7, 100, 469));
  EXPECT_TRUE(placing(31, 480, 90).lands(7, 100, 7, 100, 0));
  EXPECT_TRUE(placing(31, 481, 90).lands(7, 100, 7, 100, 7));
}

TEST(TrueTypeAlign, PlacesRealTextInEveryAlignment) {
  text_stage stage;
  for (int32_t align = -1; align <= 9; ++align)
    for (const uint32_t size : {8u, 18u, 40u})
      EXPECT_TRUE(
          stage.draws({.text = u"Größe", .font_size = size, .font = sans, .x = 60, .y = 12, .align = align}));
}

TEST(TrueTypePlace, ContinuesOverRightEdgeInNextLine) {
  text_stage stage;
  EXPECT_TRUE(stage.draws({.text = u"Overflow", .font = sans, .x = 600}));
  EXPECT_TRUE(stage.draws({.text = u"Overflow", .font = sans, .x = 640}));
  EXPECT_TRUE(stage.draws({.text = u"Overflow", .font = sans, .x = 2000, .bg = 0}));
  EXPECT_TRUE(placing(31, 11).lands(0, 643, 200, 0, 201)); // 6 bytes lie between two lines
}

TEST(TrueTypePlace, DrawsColumnsLeftOfScreenInPreviousLine) {
  EXPECT_TRUE(placing(31, 11).lands(0, 0xFFFFFFFF, 200, 0, 200));
  EXPECT_TRUE(placing(31, 11).lands(0, 0xFFFFFFF8, 200, 635, 199));
}

TEST(TrueTypePlace, WritesNothingBeforeFirstPixel) {
  EXPECT_TRUE(placing(31, 11).lands(0, 0xFFFFFFFF, 0, 0, 0));
  EXPECT_TRUE(placing(31, 11).lands(0, 0xFFFFFFE2, 0, 613, 0)); // -30: the second row of the box
  EXPECT_TRUE(placing(31, 11).lands(0, static_cast<uint32_t>(-643), 0, 0, 0)); // a line back
}

TEST(TrueTypePlace, WritesNothingFarLeftOfScreen) {
  text_stage stage;
  for (const uint32_t x : {0x80000000u, 0x80000001u, 0x90000000u, 0xFFF00000u})
    for (const int32_t align : {0, 2, 5})
      EXPECT_TRUE(stage.draws_nothing({.text = u"Left", .font = sans, .x = x, .y = 0, .align = align})) << x;
}

TEST(TrueTypePlace, DrawsRowsThatBeginInMemoryAtFarColumns) {
  EXPECT_TRUE(placing(31, 11).lands(0, 0x80000000, 3'339'788, 36, 0)); // -2^31 + 643 * 3'339'788 = 36
  EXPECT_TRUE(placing(31, 11).lands(0, 0x7FFFFFFF, static_cast<uint32_t>(-3'339'787), 606, 0));
}

TEST(TrueTypePlace, OmitsLinesAboveScreen) {
  EXPECT_TRUE(placing(31, 11).lands(0, 100, 0xFFFFFFFF, 100, 0));
  EXPECT_TRUE(placing(31, 11).lands(0, 100, 0xFFFFFFF7, 100, 0)); // -9: one line of ink is left
  text_stage stage;
  EXPECT_TRUE(stage.draws_nothing({.text = u"Above", .font = sans, .y = static_cast<uint32_t>(-40)}));
  EXPECT_TRUE(stage.draws_nothing({.text = u"Above", .font = sans, .y = 0x80000000}));
}

TEST(TrueTypePlace, DrawsPartOfLineThatReachesIntoScreen) {
  // A line has 643 columns, 3 of them padding: columns 613 to 643 of the line above end with the
  // first pixel.
  EXPECT_TRUE(placing(31, 11).lands(0, 614, 0xFFFFFFFF, 0, 0));
  EXPECT_TRUE(placing(31, 2).lands(0, 640, 0xFFFFFFFF, 26, 0)); // one line of ink: columns -3 to 26
  text_stage stage;
  EXPECT_TRUE(stage.draws({.text = u"Tail", .font = sans, .x = 620, .y = 0xFFFFFFFF, .bg = 0}));
  EXPECT_TRUE(stage.draws({.text = u"Tail", .font = sans, .x = 1280, .y = 0xFFFFFFFE}));
  EXPECT_TRUE(
      stage.draws({.text = u"Tail", .font = sans, .x = 640, .y = static_cast<uint32_t>(-10), .bg = 0}));
}

TEST(TrueTypePlace, DrawsAtBottomRightCorner) {
  EXPECT_TRUE(placing(31, 11).lands(0, 609, 469, 609, 469));
  text_stage stage;
  EXPECT_TRUE(stage.draws({.text = u"corner", .font = sans, .y = 455, .align = 6}));
}

TEST(TrueTypePlace, ClipsTextWiderThanPlaneAtEndOfMemory) {
  EXPECT_TRUE(placing(700, 11).lands(0, 20, 475, 20, 475)); // its last lines are outside
  EXPECT_TRUE(placing(700, 11).lands(0, 639, 479, 639, 479));
}

TEST(TrueTypePlace, ClipsTextHigherThanPlaneAtEndOfMemory) {
  EXPECT_TRUE(placing(31, 700, 90).lands(0, 20, 30, 20, 479));
}

TEST(TrueTypePlace, UsesLayoutOf640By480OnAnyScreen) {
  for (const auto &[columns, lines] : {std::pair{800u, 600u}, std::pair{1280u, 720u}}) {
    text_stage stage({.xres = columns, .yres = lines});
    for (int32_t align = 0; align <= 7; ++align)
      EXPECT_TRUE(stage.draws({.text = u"Settings", .font = sans, .x = 300, .y = 200, .align = align}));
  }
}

} // namespace
} // namespace dravik::test
