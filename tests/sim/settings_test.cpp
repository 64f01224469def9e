// The board's text files, as users write them.

#include "board/screen.hpp"
#include "board/settings_text.hpp"
#include "host/board_directory.hpp"

#include <gtest/gtest.h>

namespace {

using namespace dravik::sim;

TEST(SimSettings, FindValuesAmongCommentsAndBlanks) {
  constexpr std::string_view text = "# xres=1\n\n  xres = 320 \r\nyres=\nodd line\n=5\nname=two words";
  EXPECT_EQ(value_of(text, "xres"), "320");
  EXPECT_EQ(value_of(text, "yres"), "");
  EXPECT_EQ(value_of(text, "odd line"), "");
  EXPECT_EQ(value_of(text, "name"), "two words");
  EXPECT_EQ(value_of(text, "absent"), "");
  EXPECT_EQ(value_of("", "xres"), "");
}

TEST(SimSettings, UseLastOfSeveralValues) {
  EXPECT_EQ(value_of("a=1\na=2\n", "a"), "2");
}

TEST(SimSettings, CompareWholeKeys) {
  EXPECT_EQ(value_of("xres_virtual=9\n", "xres"), "");
}

TEST(SimSettings, IgnoreInvalidNumbers) {
  for (const char *text : {"a=", "a=x", "a=12x", "a=-1", "a=4294967296", "a=0x10", "b=1"})
    EXPECT_EQ(number_of(text, "a", 77), 77U) << text;
  EXPECT_EQ(number_of("a=4294967295", "a", 77), 4294967295U);
  EXPECT_EQ(number_of("a=0", "a", 77), 0U);
}

TEST(SimSettings, SplitValueIntoWords) {
  std::string_view line = "open  /dev/fb0\tEIO";
  EXPECT_EQ(take_word(line), "open");
  EXPECT_EQ(take_word(line), "/dev/fb0");
  EXPECT_EQ(take_word(line), "EIO");
  EXPECT_EQ(take_word(line), "");
}

TEST(SimSettings, KeepOtherValuesAndComments) {
  EXPECT_EQ(with_setting("# screen\nxres=1\nyres=2\n", "xres", "8"), "# screen\nyres=2\nxres=8\n");
  EXPECT_EQ(with_setting("a=1", "b", "2"), "a=1\nb=2\n");
  EXPECT_EQ(with_setting("", "b", "2"), "b=2\n");
}

TEST(SimScreen, DerivesMissingSizes) {
  const screen plain = read_screen("");
  EXPECT_EQ(plain.xres_virtual, 640U);
  EXPECT_EQ(plain.line_length, 1280U);
  const screen wide = read_screen("xres=100\nyres=50\nxres_virtual=200\nbits_per_pixel=24\n");
  EXPECT_EQ(wide.yres_virtual, 50U);
  EXPECT_EQ(wide.line_length, 600U);
  EXPECT_EQ(wide.memory_bytes(), 30000U);
}

TEST(SimScreen, ReadsInvalidSizesUnchanged) {
  const screen nonsense = read_screen("xres=0\nyres_virtual=1\nline_length=3\n");
  EXPECT_EQ(nonsense.xres, 0U);
  EXPECT_EQ(nonsense.yres_virtual, 1U);
  EXPECT_EQ(nonsense.line_length, 3U);
  EXPECT_NE(nonsense.nonsense(), nullptr);
}

TEST(SimScreen, AcceptsLargestScreen) {
  EXPECT_EQ(screen::of_size(16384, 16384, 32).nonsense(), nullptr);
  EXPECT_NE(screen::of_size(16385, 1).nonsense(), nullptr);
  EXPECT_EQ(screen::of_size(1, 1).nonsense(), nullptr);
}

} // namespace
