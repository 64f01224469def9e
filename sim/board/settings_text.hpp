// Text files of a board: `key=value` lines, and lines of words. Lines that begin with # are comments.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string_view>

namespace dravik::sim {

constexpr std::string_view blanks = " \t\r";

constexpr std::string_view trimmed(std::string_view text) noexcept {
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  text.remove_suffix(text.size() - (text.find_last_not_of(blanks) + 1));
  return text;
}

/// Remove the text up to `separator`, or all of it, from the front, and return it.
constexpr std::string_view take_until(std::string_view &text, char separator) noexcept {
  const std::string_view taken{text.data(), std::min(text.find(separator), text.size())};
  text.remove_prefix(std::min(taken.size() + 1, text.size()));
  return taken;
}

/// Remove the next line that is neither empty nor a comment from the front, and
/// return it trimmed; empty at the end.
constexpr std::string_view take_line(std::string_view &text) noexcept {
  while (!text.empty()) {
    const std::string_view line = trimmed(take_until(text, '\n'));
    if (!line.empty() && line.front() != '#')
      return line;
  }
  return {};
}

/// Remove the next word from the front of a line, and return it.
constexpr std::string_view take_word(std::string_view &line) noexcept {
  line = trimmed(line);
  const std::string_view word{line.data(), std::min(line.find_first_of(blanks), line.size())};
  line.remove_prefix(word.size());
  return word;
}

/// Return the value of a key, the last of several; empty if there is none.
constexpr std::string_view value_of(std::string_view text, std::string_view key) noexcept {
  std::string_view value;
  while (true) {
    std::string_view line = take_line(text);
    if (line.empty())
      return value;
    if (trimmed(take_until(line, '=')) == key)
      value = trimmed(line);
  }
}

/// Parse a text that consists of one number; with a base for integers.
template <typename Number, typename... Base>
bool read_number(std::string_view text, Number &number, Base... base) noexcept {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base...);
  return error == std::errc{} && end == text.data() + text.size();
}

/// Return the value of a key as a decimal number, or `otherwise` if it is not a number.
inline uint32_t number_of(std::string_view text, std::string_view key, uint32_t otherwise) noexcept {
  uint32_t number = 0;
  return read_number(value_of(text, key), number) ? number : otherwise;
}

} // namespace dravik::sim
