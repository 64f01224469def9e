// Which ramp a pair of colours selects, against the tables that define it row by row.

#include "fb/ramps.hpp"
#include "support/emulation.hpp"
#include "support/ramp_rows.hpp"
#include "support/random.hpp"

#include <gtest/gtest.h>
#include <initializer_list>

namespace dravik::test {
namespace {

using colours = std::initializer_list<uint16_t>;

/// How many of the two ramps that a pair of colours selects are wrong.
size_t wrong_ramps(uint16_t bg, uint16_t fg) {
  return size_t{fb::artwork_ramp(bg, fg) != artwork_ramp(bg, fg)} +
         size_t{fb::text_ramp(bg, fg) != text_ramp(bg, fg)};
}

/// The same of every foreground on one background.
size_t wrong_ramps_on(uint16_t bg) {
  size_t wrong = 0;
  for (uint32_t fg = 0; fg <= 0xFFFF; fg += stride<uint32_t>())
    wrong += wrong_ramps(bg, static_cast<uint16_t>(fg));
  return wrong;
}

TEST(Ramps, SelectsByTheTablesOnEveryBackgroundThatTheyList) {
  for (const uint16_t bg :
       colours{DRAVIK_TRANSPARENT, DRAVIK_BLACK, DRAVIK_WHITE, DRAVIK_MAGENTA, DRAVIK_THEME})
    EXPECT_EQ(wrong_ramps_on(bg), 0U) << bg;
}

TEST(Ramps, SelectsByTheTablesOnOtherBackgrounds) {
  for (const uint16_t bg : colours{DRAVIK_RED, DRAVIK_GREEN, DRAVIK_BLUE, DRAVIK_GREY, DRAVIK_YELLOW,
                                   DRAVIK_CYAN, DRAVIK_ORANGE, 0x0820, 0x0822, 0xFFFE, 0x0001})
    EXPECT_EQ(wrong_ramps_on(bg), 0U) << bg;
  seeded_random random;
  for (int round = 0; round < rounds(20); ++round) {
    const uint16_t bg = random.colour();
    EXPECT_EQ(wrong_ramps_on(bg), 0U) << bg;
  }
}

TEST(Ramps, SelectsByTheTablesForEveryForegroundOfThemOnEveryBackground) {
  for (const uint16_t fg :
       colours{DRAVIK_TRANSPARENT, DRAVIK_BLACK, DRAVIK_WHITE, DRAVIK_RED, DRAVIK_GREEN, DRAVIK_BLUE,
               DRAVIK_GREY, DRAVIK_YELLOW, DRAVIK_MAGENTA, DRAVIK_CYAN, DRAVIK_ORANGE, DRAVIK_THEME}) {
    size_t wrong = 0;
    for (uint32_t bg = 0; bg <= 0xFFFF; bg += stride<uint32_t>())
      wrong += wrong_ramps(static_cast<uint16_t>(bg), fg);
    EXPECT_EQ(wrong, 0U) << fg;
  }
}

} // namespace
} // namespace dravik::test
