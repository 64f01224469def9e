// Characters of UTF-8.
#pragma once

#include <cstdint>
#include <string_view>

namespace dravik::ctl {

struct utf8_character {
  std::string_view bytes; ///< empty when they are not UTF-8
  uint32_t code;
};

/// Remove the first character of a non-empty text, or a single byte if it is not UTF-8.
utf8_character take_character(std::string_view &text) noexcept;

} // namespace dravik::ctl
