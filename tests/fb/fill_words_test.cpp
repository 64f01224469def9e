// Fills by words, which only machines without wide registers use, on every machine.

#include "fb/fill_words.hpp"

#include <gtest/gtest.h>
#include <vector>

namespace dravik::fb {
namespace {

constexpr uint16_t ground = 0x1234, colour = 0xABCD;
constexpr size_t most_rows = 3, margin = 8;

struct block {
  size_t first; ///< pixels after an 8-byte boundary
  size_t pitch; ///< pixels
  size_t width, rows;
};

void PrintTo(const block &one, std::ostream *stream) {
  *stream << one.width << 'x' << one.rows << " from " << one.first << ", pitch " << one.pitch;
}

using screen_pixels = std::vector<uint16_t>;

screen_pixels filled_one_by_one(screen_pixels screen, const block &one) {
  for (size_t row = 0; row < one.rows; ++row)
    for (size_t i = 0; i < one.width; ++i)
      screen[margin + one.first + row * one.pitch + i] = colour;
  return screen;
}

/// Vectors of this size start on an 8-byte boundary, and the margin keeps it.
void fill_and_compare(const block &one) {
  const screen_pixels before(2 * margin + most_rows * one.pitch + one.width, ground);
  screen_pixels screen = before;
  ASSERT_EQ(reinterpret_cast<uintptr_t>(screen.data()) % 8, 0U);
  fill_block_by_words(&screen[margin + one.first], static_cast<ptrdiff_t>(one.pitch * 2), one.width, one.rows,
                      colour);
  EXPECT_EQ(screen, filled_one_by_one(before, one)) << testing::PrintToString(one);
}

TEST(FillWords, FillsEveryWidthAtEveryAlignment) {
  for (size_t first = 0; first < 4; ++first)
    for (size_t width = 0; width < 200; ++width)
      for (size_t rows = 0; rows <= most_rows; ++rows)
        for (const size_t pitch : {size_t{240}, size_t{241}, size_t{242}, size_t{243}})
          fill_and_compare({first, pitch, width, rows});
}

TEST(FillWords, FillsRowsUpwards) {
  screen_pixels screen(64, ground);
  fill_block_by_words(&screen[40], -2 * 20, 7, 2, colour);
  for (size_t i = 0; i < screen.size(); ++i)
    EXPECT_EQ(screen[i], (i >= 40 && i < 47) || (i >= 20 && i < 27) ? colour : ground) << i;
}

} // namespace
} // namespace dravik::fb
