// Which ramp a pair of colours selects, against the tables that define it row by row.

#include "fb/ramps.hpp"
#include "support/random.hpp"

#include <gtest/gtest.h>
#include <initializer_list>

namespace dravik::test {
namespace {

using colours = std::initializer_list<uint16_t>;

constexpr int any_other = -1;

struct ramp_row {
  int bg, fg, ramp;
};

constexpr ramp_row artwork_rows[] = {
    {0x0821, 0xF800, 0},    {0x0821, 0x07E0, 1},     {0x0821, 0x001F, 2},  {0x0821, 0x7BEF, 4},
    {0x0821, 0xFFE0, 5},    {0x0821, 0xF81F, 6},     {0x0821, 0x07FF, 7},  {0x0821, 0xFBC0, 8},
    {0x0821, any_other, 3}, {0xFFFF, 0xF800, 9},     {0xFFFF, 0x07E0, 10}, {0xFFFF, 0x001F, 11},
    {0xFFFF, 0x7BEF, 13},   {0xFFFF, 0xFFE0, 14},    {0xFFFF, 0xF81F, 15}, {0xFFFF, 0x07FF, 16},
    {0xFFFF, 0xFBC0, 17},   {0xFFFF, any_other, 12}, {0xF81F, 0x0821, 21}, {0xF81F, any_other, 3},
    {0x1234, 0xFFFF, 27},   {0x1234, any_other, 28}, {0x0000, 0x0821, 12}, {0x0000, 0x7BEF, 4},
    {0x0000, any_other, 3},
};
constexpr int other_artwork = 3;

constexpr ramp_row text_rows[] = {
    {0xFFFF, 0xF800, 9},     {0xFFFF, 0x07E0, 10},   {0xFFFF, 0x001F, 11},    {0xFFFF, 0x7BEF, 13},
    {0xFFFF, 0xFFE0, 14},    {0xFFFF, 0xF81F, 15},   {0xFFFF, 0x07FF, 16},    {0xFFFF, 0xFBC0, 17},
    {0xFFFF, any_other, 12}, {0x0821, 0xF800, 0},    {0x0821, 0x07E0, 1},     {0x0821, 0x001F, 2},
    {0x0821, 0x7BEF, 4},     {0x0821, 0xFFE0, 5},    {0x0821, 0xF81F, 6},     {0x0821, 0x07FF, 7},
    {0x0821, 0xFBC0, 8},     {0x0821, any_other, 3}, {0xF81F, 0xF800, 18},    {0xF81F, 0x07E0, 19},
    {0xF81F, 0x001F, 20},    {0xF81F, 0xFFFF, 22},   {0xF81F, 0x7BEF, 23},    {0xF81F, 0xFFE0, 24},
    {0xF81F, 0x07FF, 25},    {0xF81F, 0xFBC0, 26},   {0xF81F, any_other, 21}, {0x1234, 0x0821, 28},
    {0x1234, any_other, 27},
};
constexpr int other_text = 12;

int ramp_of(std::span<const ramp_row> rows, int otherwise, uint16_t bg, uint16_t fg) {
  for (const ramp_row &row : rows)
    if (row.bg == bg && (row.fg == fg || row.fg == any_other))
      return row.ramp;
  return otherwise;
}

/// How many of the two ramps that a pair of colours selects are wrong.
size_t wrong_ramps(uint16_t bg, uint16_t fg) {
  return size_t{fb::artwork_ramp(bg, fg) != ramp_of(artwork_rows, other_artwork, bg, fg)} +
         size_t{fb::text_ramp(bg, fg) != ramp_of(text_rows, other_text, bg, fg)};
}

/// The same of every foreground on one background.
size_t wrong_ramps_on(uint16_t bg) {
  size_t wrong = 0;
  for (uint32_t fg = 0; fg <= 0xFFFF; ++fg)
    wrong += wrong_ramps(bg, static_cast<uint16_t>(fg));
  return wrong;
}

TEST(Ramps, SelectsByTheTablesOnEveryBackgroundThatTheyList) {
  for (const uint16_t bg : colours{0x0000, 0x0821, 0xFFFF, 0xF81F, 0x1234})
    EXPECT_EQ(wrong_ramps_on(bg), 0U) << bg;
}

TEST(Ramps, SelectsByTheTablesOnOtherBackgrounds) {
  for (const uint16_t bg :
       colours{0xF800, 0x07E0, 0x001F, 0x7BEF, 0xFFE0, 0x07FF, 0xFBC0, 0x0820, 0x0822, 0xFFFE, 0x0001})
    EXPECT_EQ(wrong_ramps_on(bg), 0U) << bg;
  seeded_random random;
  for (int round = 0; round < 20; ++round) {
    const uint16_t bg = random.colour();
    EXPECT_EQ(wrong_ramps_on(bg), 0U) << bg;
  }
}

TEST(Ramps, SelectsByTheTablesForEveryForegroundOfThemOnEveryBackground) {
  for (const uint16_t fg : colours{0x0000, 0x0821, 0xFFFF, 0xF800, 0x07E0, 0x001F, 0x7BEF, 0xFFE0, 0xF81F,
                                   0x07FF, 0xFBC0, 0x1234}) {
    size_t wrong = 0;
    for (uint32_t bg = 0; bg <= 0xFFFF; ++bg)
      wrong += wrong_ramps(static_cast<uint16_t>(bg), fg);
    EXPECT_EQ(wrong, 0U) << fg;
  }
}

} // namespace
} // namespace dravik::test
