// The words and quoted texts of a line.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace dravik::sim::scenario {

struct token {
  std::string text;
  size_t column;  ///< from 1, in characters of UTF-8
  bool is_quoted; ///< or a word
  size_t end = 0; ///< byte of the line after it
};

/// Why a file is not a scenario, and where.
struct problem {
  size_t line = 0;   ///< from 1; 0 for none
  size_t column = 0; ///< from 1
  std::string text;
};

/// Split a line up to its comment. Return false and set column and text of `error` on failure.
[[nodiscard]] bool split_line(std::string_view line, std::vector<token> &tokens, problem &error);

/// The column of a byte: bytes that continue a character of UTF-8 do not count.
[[nodiscard]] size_t column_of(std::string_view line, size_t byte) noexcept;

} // namespace dravik::sim::scenario
