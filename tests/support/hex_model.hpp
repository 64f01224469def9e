// Hexadecimal text as the library reads it, worked out another way.
#pragma once

#include <cstdint>
#include <string>

namespace dravik::test {

/// Each place looks back for the nearest digit; the last eight places count.
inline uint32_t hex_model(const std::string &text) {
  uint64_t number = 0;
  for (size_t end = 1; end <= text.size(); ++end) {
    const size_t found = text.find_last_of("0123456789abcdefABCDEF", end - 1);
    const uint64_t digit = found == text.npos ? 0 : std::stoull(text.substr(found, 1), nullptr, 16);
    number = (number * 16 + digit) % (uint64_t{1} << 32);
  }
  return static_cast<uint32_t>(number);
}

} // namespace dravik::test
