// Colours as people write them, as the library takes them, and as pictures hold them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace dravik::art {

/// A background and a foreground, RGB565 or one of the library's special backgrounds: they choose a ramp.
struct ramp_choice {
  uint16_t background;
  uint16_t foreground;
};

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

/// The red, green, blue and alpha of an RGB565 colour in 8 bits each.
std::array<uint8_t, 4> to_rgba(uint16_t colour) noexcept;

/// A ramp for each that the library knows for artwork, 9 on black, 9 on white and 6 special ones.
inline constexpr ramp_choice all_ramps[] = {
    {rgb565::black, rgb565::white},   {rgb565::black, rgb565::red},  {rgb565::black, rgb565::green},
    {rgb565::black, rgb565::blue},    {rgb565::black, rgb565::grey}, {rgb565::black, rgb565::yellow},
    {rgb565::black, rgb565::magenta}, {rgb565::black, rgb565::cyan}, {rgb565::black, rgb565::orange},
    {rgb565::white, rgb565::black},   {rgb565::white, rgb565::red},  {rgb565::white, rgb565::green},
    {rgb565::white, rgb565::blue},    {rgb565::white, rgb565::grey}, {rgb565::white, rgb565::yellow},
    {rgb565::white, rgb565::magenta}, {rgb565::white, rgb565::cyan}, {rgb565::white, rgb565::orange},
    {0x1234, rgb565::white},          {0x1234, rgb565::black},       {rgb565::magenta, rgb565::black},
    {rgb565::none, rgb565::black},    {rgb565::none, rgb565::grey},  {rgb565::none, rgb565::white},
};
inline constexpr uint32_t ramps_a_row = 9;

} // namespace dravik::art
