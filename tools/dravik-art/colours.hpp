// Colours in pairs that choose a ramp, and as pictures hold them.
#pragma once

#include "common/colours.hpp"

#include <array>
#include <cstdint>

namespace dravik::art {

/// A background and a foreground, RGB565 or one of the library's special backgrounds: they choose a ramp.
struct ramp_choice {
  uint16_t background;
  uint16_t foreground;
};

namespace rgb565 = tools::rgb565;
using tools::background_named;
using tools::colour_named;

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
