// Names and numbers of colours.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace dravik::tools {

namespace rgb565 {
inline constexpr uint16_t none = 0x0000; ///< as a background: level 0 is not painted
inline constexpr uint16_t black = 0x0821;
inline constexpr uint16_t white = 0xFFFF;
inline constexpr uint16_t red = 0xF800;
inline constexpr uint16_t green = 0x07E0;
inline constexpr uint16_t blue = 0x001F;
inline constexpr uint16_t grey = 0x7BEF;
inline constexpr uint16_t yellow = 0xFFE0;
inline constexpr uint16_t magenta = 0xF81F;
inline constexpr uint16_t cyan = 0x07FF;
inline constexpr uint16_t orange = 0xFBC0;
inline constexpr uint16_t start_up_theme = 0x0B77; ///< the theme colour of an opened screen
} // namespace rgb565

/// A plain colour: a name, 0x and up to four hexadecimal digits of RGB565, or # and six of RGB.
std::optional<uint16_t> colour_named(std::string_view text) noexcept;

/// A plain colour, or "theme" or "none".
std::optional<uint16_t> background_named(std::string_view text) noexcept;

/// Read a colour, or set `error` and return 0.
using colour_reader = std::optional<uint16_t>(std::string_view) noexcept;
uint16_t colour_or_error(colour_reader *read, const std::string &text, std::string &error);

} // namespace dravik::tools
