// The units of a string that are used, the selected font, and the widening of byte strings.

#include "text/truetype_stage.hpp"

#include <cstring>

namespace dravik::test {
namespace {

std::u16string of_length(size_t count) {
  std::u16string text;
  for (size_t i = 0; i < count; ++i)
    text += static_cast<char16_t>(u'!' + i % 90);
  return text;
}

TEST(TrueTypeString, EndsAtLineFeed) {
  text_stage stage;
  ASSERT_TRUE(stage.draws({.text = u"Line\nnext", .font = sans}));
  EXPECT_EQ(unicode_len, 4);
  EXPECT_EQ(unicode[8], 0);
  EXPECT_EQ(unicode[9], 0);
}

TEST(TrueTypeString, IsEmptyIfLineFeedIsFirst) {
  text_stage stage;
  EXPECT_TRUE(stage.draws_nothing({.text = u"\nnext", .font = sans}));
  EXPECT_EQ(unicode_len, 0);
}

TEST(TrueTypeString, EndsAtNul) {
  text_stage stage;
  ASSERT_TRUE(stage.draws({.text = std::u16string(u"Ab\0cd", 5), .font = sans}));
  EXPECT_EQ(unicode_len, 2);
}

TEST(TrueTypeString, ContinuesAtUnitsWithLowByte0Or10) {
  text_stage stage;
  EXPECT_TRUE(stage.draws({.text = u"\u0400\u040A\u0100\u010A.", .font = dejavu}));
  EXPECT_EQ(unicode_len, 5);
}

TEST(TrueTypeString, HasAtMost128Units) {
  text_stage stage;
  for (const size_t count : {126, 127, 128, 129, 130, 300}) {
    ASSERT_TRUE(stage.draws({.text = of_length(count), .font_size = 6, .font = sans})) << count;
    EXPECT_EQ(unicode_len, static_cast<int32_t>(std::min<size_t>(count, 128)));
  }
}

TEST(TrueTypeString, EndsBeforeReadingUnit129) {
  bytes units = little_endian(of_length(128));
  units.resize(256); // nothing ends it
  text_stage stage;
  EXPECT_TRUE(stage.agree_at(page_end(units).data(), {.text = of_length(128), .font_size = 6, .font = sans}));
  EXPECT_EQ(unicode_len, 128);
}

TEST(TrueTypeString, MayBeginAtAnyAddress) {
  text_stage stage;
  const text_call call = {.text = u"Unaligned Ж", .font = sans};
  for (size_t offset = 0; offset < 4; ++offset) {
    bytes memory(offset, 0xFF);
    append(memory, little_endian(call.text));
    EXPECT_TRUE(stage.agree_at(memory.data() + offset, call)) << offset;
    EXPECT_GT(stage.model().pixels, 0);
  }
}

TEST(TrueTypeString, ReplacesLongerString) {
  text_stage stage;
  ASSERT_TRUE(stage.draws({.text = u"A long one, wide", .font = sans}));
  const int32_t long_width = str_width;
  ASSERT_TRUE(stage.draws({.text = u"short", .font = sans}));
  EXPECT_LT(str_width, long_width);
  EXPECT_EQ(unicode_len, 5);
}

TEST(TrueTypeFonts, AreTheOnesOfTheCameraUntilPointedElsewhere) {
  EXPECT_STREQ(ttf_font_file[0], "/usr/local/dravik/font/arial.ttf");
  EXPECT_STREQ(ttf_font_file[1], "/usr/local/dravik/font/DroidSansFallback.ttf");
}

TEST(TrueTypeFonts, UseOnlyBit0OfNumber) {
  text_stage stage;
  ttf_font_file[0] = sans.c_str();
  ttf_font_file[1] = dejavu.c_str();
  const bytes text = little_endian(u"Wim");
  const auto width_in = [&](uint32_t font) {
    put_unicode_string(10, 10, text.data(), 40, font, DRAVIK_BLACK, DRAVIK_WHITE, 0);
    return str_width;
  };
  const int32_t first = width_in(0), second = width_in(1);
  EXPECT_NE(first, second);
  EXPECT_EQ(width_in(2), first);
  EXPECT_EQ(width_in(3), second);
  EXPECT_EQ(width_in(0x80000000), first);
  EXPECT_EQ(width_in(0xFFFFFFFF), second);
  text_stage other;
  ASSERT_TRUE(other.draws({.text = u"Wim", .font_size = 40, .font = dejavu}));
  EXPECT_EQ(str_width, second);
}

TEST(AsciiToUnicodeString, ReturnsEachByteAUnit) {
  uint8_t made[10];
  std::memset(made, 0xEE, sizeof made);
  EXPECT_EQ(ascii_to_unicode_string("Ab1", made), 3);
  const uint8_t expected[] = {'A', 0, 'b', 0, '1', 0, 0, 0, 0xEE, 0xEE};
  EXPECT_EQ(std::memcmp(made, expected, sizeof made), 0);
}

TEST(AsciiToUnicodeString, KeepsBytesAbove127) {
  uint8_t made[8];
  std::memset(made, 0xEE, sizeof made);
  EXPECT_EQ(ascii_to_unicode_string("\x80\xFF", made), 2);
  const uint8_t expected[] = {0x80, 0, 0xFF, 0, 0, 0, 0xEE, 0xEE};
  EXPECT_EQ(std::memcmp(made, expected, sizeof made), 0);
}

TEST(AsciiToUnicodeString, KeepsControlBytes) {
  uint8_t made[6];
  EXPECT_EQ(ascii_to_unicode_string("\n\x01", made), 2);
  const uint8_t expected[] = {10, 0, 1, 0, 0, 0};
  EXPECT_EQ(std::memcmp(made, expected, sizeof made), 0);
}

TEST(AsciiToUnicodeString, StoresOnlyEndForEmptyText) {
  uint8_t made[4];
  std::memset(made, 0xEE, sizeof made);
  EXPECT_EQ(ascii_to_unicode_string("", made), 0);
  const uint8_t expected[] = {0, 0, 0xEE, 0xEE};
  EXPECT_EQ(std::memcmp(made, expected, sizeof made), 0);
}

TEST(AsciiToUnicodeString, MayWriteAtAnyAddress) {
  alignas(4) uint8_t made[12];
  std::memset(made, 0xEE, sizeof made);
  EXPECT_EQ(ascii_to_unicode_string("xyz", made + 1), 3);
  const uint8_t expected[] = {0xEE, 'x', 0, 'y', 0, 'z', 0, 0, 0, 0xEE, 0xEE, 0xEE};
  EXPECT_EQ(std::memcmp(made, expected, sizeof made), 0);
}

TEST(AsciiToUnicodeString, MayBeLongerThanALineOfText) {
  const std::string text(1000, 'w');
  std::vector<uint8_t> made(2002, 0xEE);
  EXPECT_EQ(ascii_to_unicode_string(text.c_str(), made.data()), 1000);
  EXPECT_EQ(made[1998], 'w');
  EXPECT_EQ(made[2000], 0);
  EXPECT_EQ(made[2001], 0);
}

TEST(AsciiToUnicodeString, ConvertsTextForDrawing) {
  text_stage stage;
  uint8_t made[24];
  ASSERT_EQ(ascii_to_unicode_string("caf\xE9 100%", made), 9);
  EXPECT_TRUE(stage.agree_at(made, {.text = u"café 100%", .font = sans}));
  EXPECT_GT(stage.model().pixels, 0);
}

} // namespace
} // namespace dravik::test
