// The colour table, against a table of its own.

#include "dravik.h"
#include "support/colour_ramps.hpp"
#include "support/emulation.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <vector>

namespace dravik::test {
namespace {

using testing::Each;
using testing::ElementsAreArray;

std::vector<uint16_t> steps_of(int first_ramp, int last_ramp, uint16_t theme) {
  std::vector<uint16_t> table;
  for (int ramp = first_ramp; ramp <= last_ramp; ++ramp)
    for (int i = 0; i < DRAVIK_RAMP_STEPS; ++i)
      table.push_back(ramp_step(ramp, i, theme));
  return table;
}

std::vector<uint16_t> fixed_table() {
  return steps_of(0, DRAVIK_THEME_TO_WHITE - 1, 0);
}

std::vector<uint16_t> theme_table(uint16_t theme) {
  return steps_of(DRAVIK_THEME_TO_WHITE, DRAVIK_THEME_TO_BLACK, theme);
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

TEST(ColourTable, HasFixedRampsOfTable) {
  set_theme_color(0x1357);
  EXPECT_THAT(entries(0, 431), ElementsAreArray(fixed_table()));
}

TEST(ColourTable, StartsTwoRampsWithBlack) {
  set_theme_color(0);
  std::vector<size_t> ramps;
  for (size_t ramp = 0; ramp < 27; ++ramp)
    if (gc[ramp * 16] == 0x0821)
      ramps.push_back(ramp);
  EXPECT_THAT(ramps, ElementsAreArray({3, 6}));
  EXPECT_EQ(gc[0], 0x0800);          // red 1: not quite its background
  EXPECT_EQ(gc[3 * 16 + 1], 0x1082); // 2, 4, 2
}

TEST(ColourTable, WritesFixedRampsOnEveryBuild) {
  set_theme_color(0x1357);
  std::ranges::fill(gc, uint16_t{0xDEAD});
  set_theme_color(0x1357);
  EXPECT_THAT(entries(0, 431), ElementsAreArray(fixed_table()));
  EXPECT_THAT(entries(432, 463), ElementsAreArray(theme_table(0x1357)));
}

TEST(ColourTable, BuildsThemeRampsOfEveryColour) {
  for (int32_t theme = 0; theme <= 0xFFFF; theme += stride()) {
    set_theme_color(theme);
    ASSERT_TRUE(std::ranges::equal(entries(432, 463), theme_table(static_cast<uint16_t>(theme)))) << theme;
    ASSERT_EQ(get_theme_color(), theme);
  }
}

TEST(ColourTable, BuildsRampsOfWhiteTheme) {
  set_theme_color(0xFFFF);
  EXPECT_THAT(entries(432, 447), Each(0xFFFF));
  EXPECT_EQ(gc[448], 0xFFFF);
  EXPECT_EQ(gc[449], 0xEF7D); // 31 - 2, 63 - 4, 31 - 2
  EXPECT_EQ(gc[463], 0x0000);
}

TEST(ColourTable, BuildsRampsOfBlackTheme) {
  set_theme_color(0x0000);
  EXPECT_EQ(gc[DRAVIK_THEME_TO_WHITE * DRAVIK_RAMP_STEPS], 0x0000);
  EXPECT_EQ(gc[447], 0xFFFF);
  EXPECT_THAT(entries(448, 463), Each(0x0000));
}

TEST(ColourTable, TruncatesFirstStepOfDefaultTheme) {
  set_theme_color(DRAVIK_DEFAULT_THEME); // 1, 27, 23
  EXPECT_EQ(gc[433], 0x1BB7);            // 1 + 30/15, 27 + 36/15, 23 + 8/15
  EXPECT_EQ(gc[449], 0x0B56);            // 1 - 1/15, 27 - 27/15, 23 - 23/15
}

TEST(ColourTable, UsesOnlySixteenLowBitsOfTheme) {
  for (const int32_t colour : {0x12340B77, 0x00010B77, static_cast<int32_t>(0xFFFF0B77)}) {
    set_theme_color(colour);
    EXPECT_EQ(get_theme_color(), DRAVIK_DEFAULT_THEME);
    EXPECT_THAT(entries(432, 463), ElementsAreArray(theme_table(DRAVIK_DEFAULT_THEME)));
  }
  set_theme_color(-1);
  EXPECT_EQ(get_theme_color(), 0xFFFF);
}

TEST(ColourTable, ReturnsThemeFromTable) {
  set_theme_color(0x1357);
  gc[DRAVIK_THEME_TO_WHITE * DRAVIK_RAMP_STEPS] = 0xF800;
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
    expected.resize(run.last + 1, rgb565(run.red, run.green, run.blue));
  }
  EXPECT_THAT(grad_line, ElementsAreArray(expected));
}

} // namespace
} // namespace dravik::test
