// Untrusted texts, made safe for a terminal.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace dravik::sim {

/// Whether a character can control a terminal. Bytes of UTF-8 do not.
constexpr bool is_control(char character) noexcept {
  const auto code = static_cast<unsigned char>(character);
  return code < 0x20 || code == 0x7F;
}

/// Return a text with its control characters as \xNN; line ends are kept.
inline std::string printable(std::string_view text) {
  std::string shown;
  for (const char character : text) {
    char escaped[8];
    std::snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned char>(character));
    const bool is_shown = !is_control(character) || character == '\n';
    shown.append(is_shown ? std::string_view{&character, 1} : std::string_view{escaped});
  }
  return shown;
}

} // namespace dravik::sim
