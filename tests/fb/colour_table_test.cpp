// The colour table, against a table of its own.

#include "dravik.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <vector>

namespace {

using testing::Each;
using testing::ElementsAreArray;

uint16_t rgb(int red, int green, int blue) {
  return static_cast<uint16_t>(red * 2048 + green * 32 + blue);
}

/// The fixed ramps, step i each; two begin with the near-black 0x0821 instead.
using ramp_rule = uint16_t (*)(int i);
constexpr ramp_rule fixed_ramps[27] = {
    [](int i) { return rgb(2 * i + 1, 0, 0); },
    [](int i) { return rgb(0, 4 * i + 3, 0); },
    [](int i) { return rgb(0, 0, 2 * i + 1); },
    [](int i) { return i == 0 ? uint16_t{0x0821} : rgb(2 * i, 4 * i, 2 * i); },
    [](int i) { return rgb(i, 2 * i, i); },
    [](int i) { return rgb(2 * i + 1, 4 * i + 3, 0); },
    [](int i) { return i == 0 ? uint16_t{0x0821} : rgb(2 * i + 1, 0, 2 * i + 1); },
    [](int i) { return rgb(0, 4 * i + 3, 2 * i + 1); },
    [](int i) { return rgb(2 * i + 1, 2 * i, 0); },
    [](int i) { return rgb(31, 63 - 4 * i, 31 - 2 * i); },
    [](int i) { return rgb(31 - 2 * i, 63, 31 - 2 * i); },
    [](int i) { return rgb(31 - 2 * i, 63 - 4 * i, 31); },
    [](int i) { return rgb(31 - 2 * i, 63 - 4 * i, 31 - 2 * i); },
    [](int i) { return rgb(31 - i, 62 - 2 * i, 31 - i); },
    [](int i) { return rgb(31, 63, 31 - 2 * i); },
    [](int i) { return rgb(31, 63 - 4 * i, 31); },
    [](int i) { return rgb(31 - 2 * i, 63, 31); },
    [](int i) { return rgb(31, 62 - 2 * i, 31 - 2 * i); },
    [](int i) { return rgb(31, 0, 30 - 2 * i); },
    [](int i) { return rgb(31 - 2 * i, 4 * i + 3, 31 - 2 * i); },
    [](int i) { return rgb(31 - 2 * i, 0, 31); },
    [](int i) { return rgb(31 - 2 * i, 1, 31 - 2 * i); },
    [](int i) { return rgb(31, 4 * i + 3, 31); },
    [](int i) { return rgb(31 - i, 2 * i, 31 - i); },
    [](int i) { return rgb(31, 4 * i + 3, 31 - 2 * i); },
    [](int i) { return rgb(31 - 2 * i, 4 * i + 3, 31); },
    [](int i) { return rgb(31 - i, 2 * i, 31 - 2 * i); },
};

std::vector<uint16_t> fixed_table() {
  std::vector<uint16_t> table;
  for (const ramp_rule step : fixed_ramps)
    for (int i = 0; i < 16; ++i)
      table.push_back(step(i));
  return table;
}

std::vector<uint16_t> theme_table(uint16_t theme) {
  const int r = theme / 2048, g = theme / 32 % 64, b = theme % 32;
  std::vector<uint16_t> table(32, theme);
  for (size_t k = 1; k <= 15; ++k) {
    const int n = static_cast<int>(k);
    table[k] = rgb(r + (31 - r) * n / 15, g + (63 - g) * n / 15, b + (31 - b) * n / 15);
    table[16 + k] = rgb(r - r * n / 15, g - g * n / 15, b - b * n / 15);
  }
  return table;
}

std::vector<uint16_t> entries(size_t first, size_t last) {
  return {gc + first, gc + last + 1};
}

/// Taken before main(), when no test has built the table yet.
const std::vector<uint16_t> table_at_load = entries(0, 463);
const uint16_t theme_at_load = get_theme_color();

TEST(ColourTable, IsZeroBeforeItIsBuilt) {
  EXPECT_THAT(table_at_load, Each(0));
  EXPECT_EQ(theme_at_load, 0);
}

TEST(ColourTable, FixedRampsAreAsTabled) {
  set_theme_color(0x1357);
  EXPECT_THAT(entries(0, 431), ElementsAreArray(fixed_table()));
}

TEST(ColourTable, NearBlackBeginsOnlyTheRampsOfAnyColourAndMagenta) {
  set_theme_color(0);
  std::vector<size_t> ramps;
  for (size_t ramp = 0; ramp < 27; ++ramp)
    if (gc[ramp * 16] == 0x0821)
      ramps.push_back(ramp);
  EXPECT_THAT(ramps, ElementsAreArray({3, 6}));
  EXPECT_EQ(gc[0], 0x0800);          // red 1: not quite its background
  EXPECT_EQ(gc[3 * 16 + 1], 0x1082); // 2, 4, 2
}

TEST(ColourTable, FixedRampsAreWrittenAgainByEveryBuild) {
  set_theme_color(0x1357);
  std::ranges::fill(gc, uint16_t{0xDEAD});
  set_theme_color(0x1357);
  EXPECT_THAT(entries(0, 431), ElementsAreArray(fixed_table()));
  EXPECT_THAT(entries(432, 463), ElementsAreArray(theme_table(0x1357)));
}

TEST(ColourTable, ThemeRampsOfEveryThemeColour) {
  for (int32_t theme = 0; theme <= 0xFFFF; ++theme) {
    set_theme_color(theme);
    ASSERT_TRUE(std::ranges::equal(entries(432, 463), theme_table(static_cast<uint16_t>(theme)))) << theme;
    ASSERT_EQ(get_theme_color(), theme);
  }
}

TEST(ColourTable, WhiteThemeStaysWhiteAndFallsToBlack) {
  set_theme_color(0xFFFF);
  EXPECT_THAT(entries(432, 447), Each(0xFFFF));
  EXPECT_EQ(gc[448], 0xFFFF);
  EXPECT_EQ(gc[449], 0xEF7D); // 31 - 2, 63 - 4, 31 - 2
  EXPECT_EQ(gc[463], 0x0000);
}

TEST(ColourTable, BlackThemeRisesToWhiteAndStaysBlack) {
  set_theme_color(0x0000);
  EXPECT_EQ(gc[432], 0x0000);
  EXPECT_EQ(gc[447], 0xFFFF);
  EXPECT_THAT(entries(448, 463), Each(0x0000));
}

TEST(ColourTable, FirstStepOfTheStartUpThemeTruncates) {
  set_theme_color(0x0B77);    // 1, 27, 23
  EXPECT_EQ(gc[433], 0x1BB7); // 1 + 30/15, 27 + 36/15, 23 + 8/15
  EXPECT_EQ(gc[449], 0x0B56); // 1 - 1/15, 27 - 27/15, 23 - 23/15
}

TEST(ColourTable, OnlyTheLowSixteenBitsOfAThemeCount) {
  for (const int32_t colour : {0x12340B77, 0x00010B77, static_cast<int32_t>(0xFFFF0B77)}) {
    set_theme_color(colour);
    EXPECT_EQ(get_theme_color(), 0x0B77);
    EXPECT_THAT(entries(432, 463), ElementsAreArray(theme_table(0x0B77)));
  }
  set_theme_color(-1);
  EXPECT_EQ(get_theme_color(), 0xFFFF);
}

TEST(ColourTable, ThemeColourIsEntry432AsItStands) {
  set_theme_color(0x1357);
  gc[432] = 0xF800;
  EXPECT_EQ(get_theme_color(), 0xF800);
}

TEST(GradLine, IsTheShadingAsTabled) {
  struct {
    size_t first, last;
    int red, green, blue;
  } constexpr runs[] = {
      {0, 14, 7, 14, 7},   {15, 29, 7, 13, 7},  {30, 44, 6, 12, 6},  {45, 59, 6, 11, 6},
      {60, 74, 5, 10, 5},  {75, 81, 5, 9, 5},   {82, 104, 4, 8, 4},  {105, 119, 4, 7, 4},
      {120, 134, 3, 6, 3}, {135, 149, 3, 5, 3}, {150, 155, 2, 4, 2}, {156, 164, 2, 4, 1},
      {165, 179, 2, 3, 1}, {180, 181, 1, 2, 1}, {182, 194, 1, 2, 0}, {195, 207, 1, 1, 0},
  };
  std::vector<uint16_t> expected;
  for (const auto &run : runs) {
    ASSERT_EQ(expected.size(), run.first);
    expected.resize(run.last + 1, rgb(run.red, run.green, run.blue));
  }
  EXPECT_THAT(grad_line, ElementsAreArray(expected));
}

} // namespace
