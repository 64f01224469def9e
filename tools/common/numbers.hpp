// Numbers as command-line arguments.
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace dravik::tools {

/// A whole decimal number without a sign, from `least` to `most`.
inline std::optional<uint32_t> number_of(std::string_view text, uint32_t least = 0,
                                         uint32_t most = UINT32_MAX) noexcept {
  uint32_t value = 0;
  const char *const end = text.data() + text.size();
  const auto [stop, status] = std::from_chars(text.data(), end, value);
  if (status != std::errc{} || stop != end || value < least || value > most)
    return {};
  return value;
}

} // namespace dravik::tools
