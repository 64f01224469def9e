// Which colours a text is drawn in.

#include "support/emulation.hpp"
#include "text/font_maker.hpp"
#include "text/truetype_stage.hpp"

namespace dravik::test {
namespace {

using colours = std::initializer_list<uint16_t>;

struct ramp_choice {
  uint16_t fg;
  int ramp;
};

/// The corner of the letter is ink, the last row of its box paper. On the stage entry i is 0x4000 + i.
void expect_ramp(uint16_t bg, uint16_t fg, int ramp) {
  const font_file font(make_truetype(160, {{32, rectangle{0, 0, 16, 16}}}));
  text_stage stage;
  ASSERT_TRUE(stage.draws({.text = u"A", .font_size = 9, .font = font.path(), .fg = fg, .bg = bg}));
  EXPECT_TRUE(stage.shows(20, 30, static_cast<uint16_t>(0x4000 + ramp * DRAVIK_RAMP_STEPS + 15)))
      << bg << ' ' << fg;
  EXPECT_TRUE(stage.shows(20, 31, static_cast<uint16_t>(0x4000 + ramp * DRAVIK_RAMP_STEPS)))
      << bg << ' ' << fg;
}

void expect_ramps(uint16_t bg, std::initializer_list<ramp_choice> choices) {
  for (const ramp_choice &choice : choices)
    expect_ramp(bg, choice.fg, choice.ramp);
}

TEST(TrueTypeRamps, SelectOnWhite) {
  expect_ramps(DRAVIK_WHITE, {{DRAVIK_RED, DRAVIK_RED_ON_WHITE},
                              {DRAVIK_GREEN, DRAVIK_GREEN_ON_WHITE},
                              {DRAVIK_BLUE, DRAVIK_BLUE_ON_WHITE},
                              {DRAVIK_GREY, DRAVIK_GREY_ON_WHITE},
                              {DRAVIK_YELLOW, DRAVIK_YELLOW_ON_WHITE},
                              {DRAVIK_MAGENTA, DRAVIK_MAGENTA_ON_WHITE},
                              {DRAVIK_CYAN, DRAVIK_CYAN_ON_WHITE},
                              {DRAVIK_ORANGE, DRAVIK_ORANGE_ON_WHITE},
                              {DRAVIK_BLACK, DRAVIK_BLACK_ON_WHITE},
                              {0, DRAVIK_BLACK_ON_WHITE},
                              {DRAVIK_WHITE, DRAVIK_BLACK_ON_WHITE},
                              {DRAVIK_THEME, DRAVIK_BLACK_ON_WHITE}});
}

TEST(TrueTypeRamps, SelectOnBlack) {
  expect_ramps(DRAVIK_BLACK, {{DRAVIK_RED, DRAVIK_RED_ON_BLACK},
                              {DRAVIK_GREEN, DRAVIK_GREEN_ON_BLACK},
                              {DRAVIK_BLUE, DRAVIK_BLUE_ON_BLACK},
                              {DRAVIK_GREY, DRAVIK_GREY_ON_BLACK},
                              {DRAVIK_YELLOW, DRAVIK_YELLOW_ON_BLACK},
                              {DRAVIK_MAGENTA, DRAVIK_MAGENTA_ON_BLACK},
                              {DRAVIK_CYAN, DRAVIK_CYAN_ON_BLACK},
                              {DRAVIK_ORANGE, DRAVIK_ORANGE_ON_BLACK},
                              {DRAVIK_WHITE, DRAVIK_WHITE_ON_BLACK},
                              {0, DRAVIK_WHITE_ON_BLACK},
                              {DRAVIK_BLACK, DRAVIK_WHITE_ON_BLACK},
                              {DRAVIK_THEME, DRAVIK_WHITE_ON_BLACK}});
}

TEST(TrueTypeRamps, SelectOnMagenta) {
  expect_ramps(DRAVIK_MAGENTA, {{DRAVIK_RED, DRAVIK_RED_ON_MAGENTA},
                                {DRAVIK_GREEN, DRAVIK_GREEN_ON_MAGENTA},
                                {DRAVIK_BLUE, DRAVIK_BLUE_ON_MAGENTA},
                                {DRAVIK_WHITE, DRAVIK_WHITE_ON_MAGENTA},
                                {DRAVIK_GREY, DRAVIK_GREY_ON_MAGENTA},
                                {DRAVIK_YELLOW, DRAVIK_YELLOW_ON_MAGENTA},
                                {DRAVIK_CYAN, DRAVIK_CYAN_ON_MAGENTA},
                                {DRAVIK_ORANGE, DRAVIK_ORANGE_ON_MAGENTA},
                                {DRAVIK_BLACK, DRAVIK_BLACK_ON_MAGENTA},
                                {0, DRAVIK_BLACK_ON_MAGENTA},
                                {DRAVIK_MAGENTA, DRAVIK_BLACK_ON_MAGENTA},
                                {DRAVIK_THEME, DRAVIK_BLACK_ON_MAGENTA}});
}

TEST(TrueTypeRamps, SelectOnTheme) {
  expect_ramps(DRAVIK_THEME, {{DRAVIK_BLACK, DRAVIK_THEME_TO_BLACK},
                              {DRAVIK_WHITE, DRAVIK_THEME_TO_WHITE},
                              {DRAVIK_RED, DRAVIK_THEME_TO_WHITE},
                              {0, DRAVIK_THEME_TO_WHITE},
                              {DRAVIK_THEME, DRAVIK_THEME_TO_WHITE}});
}

TEST(TrueTypeRamps, SelectBlackOnWhiteForOtherBackgrounds) {
  for (const uint16_t bg : colours{DRAVIK_RED, DRAVIK_GREEN, DRAVIK_BLUE, DRAVIK_GREY, DRAVIK_YELLOW,
                                   DRAVIK_CYAN, DRAVIK_ORANGE, 1, 0x0820})
    for (const uint16_t fg : colours{DRAVIK_WHITE, DRAVIK_BLACK, DRAVIK_RED, DRAVIK_CYAN, 0})
      expect_ramp(bg, fg, DRAVIK_BLACK_ON_WHITE);
}

TEST(TrueTypeRamps, DrawInkOnlyOnTransparentBackground) {
  const font_file font(make_truetype(160, {{64, rectangle{8, 0, 40, 16}}})); // half, full, half, none
  for (const uint16_t fg : colours{DRAVIK_BLACK, DRAVIK_WHITE, DRAVIK_RED, DRAVIK_THEME, 0}) {
    text_stage stage;
    ASSERT_TRUE(
        stage.draws({.text = u"A", .font_size = 9, .font = font.path(), .fg = fg, .bg = DRAVIK_TRANSPARENT}));
    EXPECT_EQ(stage.model().pixels, 3);
    EXPECT_TRUE(stage.shows(20, 30, 0x4000 + DRAVIK_BLACK_ON_WHITE * DRAVIK_RAMP_STEPS + 8));
    EXPECT_TRUE(stage.shows(21, 30, 0x4000 + DRAVIK_BLACK_ON_WHITE * DRAVIK_RAMP_STEPS + 15));
  }
}

TEST(TrueTypeRamps, FollowThemeColour) {
  const font_file font(make_truetype(160, {{32, rectangle{0, 0, 16, 16}}}));
  text_stage stage;
  for (const uint16_t colour : colours{DRAVIK_DEFAULT_THEME, 0x2A8C}) {
    set_theme_color(colour);
    ASSERT_TRUE(stage.draws(
        {.text = u"A", .font_size = 9, .font = font.path(), .fg = DRAVIK_WHITE, .bg = DRAVIK_THEME}));
    EXPECT_TRUE(stage.shows(20, 30, DRAVIK_WHITE)); // to white
    EXPECT_TRUE(stage.shows(20, 31, colour));
    ASSERT_TRUE(stage.draws(
        {.text = u"A", .font_size = 9, .font = font.path(), .fg = DRAVIK_BLACK, .bg = DRAVIK_THEME}));
    EXPECT_TRUE(stage.shows(20, 30, 0)); // to black
    EXPECT_TRUE(stage.shows(20, 31, colour));
  }
}

TEST(TrueTypeRamps, SelectForRealTextInEveryPair) {
  text_stage stage;
  constexpr uint16_t named[] = {
      DRAVIK_WHITE,   DRAVIK_BLACK, DRAVIK_RED,    DRAVIK_GREEN, DRAVIK_BLUE, DRAVIK_GREY, DRAVIK_YELLOW,
      DRAVIK_MAGENTA, DRAVIK_CYAN,  DRAVIK_ORANGE, DRAVIK_THEME, 0,           0x5555};
  constexpr size_t count = std::size(named);
  for (size_t pair = 0; pair < count * count; pair += stride<size_t>()) {
    const uint16_t fg = named[pair % count], bg = named[pair / count];
    EXPECT_TRUE(stage.draws({.text = u"go", .font_size = 11, .font = sans, .fg = fg, .bg = bg}))
        << bg << ' ' << fg;
  }
}

} // namespace
} // namespace dravik::test
