// Hexadecimal text as numbers, odd texts included.

#include "dravik.h"
#include "support/emulation.hpp"
#include "support/hex_model.hpp"
#include "support/random.hpp"

#include <gtest/gtest.h>

namespace dravik::test {
namespace {

struct text_case {
  const char *text;
  uint32_t number;
};

void expect_all(std::initializer_list<text_case> cases) {
  for (const text_case &one : cases)
    EXPECT_EQ(atohex(one.text), one.number) << '"' << one.text << '"';
}

TEST(Atohex, ConvertsDigits) {
  expect_all({{"0", 0},
              {"7", 7},
              {"9", 9},
              {"a", 10},
              {"F", 15},
              {"ff", 255},
              {"FF", 255},
              {"fF", 255},
              {"0123", 0x123},
              {"89abcdef", 0x89ABCDEF},
              {"89ABCDEF", 0x89ABCDEF}});
}

TEST(Atohex, ReturnsZeroForEmptyText) {
  EXPECT_EQ(atohex(""), 0U);
}

TEST(Atohex, RepeatsDigitForOtherCharacter) {
  expect_all({{"1g", 0x11}, {"12 3", 0x1223}, {"f--", 0xFFF}, {"3f\n", 0x3FF}, {"a\xE9", 0xAA}});
}

TEST(Atohex, StartsWithZeroForOtherCharacter) {
  expect_all({{"g1", 1}, {"g", 0}, {"  5", 5}, {"-1", 1}, {"+f", 15}, {"xyz", 0}});
}

TEST(Atohex, ReadsPrefixAsTwoZeros) {
  expect_all({{"0x10", 0x10}, {"0x1F", 0x1F}, {"0X1f", 0x1F}, {"0x", 0}, {"0x12345678", 0x12345678}});
}

TEST(Atohex, UsesLastEightDigits) {
  expect_all(
      {{"123456789", 0x23456789}, {"ffffffff0", 0xFFFFFFF0}, {"f00000000", 0}, {"1zzzzzzzz", 0x11111111}});
}

TEST(Atohex, RejectsNeighboursOfDigits) {
  expect_all({{"5/", 0x55}, {"5:", 0x55}, {"5@", 0x55}, {"5G", 0x55}, {"5`", 0x55}, {"5g", 0x55}});
}

TEST(Atohex, AgreesWithModelOfRandomTexts) {
  seeded_random random;
  for (int i = 0; i < rounds(20000); ++i) {
    std::string text(static_cast<size_t>(random.between(0, 24)), ' ');
    const bool mostly_digits = random.one_in(2);
    for (char &c : text)
      c = mostly_digits && !random.one_in(5) ? "0123456789abcdefABCDEF"[random.between(0, 21)]
                                             : static_cast<char>(random.between(1, 255));
    ASSERT_EQ(atohex(text.c_str()), hex_model(text)) << '"' << text << '"';
  }
}

} // namespace
} // namespace dravik::test
