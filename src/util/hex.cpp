// Hexadecimal text as numbers.

#include "dravik.h"

#include <array>

namespace dravik::util {
namespace {

constexpr uint8_t no_digit = 0xFF;

/// Value of each character.
constexpr std::array<uint8_t, 256> digits = [] {
  std::array<uint8_t, 256> made;
  made.fill(no_digit);
  for (uint8_t value = 0; value < 10; ++value)
    made['0' + value] = value;
  for (uint8_t value = 10; value < 16; ++value)
    made['a' + value - 10] = made['A' + value - 10] = value;
  return made;
}();

} // namespace
} // namespace dravik::util

extern "C" {

using namespace dravik::util;

uint32_t atohex(const char *text) noexcept {
  uint32_t value = 0;
  uint32_t digit = 0;
  for (; *text != '\0'; ++text) {
    // Intentional: any other character is treated as a digit equal to the one before it.
    const uint8_t next = digits[static_cast<uint8_t>(*text)];
    digit = next != no_digit ? next : digit;
    value = (value << 4) + digit;
  }
  return value;
}

} // extern "C"
