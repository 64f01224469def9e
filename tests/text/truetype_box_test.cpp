// The box around a text, and how its glyphs are composed.

#include "text/font_maker.hpp"
#include "text/truetype_stage.hpp"

namespace dravik::test {
namespace {

// 9 points are 10 pixels at 80 dots per inch; at 160 units per em, 16 units are a pixel.
constexpr uint16_t em = 160;
constexpr uint32_t ten_pixels = 9;
constexpr uint16_t paper = 0x4000 + DRAVIK_BLACK_ON_WHITE * DRAVIK_RAMP_STEPS,
                   ink = 0x4000 + DRAVIK_BLACK_ON_WHITE * DRAVIK_RAMP_STEPS + 15; ///< ramp 192 on the stage

text_call made(const font_file &font, const std::u16string &text) {
  return {.text = text, .font_size = ten_pixels, .font = font.path()};
}

TEST(TrueTypeBox, IsWhereFontPlacesGlyph) {
  // bearing 1, 2 wide, 5 high on the base line, advance 4
  const font_file font(make_truetype(em, {{64, rectangle{16, 0, 48, 80}}}));
  text_stage stage;
  ASSERT_TRUE(stage.draws(made(font, u"A")));
  EXPECT_EQ(sx, 10);
  EXPECT_EQ(ex, 14);
  EXPECT_EQ(sy, 95);
  EXPECT_EQ(ey, 100);
  EXPECT_EQ(str_width, 5);
  EXPECT_EQ(str_height, 6);
  for (uint32_t y = 0; y < 6; ++y)
    for (uint32_t x = 0; x < 5; ++x)
      EXPECT_TRUE(stage.shows(20 + x, 30 + y, (x == 1 || x == 2) && y < 5 ? ink : paper));
  EXPECT_EQ(image_buffer[95 * DRAVIK_PLANE_WIDTH + 11], 15);
}

TEST(TrueTypeBox, HasMiddleOfRampForHalfCoveredPixels) {
  const font_file font(make_truetype(em, {{64, rectangle{8, 0, 40, 16}}})); // from 0.5 to 2.5
  text_stage stage;
  ASSERT_TRUE(stage.draws(made(font, u"A")));
  EXPECT_TRUE(stage.shows(20, 30, paper + 8));
  EXPECT_TRUE(stage.shows(21, 30, ink));
  EXPECT_TRUE(stage.shows(22, 30, paper + 8));
  EXPECT_TRUE(stage.shows(23, 30, paper));
}

TEST(TrueTypeBox, IsWidenedByFirstGlyphLeftOfPen) {
  const font_file font(make_truetype(em, {{64, rectangle{-48, 0, 16, 16}}}));
  text_stage stage;
  ASSERT_TRUE(stage.draws(made(font, u"A")));
  EXPECT_EQ(sx, 7);
  EXPECT_EQ(str_width, 14 + 1 - 7);
  EXPECT_TRUE(stage.shows(20, 30, ink));
}

TEST(TrueTypeBox, IsWidenedToLeftByFirstGlyphOnly) {
  const font_file font(make_truetype(em, {{0, rectangle{0, 0, 16, 16}}, {64, rectangle{-48, 0, 16, 16}}}));
  text_stage stage;
  ASSERT_TRUE(stage.draws(made(font, u"AB"))); // the first one does not advance
  EXPECT_EQ(sx, 10);
  EXPECT_TRUE(stage.shows(20, 30, ink));
  EXPECT_TRUE(stage.shows(21, 30, paper));
}

TEST(TrueTypeBox, KeepsLaterGlyphOverNeighbour) {
  // the second one starts 2 pixels back and has a half covered first column: cells are replaced, not added
  const font_file font(make_truetype(em, {{48, rectangle{0, 0, 48, 16}}, {64, rectangle{-24, 0, 0, 16}}}));
  text_stage stage;
  ASSERT_TRUE(stage.draws(made(font, u"AB")));
  EXPECT_TRUE(stage.shows(20, 30, ink));
  EXPECT_TRUE(stage.shows(21, 30, paper + 8));
  EXPECT_TRUE(stage.shows(22, 30, ink));
}

TEST(TrueTypeBox, ClearsOverhangByBearing) {
  // the first one is 5 wide with an advance of 2, the second starts 2 after the pen
  const font_file font(make_truetype(em, {{32, rectangle{0, 0, 80, 16}}, {64, rectangle{32, 0, 48, 16}}}));
  text_stage stage;
  ASSERT_TRUE(stage.draws(made(font, u"AB")));
  const uint16_t expected[] = {ink, ink, paper, paper, ink, paper};
  for (uint32_t x = 0; x < std::size(expected); ++x)
    EXPECT_TRUE(stage.shows(20 + x, 30, expected[x])) << x;
}

TEST(TrueTypeBox, ClearsOverhangInRowsOfGlyphOnly) {
  const font_file font(make_truetype(em, {{32, rectangle{0, 0, 80, 32}}, {64, rectangle{32, 0, 48, 16}}}));
  text_stage stage;
  ASSERT_TRUE(stage.draws(made(font, u"AB")));
  EXPECT_TRUE(stage.shows(22, 30, ink));
  EXPECT_TRUE(stage.shows(22, 31, paper));
}

TEST(TrueTypeBox, OmitsInkBeyondLastAdvance) {
  const font_file font(make_truetype(em, {{32, rectangle{0, 0, 80, 16}}}));
  text_stage stage;
  ASSERT_TRUE(stage.draws(made(font, u"A")));
  EXPECT_EQ(str_width, 3);
  EXPECT_EQ(image_buffer[99 * DRAVIK_PLANE_WIDTH + 14], 15);
  EXPECT_EQ(image_buffer[99 * DRAVIK_PLANE_WIDTH + 15], 0);
}

TEST(TrueTypeBox, HandlesNegativeBearings) {
  text_stage stage;
  for (const char16_t *text : {u"j", u"jjj", u"pj f"}) {
    for (const uint32_t size : {10u, 20u, 48u, 90u})
      EXPECT_TRUE(stage.draws({.text = text, .font_size = size, .font = serif_italic, .x = 60, .y = 60}));
    EXPECT_LT(sx, 10) << testing::PrintToString(text); // in italics even a p reaches back
  }
}

TEST(TrueTypeBox, HandlesSpacesFirstAndInTheMiddle) {
  text_stage stage;
  for (const char16_t *text : {u" A", u"   A", u"A B", u"A   j", u"  A  B"})
    EXPECT_TRUE(stage.draws({.text = text, .font = sans}));
}

TEST(TrueTypeBox, KeepsLeftEdgeForFirstSpace) {
  text_stage stage;
  ASSERT_TRUE(stage.draws({.text = u" j", .font_size = 60, .font = serif_italic}));
  EXPECT_EQ(sx, 10);
}

TEST(TrueTypeBox, IsNotExtendedByLastSpace) {
  text_stage stage;
  EXPECT_TRUE(stage.draws_nothing({.text = u"Speed ", .font = sans}));
  EXPECT_EQ(ex, 0);
  EXPECT_EQ(str_width, -9);
  EXPECT_GT(str_height, 0);
}

TEST(TrueTypeBox, IsEmptyForSpaces) {
  text_stage stage;
  for (const char16_t *text : {u" ", u"     "}) {
    EXPECT_TRUE(stage.draws_nothing({.text = text, .font = sans}));
    EXPECT_EQ(str_width, -9);
    EXPECT_EQ(str_height, -479);
  }
}

TEST(TrueTypeBox, IsEmptyForEmptyString) {
  text_stage stage;
  EXPECT_TRUE(stage.draws_nothing({.text = u"", .font = sans}));
  EXPECT_EQ(unicode_len, 0);
  EXPECT_EQ((text_model::box{sx, sy, ex, ey}), (text_model::box{10, 480, 0, 0}));
  EXPECT_EQ(str_width, -9);
  EXPECT_EQ(str_height, -479);
}

TEST(TrueTypeBox, IsNotWidenedBySpaceWithInk) {
  // one bit per pixel: the space is a bar two rows high, the letter one pixel
  const font_file font(make_bdf(10, {{u' ', 6, 0, 0, {"###", "###"}}, {u'A', 6, 0, 0, {"#"}}}));
  text_stage stage;
  ASSERT_TRUE(stage.draws(made(font, u" A")));
  EXPECT_EQ(sy, 199);
  EXPECT_EQ(image_buffer[198 * DRAVIK_PLANE_WIDTH], 15);
}

TEST(TrueTypeBox, ReachesAbovePlaneForTallAccents) {
  text_stage stage;
  for (const char16_t *text : {u"Ẫ", u"ẪẤg", u"gẪ"}) {
    EXPECT_TRUE(stage.draws({.text = text, .font_size = 96, .font = dejavu, .y = 100}));
    EXPECT_LT(sy, 0) << testing::PrintToString(text);
    EXPECT_TRUE(stage.draws({.text = text, .font_size = 96, .font = dejavu, .y = 100, .bg = 0, .align = 2}));
  }
}

TEST(TrueTypeBox, RepeatsFirstRowAbovePlane) {
  // from row 90 to row 110 above the base line, in two columns
  const font_file font(make_truetype(em, {{48, rectangle{0, 90 * 16, 32, 110 * 16}}}));
  text_stage stage;
  ASSERT_TRUE(stage.draws(made(font, u"A")));
  EXPECT_EQ(sy, -10);
  EXPECT_EQ(ey, 10);
  EXPECT_EQ(image_buffer[10], 15);
  EXPECT_EQ(image_buffer[12], 0);
  for (uint32_t y = 0; y < 20; ++y)
    EXPECT_TRUE(stage.shows(21, 30 + y, ink)) << y;
  EXPECT_TRUE(stage.shows(21, 50, paper));
}

TEST(TrueTypeBox, RepeatsLastRowBelowPlane) {
  // its last row is 390 below the base line, 10 below the last row of the plane
  const font_file font(make_truetype(em, {{48, rectangle{0, -390 * 16, 32, 0}}}));
  text_stage stage;
  ASSERT_TRUE(stage.draws(made(font, u"A")));
  EXPECT_EQ(ey, 490);
  EXPECT_EQ(image_buffer[479 * DRAVIK_PLANE_WIDTH + 10], 15);
  EXPECT_TRUE(stage.shows(20, 30 + 390, ink)); // the box goes one row further than the ink
}

TEST(TrueTypeBox, RepeatsLastColumnRightOfPlane) {
  const font_file font(make_truetype(em, {{60 * 16, rectangle{0, 0, 59 * 16, 16}}}));
  text_stage stage;
  ASSERT_TRUE(stage.draws(made(font, u"AAAAAAAAAAAA"))); // 720 wide
  EXPECT_EQ(str_width, 721);
  EXPECT_EQ(image_buffer[99 * DRAVIK_PLANE_WIDTH + 609], 0); // between two of them
  EXPECT_EQ(image_buffer[99 * DRAVIK_PLANE_WIDTH + 639], 15);
  EXPECT_TRUE(stage.shows(20 + 599, 30, paper));
  EXPECT_TRUE(stage.shows(0, 31, ink)); // the first row goes on in the next line
}

TEST(TrueTypeBox, AllowsOverhangAtRightEdgeOfPlane) {
  const font_file font(
      make_truetype(em, {{60 * 16, rectangle{0, 0, 59 * 16, 16}}, {16, rectangle{160, 0, 176, 32}}}));
  text_stage stage;
  EXPECT_TRUE(stage.draws(made(font, u"AAAAAAAAAAAB")));
}

TEST(TrueTypeBox, HandlesTextWiderThanPlane) {
  text_stage stage;
  const std::u16string text = u"The quick brown fox jumps over the lazy dog and away";
  for (const uint32_t size : {24u, 40u, 96u})
    for (const uint16_t background : {uint16_t{0}, uint16_t{DRAVIK_BLACK}})
      EXPECT_TRUE(stage.draws({.text = text, .font_size = size, .font = sans, .bg = background}));
  EXPECT_GT(str_width, 640);
}

// A bitmap does not move with the pen: it lies at its own place next to the origin.
TEST(TrueTypeBox, PlacesBitmapsOfFontAtOrigin) {
  const font_file font(make_bdf(10, {{u'A', 6, 1, 0, {"#.#", ".#.", "###"}}}));
  text_stage stage;
  ASSERT_TRUE(stage.draws(made(font, u"A")));
  EXPECT_EQ((text_model::box{sx, sy, ex, ey}), (text_model::box{1, 197, 16, 200}));
  const char *const picture[] = {"#.#", ".#.", "###"};
  for (uint32_t y = 0; y < 3; ++y)
    for (uint32_t x = 0; x < 3; ++x)
      EXPECT_TRUE(stage.shows(20 + x, 30 + y, picture[y][x] == '#' ? ink : paper));
  EXPECT_TRUE(stage.draws(made(font, u"AAA")));
}

TEST(TrueTypeBox, HandlesBitmapsOverEveryEdgeOfPlane) {
  const std::string row(700, '#');
  const font_file font(make_bdf(10, {{u'A', 6, -30, -10, {500, row}},
                                     {u'B', 6, -30, -300, {500, row}},
                                     {u'C', 6, 20000, 20000, {3, row}},
                                     {u'D', 6, -20000, -20000, {3, row}}}));
  text_stage stage;
  for (const char16_t *text : {u"A", u"B", u"C", u"D", u"ABCD"})
    EXPECT_TRUE(stage.agree(made(font, text)));
}

} // namespace
} // namespace dravik::test
