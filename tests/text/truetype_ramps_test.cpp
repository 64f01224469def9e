// Which colours a text is drawn in.

#include "text/font_maker.hpp"
#include "text/truetype_stage.hpp"

namespace dravik::test {
namespace {

constexpr uint16_t white = 0xFFFF, black = 0x0821, red = 0xF800, green = 0x07E0, blue = 0x001F, grey = 0x7BEF,
                   yellow = 0xFFE0, magenta = 0xF81F, cyan = 0x07FF, orange = 0xFBC0, theme = 0x1234;

struct pair_of_colours {
  uint16_t bg, fg;
  int first; ///< entry of the colour table
};

/// The corner of the letter is ink, the last row of its box paper. On the stage entry i is 0x4000 + i.
void expect_ramp(const pair_of_colours &colours) {
  const font_file font(make_truetype(160, {{32, rectangle{0, 0, 16, 16}}}));
  text_stage stage;
  ASSERT_TRUE(
      stage.draws({.text = u"A", .font_size = 9, .font = font.path(), .fg = colours.fg, .bg = colours.bg}));
  EXPECT_TRUE(stage.shows(20, 30, static_cast<uint16_t>(0x4000 + colours.first + 15)))
      << colours.bg << ' ' << colours.fg;
  EXPECT_TRUE(stage.shows(20, 31, static_cast<uint16_t>(0x4000 + colours.first)))
      << colours.bg << ' ' << colours.fg;
}

TEST(TrueTypeRamps, OnWhite) {
  for (const auto &[fg, first] : {std::pair{red, 144},
                                  {green, 160},
                                  {blue, 176},
                                  {grey, 208},
                                  {yellow, 224},
                                  {magenta, 240},
                                  {cyan, 256},
                                  {orange, 272},
                                  {black, 192},
                                  {uint16_t{0}, 192},
                                  {white, 192},
                                  {theme, 192}})
    expect_ramp({white, fg, first});
}

TEST(TrueTypeRamps, OnBlack) {
  for (const auto &[fg, first] : {std::pair{red, 0},
                                  {green, 16},
                                  {blue, 32},
                                  {grey, 64},
                                  {yellow, 80},
                                  {magenta, 96},
                                  {cyan, 112},
                                  {orange, 128},
                                  {white, 48},
                                  {uint16_t{0}, 48},
                                  {black, 48},
                                  {theme, 48}})
    expect_ramp({black, fg, first});
}

TEST(TrueTypeRamps, OnMagenta) {
  for (const auto &[fg, first] : {std::pair{red, 288},
                                  {green, 304},
                                  {blue, 320},
                                  {white, 352},
                                  {grey, 368},
                                  {yellow, 384},
                                  {cyan, 400},
                                  {orange, 416},
                                  {black, 336},
                                  {uint16_t{0}, 336},
                                  {magenta, 336},
                                  {theme, 336}})
    expect_ramp({magenta, fg, first});
}

TEST(TrueTypeRamps, OnTheTheme) {
  for (const auto &[fg, first] :
       {std::pair{black, 448}, {white, 432}, {red, 432}, {uint16_t{0}, 432}, {theme, 432}})
    expect_ramp({theme, fg, first});
}

TEST(TrueTypeRamps, OnAnyOtherBackground) {
  for (const uint16_t bg : {red, green, blue, grey, yellow, cyan, orange, uint16_t{1}, uint16_t{0x0820}})
    for (const uint16_t fg : {white, black, red, cyan, uint16_t{0}})
      expect_ramp({bg, fg, 192});
}

TEST(TrueTypeRamps, OnNothingTheInkAloneIsDrawn) {
  const font_file font(make_truetype(160, {{64, rectangle{8, 0, 40, 16}}})); // half, full, half, none
  for (const uint16_t fg : {black, white, red, theme, uint16_t{0}}) {
    text_stage stage;
    ASSERT_TRUE(stage.draws({.text = u"A", .font_size = 9, .font = font.path(), .fg = fg, .bg = 0}));
    EXPECT_EQ(stage.model().pixels, 3);
    EXPECT_TRUE(stage.shows(20, 30, 0x4000 + 192 + 8));
    EXPECT_TRUE(stage.shows(21, 30, 0x4000 + 192 + 15));
  }
}

TEST(TrueTypeRamps, TheThemeIsTheOneSetLast) {
  const font_file font(make_truetype(160, {{32, rectangle{0, 0, 16, 16}}}));
  text_stage stage;
  for (const uint16_t colour : {uint16_t{0x0B77}, uint16_t{0x2A8C}}) {
    set_theme_color(colour);
    ASSERT_TRUE(stage.draws({.text = u"A", .font_size = 9, .font = font.path(), .fg = white, .bg = theme}));
    EXPECT_TRUE(stage.shows(20, 30, 0xFFFF)); // to white
    EXPECT_TRUE(stage.shows(20, 31, colour));
    ASSERT_TRUE(stage.draws({.text = u"A", .font_size = 9, .font = font.path(), .fg = black, .bg = theme}));
    EXPECT_TRUE(stage.shows(20, 30, 0)); // to black
    EXPECT_TRUE(stage.shows(20, 31, colour));
  }
}

TEST(TrueTypeRamps, RealTextInEveryPairOfNamedColours) {
  text_stage stage;
  constexpr uint16_t named[] = {white,   black, red,    green, blue, grey,  yellow,
                                magenta, cyan,  orange, theme, 0,    0x5555};
  for (const uint16_t bg : named)
    for (const uint16_t fg : named)
      EXPECT_TRUE(stage.draws({.text = u"go", .font_size = 11, .font = sans, .fg = fg, .bg = bg}))
          << bg << ' ' << fg;
}

} // namespace
} // namespace dravik::test
