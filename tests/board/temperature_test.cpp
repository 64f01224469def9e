// The thermistor's curve, and the temperature of every code.

#include "board/adc_file.hpp"
#include "dravik.h"
#include "support/bytes.hpp"
#include "support/stderr_capture.hpp"

#include <algorithm>
#include <zlib.h>

namespace dravik::test {
namespace {

constexpr size_t entries = DRAVIK_ADC_TEMP_CODES;
constexpr uint32_t first_code = DRAVIK_ADC_TEMP_FIRST_CODE;

TEST(TemperatureTable, HasAnEntryForEachCodeOfTheCurve) {
  EXPECT_EQ(sizeof adc_temp_table, entries * 4);
}

TEST(TemperatureTable, FallsStrictlyWithinTheRangeOfSteps) {
  int32_t smallest = 1000, largest = 0;
  for (size_t i = 1; i < entries; ++i) {
    const int32_t fall = adc_temp_table[i - 1] - adc_temp_table[i];
    smallest = std::min(smallest, fall);
    largest = std::max(largest, fall);
  }
  EXPECT_EQ(smallest, 97);
  EXPECT_EQ(largest, 742);
}

TEST(TemperatureTable, HasKnownPoints) {
  const std::pair<uint32_t, int32_t> points[] = {{64, 116593}, {79, 106855}, {80, 106257}, {128, 85554},
                                                 {256, 56392}, {300, 49648}, {448, 31602}, {512, 24950},
                                                 {639, 12379}, {640, 12280}, {700, 6244},  {751, 846},
                                                 {758, 76},    {759, -34},   {767, -926}};
  for (const auto &[code, temperature] : points)
    EXPECT_EQ(adc_temp_table[code - first_code], temperature) << code;
}

TEST(TemperatureTable, HasSumsOfMakersTable) {
  int64_t sum = 0, weighted_sum = 0;
  bytes words(entries * 4);
  for (size_t i = 0; i < entries; ++i) {
    sum += adc_temp_table[i];
    weighted_sum += static_cast<int64_t>(i + 1) * adc_temp_table[i];
    put_u32(words, i * 4, static_cast<uint32_t>(adc_temp_table[i]));
  }
  EXPECT_EQ(sum, 28467381);
  EXPECT_EQ(weighted_sum, 6030549955);
  EXPECT_EQ(::crc32_z(0, words.data(), words.size()), 0x3A443A17U);
}

class Temperature : public adc_fixture {
protected:
  int32_t of_lines(std::string_view text) const {
    write_adc(text);
    return read_temperature();
  }

  int32_t of_value(const std::string &value) const {
    return of_lines("adc0 = 0x3ff\nadc1 = 0x" + value + "\n");
  }

  int32_t of_code(uint32_t code) const {
    char digits[8];
    std::snprintf(digits, sizeof digits, "%03x", code);
    return of_value(digits);
  }
};

TEST_F(Temperature, ConvertsEveryCode) {
  for (uint32_t code = 0; code < 1024; ++code) {
    const int32_t expected = code <= 63    ? DRAVIK_TEMPERATURE_MAX
                             : code >= 768 ? DRAVIK_TEMPERATURE_MIN
                                           : adc_temp_table[code - first_code];
    EXPECT_EQ(of_code(code), expected) << code;
  }
}

TEST_F(Temperature, EndsOfTheCurve) {
  EXPECT_EQ(of_code(63), DRAVIK_TEMPERATURE_MAX);
  EXPECT_EQ(of_code(64), 116593);
  EXPECT_EQ(of_code(767), -926);
  EXPECT_EQ(of_code(768), DRAVIK_TEMPERATURE_MIN);
}

TEST_F(Temperature, ConvertsCodesAroundFreezingPoint) {
  EXPECT_EQ(of_code(758), 76);
  EXPECT_EQ(of_code(759), -34);
}

TEST_F(Temperature, AcceptsUpperCaseDigits) {
  EXPECT_EQ(of_value("2AB"), adc_temp_table[0x2AB - first_code]);
}

TEST_F(Temperature, UsesOnlyTenBits) {
  EXPECT_EQ(of_value("e00"), 24950);
}

TEST_F(Temperature, ReadsThreeCharactersOfAnyLine) {
  EXPECT_EQ(of_value("2000"), 24950);
  EXPECT_EQ(of_value("200 and more"), 24950);
  EXPECT_EQ(of_value("20"), 24950);                            // 2, 0, line end
  EXPECT_EQ(of_value("5"), adc_temp_table[0x55 - first_code]); // 5, line end
}

TEST_F(Temperature, ReturnsMaximumForLineWithoutValue) {
  EXPECT_EQ(of_lines("adc0 = 0x200\nadc1\n"), DRAVIK_TEMPERATURE_MAX);
  EXPECT_EQ(of_lines("adc0 = 0x200\n\n"), DRAVIK_TEMPERATURE_MAX);
  EXPECT_EQ(of_lines("adc0 = 0x200\n"), DRAVIK_TEMPERATURE_MAX);
  EXPECT_EQ(of_lines(""), DRAVIK_TEMPERATURE_MAX);
}

TEST_F(Temperature, ReadsRestOfLongFirstLineAsSecond) {
  EXPECT_EQ(of_lines(std::string(30, 'x') + "123456789200\nadc1 = 0x100\n"), 24950);
}

TEST_F(Temperature, FailsIfFileIsMissing) {
  board_.remove(adc_file);
  stderr_capture said;
  EXPECT_EQ(read_temperature(), -1);
  EXPECT_EQ(said.take(), adc_open_error);
}

} // namespace
} // namespace dravik::test
