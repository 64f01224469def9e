// The lines and codes of the ADC.

#include "board/adc_file.hpp"
#include "dravik.h"
#include "support/descriptors.hpp"
#include "support/emulation.hpp"
#include "support/hex_model.hpp"
#include "support/random.hpp"
#include "support/stderr_capture.hpp"

#include <array>
#include <climits>

namespace dravik::test {
namespace {

using four_codes = std::array<uint32_t, 4>;

/// The lines of a file as the library reads them: up to 30 characters each, with the line end.
std::array<std::string, 4> lines_of_text(std::string text) {
  std::array<std::string, 4> lines;
  for (std::string &line : lines) {
    const size_t end = text.find('\n');
    const size_t length = std::min(end == text.npos ? text.size() : end + 1, size_t{30});
    line = text.substr(0, length);
    text.erase(0, length);
  }
  return lines;
}

four_codes model_codes(const std::string &text) {
  four_codes codes = {};
  std::string value;
  const auto lines = lines_of_text(text);
  for (size_t i = 0; i < 4; ++i) {
    if (lines[i].size() >= 10 && lines[i].size() <= 12)
      value = lines[i].substr(9);
    codes[i] = hex_model(value) % 1024;
  }
  return codes;
}

four_codes checked_codes() {
  four_codes read = {9999, 9999, 9999, 9999};
  EXPECT_EQ(read_adc(read.data()), 0);
  return read;
}

std::string checked_line(int32_t channel) {
  std::array<char, 40> text;
  text.fill('#');
  EXPECT_EQ(read_adc_str(channel, text.data()), 0);
  for (size_t i = 31; i < text.size(); ++i)
    EXPECT_EQ(text[i], '#') << "more than 31 bytes";
  return text.data();
}

class AdcString : public adc_fixture {};
class AdcHex : public adc_fixture {};
class AdcCodes : public adc_fixture {};

TEST_F(AdcString, ReturnsWholeLineWithItsEnd) {
  write_adc("adc0 = 0x001\nadc1 = 0x2ff\nsomething else\nadc3 = 0x3");
  EXPECT_EQ(checked_line(0), "adc0 = 0x001\n");
  EXPECT_EQ(checked_line(1), "adc1 = 0x2ff\n");
  EXPECT_EQ(checked_line(2), "something else\n");
  EXPECT_EQ(checked_line(3), "adc3 = 0x3");
}

TEST_F(AdcString, UsesOnlyTwoLowBitsOfChannel) {
  write_adc("zero\none\ntwo\nthree\nfour\n");
  const std::pair<int32_t, const char *> cases[] = {
      {4, "zero\n"}, {5, "one\n"},   {7, "three\n"},      {-1, "three\n"},      {-2, "two\n"},
      {-3, "one\n"}, {-4, "zero\n"}, {INT_MIN, "zero\n"}, {INT_MAX, "three\n"}, {1 << 30, "zero\n"}};
  for (const auto &[channel, line] : cases)
    EXPECT_EQ(checked_line(channel), line) << channel;
}

TEST_F(AdcString, ReturnsAtMostThirtyCharacters) {
  write_adc(std::string(29, 'a') + "\n" + std::string(30, 'b') + "\nlast\n");
  EXPECT_EQ(checked_line(0), std::string(29, 'a') + "\n");
  EXPECT_EQ(checked_line(1), std::string(30, 'b'));
  EXPECT_EQ(checked_line(2), "\n");
  EXPECT_EQ(checked_line(3), "last\n");
}

TEST_F(AdcString, ReadsLongerLineInPieces) {
  write_adc(std::string(5000, 'x'));
  for (int32_t channel = 0; channel < 4; ++channel)
    EXPECT_EQ(checked_line(channel), std::string(30, 'x'));
}

TEST_F(AdcString, ReturnsEmptyTextForMissingLine) {
  write_adc("zero\none\n");
  EXPECT_EQ(checked_line(1), "one\n");
  EXPECT_EQ(checked_line(2), "");
  EXPECT_EQ(checked_line(3), "");
}

TEST_F(AdcString, LeavesDestinationIfFileIsMissing) {
  board_.remove(adc_file);
  stderr_capture said;
  char text[31] = "before";
  EXPECT_EQ(read_adc_str(0, text), -1);
  EXPECT_STREQ(text, "before");
  EXPECT_EQ(said.take(), adc_open_error);
}

TEST_F(AdcString, IsReadAtEachCallAndNeverWritten) {
  write_adc("before\n");
  EXPECT_EQ(checked_line(0), "before\n");
  EXPECT_EQ(board_.read(adc_file), "before\n");
  write_adc("after\n");
  EXPECT_EQ(checked_line(0), "after\n");
}

TEST_F(AdcString, ReportsNothingWhenAllIsWell) {
  stderr_capture said;
  checked_line(0);
  read_adc_hex(1);
  checked_codes();
  read_temperature();
  EXPECT_EQ(said.take(), "");
}

TEST_F(AdcHex, ConvertsLineEndToo) {
  write_adc("adc0 = 0x1ff\nadc1 = 0x200\n12345678\nadc3 = 0x1ff");
  EXPECT_EQ(read_adc_hex(0), 0x3FF); // the line end repeats the f
  EXPECT_EQ(read_adc_hex(1), 0x000);
  EXPECT_EQ(read_adc_hex(2), 0x388); // ...788, ten bits of it
  EXPECT_EQ(read_adc_hex(3), 0x1FF);
}

TEST_F(AdcHex, UsesOnlyTwoLowBitsOfChannel) {
  write_adc("0\n1\n2\n3\n");
  EXPECT_EQ(read_adc_hex(5), 0x11);
  EXPECT_EQ(read_adc_hex(-1), 0x33);
}

TEST_F(AdcHex, ReturnsZeroForEmptyLine) {
  write_adc("\n\n\n\n");
  EXPECT_EQ(read_adc_hex(2), 0);
}

TEST_F(AdcHex, FailsForMissingLine) {
  write_adc("1\n2\n");
  EXPECT_EQ(read_adc_hex(1), 0x22);
  EXPECT_EQ(read_adc_hex(2), -1);
}

TEST_F(AdcHex, TreatsLineThatStartsWithNulAsEmpty) {
  write_adc(std::string_view{"\0abc\n2\n", 7});
  EXPECT_EQ(read_adc_hex(0), -1);
  EXPECT_EQ(read_adc_hex(1), 0x22);
}

TEST_F(AdcHex, FailsForEmptyFile) {
  write_adc("");
  for (int32_t channel = 0; channel < 4; ++channel)
    EXPECT_EQ(read_adc_hex(channel), -1);
}

TEST_F(AdcHex, FailsForMissingFile) {
  board_.remove(adc_file);
  stderr_capture said;
  EXPECT_EQ(read_adc_hex(0), -1);
  EXPECT_EQ(said.take(), adc_open_error);
}

TEST_F(AdcCodes, ReadsOneToThreeCharactersFromTheTenth) {
  write_adc("adc0 = 0x\n"   // the line end alone: no digit before it
            "adc1 = 0x7\n"  // 7, line end
            "adc2 = 0x7f\n" // 7, f, line end
            "adc3 = 0x12");
  EXPECT_EQ(checked_codes(), (four_codes{0, 0x77, 0x3FF, 0x12}));
}

TEST_F(AdcCodes, ReadsLinesWithoutEnd) {
  for (const auto &[text, code] :
       {std::pair{"123456789a", 0xAU}, {"123456789ab", 0xABU}, {"123456789abc", 0x2BCU}}) {
    write_adc(text);
    EXPECT_EQ(checked_codes()[0], code) << text;
  }
}

TEST_F(AdcCodes, ReadsTwoDigitsOfElevenCharacters) {
  write_adc("adc0 = 0x7f");
  EXPECT_EQ(checked_codes()[0], 0x7FU);
}

TEST_F(AdcCodes, RepeatsPreviousValueForOtherLengths) {
  write_adc("adc0 = 0x12\nadc1 = 0x345\n\nadc3 = 0x6\n");
  EXPECT_EQ(checked_codes(), (four_codes{0x122, 0x122, 0x122, 0x66}));
}

TEST_F(AdcCodes, LeavesNoDigitsForShorterValue) {
  write_adc("adc0 = 0x12\nadc1 = 0x3\nadc2 = 0x");
  EXPECT_EQ(checked_codes(), (four_codes{0x122, 0x33, 0x33, 0x33}));
}

TEST_F(AdcCodes, ReturnsZeroForFirstLineOfOtherLength) {
  write_adc("adc0 = 0x345\nadc1 = 0x1\n");
  EXPECT_EQ(checked_codes(), (four_codes{0, 0x11, 0x11, 0x11}));
}

TEST_F(AdcCodes, RepeatsLastValueForMissingLines) {
  write_adc("adc0 = 0x45\n");
  EXPECT_EQ(checked_codes(), (four_codes{0x55, 0x55, 0x55, 0x55})); // 4, 5, 5: ten bits of 0x455
  write_adc("");
  EXPECT_EQ(checked_codes(), (four_codes{0, 0, 0, 0}));
}

TEST_F(AdcCodes, ReturnsTenBits) {
  write_adc("adc0 = 0xfff");
  EXPECT_EQ(checked_codes()[0], 0x3FFU);
  write_adc("adc0 = 0x400");
  EXPECT_EQ(checked_codes()[0], 0U);
}

TEST_F(AdcCodes, ReadsEveryLengthOfLine) {
  for (size_t length = 0; length <= 40; ++length)
    for (const char *end : {"\n", ""}) {
      const std::string line = std::string("123456789abcdef0123456789abcdef0123456789").substr(0, length);
      const std::string text = "adc0 = 0x5\n" + line + end;
      write_adc(text);
      EXPECT_EQ(checked_codes(), model_codes(text)) << length;
    }
}

TEST_F(AdcCodes, LeavesCodesIfFileIsMissing) {
  board_.remove(adc_file);
  stderr_capture said;
  four_codes read = {1, 2, 3, 4};
  EXPECT_EQ(read_adc(read.data()), -1);
  EXPECT_EQ(read, (four_codes{1, 2, 3, 4}));
  EXPECT_EQ(said.take(), adc_open_error);
}

TEST_F(AdcCodes, FailsIfFileMayNotBeOpened) {
  board_.set_fault("open", adc_file, "EACCES");
  stderr_capture said;
  four_codes read = {1, 2, 3, 4};
  EXPECT_EQ(read_adc(read.data()), -1);
  EXPECT_EQ(said.take(), adc_open_error);
}

TEST_F(AdcCodes, AgreesWithModelOfRandomFiles) {
  seeded_random random;
  for (int i = 0; i < rounds(300); ++i) {
    std::string text;
    for (int line = random.between(0, 5); line > 0; --line) {
      for (int left = random.one_in(8) ? random.between(0, 70) : random.between(7, 14); left > 0; --left)
        text += static_cast<char>(random.one_in(3) ? "0123456789abcdefABCDEFxg"[random.between(0, 23)]
                                                   : random.between(11, 255));
      if (line > 1 || random.one_in(2))
        text += '\n';
    }
    write_adc(text);
    ASSERT_EQ(checked_codes(), model_codes(text)) << text;
    for (int32_t channel = 0; channel < 4; ++channel) {
      const std::string line = lines_of_text(text)[static_cast<size_t>(channel)];
      ASSERT_EQ(checked_line(channel), line);
      ASSERT_EQ(read_adc_hex(channel), line.empty() ? -1 : static_cast<int32_t>(hex_model(line) % 1024));
    }
  }
}

TEST_F(AdcCodes, LeavesNoDescriptorOpen) {
  const size_t before = open_descriptors();
  checked_codes();
  checked_line(0);
  read_adc_hex(0);
  read_temperature();
  EXPECT_EQ(open_descriptors(), before);
}

} // namespace
} // namespace dravik::test
