// Names and numbers of colours.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace dravik::tools {

/// A plain colour: a name, 0x and up to four hexadecimal digits of RGB565, or # and six of RGB.
std::optional<uint16_t> colour_named(std::string_view text) noexcept;

/// A plain colour, or "theme" or "none".
std::optional<uint16_t> background_named(std::string_view text) noexcept;

/// Read a colour, or set `error` and return 0.
using colour_reader = std::optional<uint16_t>(std::string_view) noexcept;
uint16_t colour_or_error(colour_reader *read, const std::string &text, std::string &error);

} // namespace dravik::tools
