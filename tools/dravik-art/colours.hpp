// Pairs of colours that select a ramp, and RGB565 colours as pixels of PNG images.
#pragma once

#include "common/colours.hpp"
#include "dravik.h"

#include <array>
#include <cstdint>

namespace dravik::art {

/// A background and a foreground, RGB565 or a special background of the library, which select a ramp.
struct ramp_choice {
  uint16_t background;
  uint16_t foreground;
};

using tools::background_named;
using tools::colour_named;

/// The red, green, blue and alpha of an RGB565 colour in 8 bits each.
std::array<uint8_t, 4> to_rgba(uint16_t colour) noexcept;

/// One pair per ramp of artwork: 9 on black, 9 on white and 6 special ones.
inline constexpr ramp_choice all_ramps[] = {
    {DRAVIK_BLACK, DRAVIK_WHITE},       {DRAVIK_BLACK, DRAVIK_RED},        {DRAVIK_BLACK, DRAVIK_GREEN},
    {DRAVIK_BLACK, DRAVIK_BLUE},        {DRAVIK_BLACK, DRAVIK_GREY},       {DRAVIK_BLACK, DRAVIK_YELLOW},
    {DRAVIK_BLACK, DRAVIK_MAGENTA},     {DRAVIK_BLACK, DRAVIK_CYAN},       {DRAVIK_BLACK, DRAVIK_ORANGE},
    {DRAVIK_WHITE, DRAVIK_BLACK},       {DRAVIK_WHITE, DRAVIK_RED},        {DRAVIK_WHITE, DRAVIK_GREEN},
    {DRAVIK_WHITE, DRAVIK_BLUE},        {DRAVIK_WHITE, DRAVIK_GREY},       {DRAVIK_WHITE, DRAVIK_YELLOW},
    {DRAVIK_WHITE, DRAVIK_MAGENTA},     {DRAVIK_WHITE, DRAVIK_CYAN},       {DRAVIK_WHITE, DRAVIK_ORANGE},
    {DRAVIK_THEME, DRAVIK_WHITE},       {DRAVIK_THEME, DRAVIK_BLACK},      {DRAVIK_MAGENTA, DRAVIK_BLACK},
    {DRAVIK_TRANSPARENT, DRAVIK_BLACK}, {DRAVIK_TRANSPARENT, DRAVIK_GREY}, {DRAVIK_TRANSPARENT, DRAVIK_WHITE},
};
inline constexpr uint32_t ramps_a_row = 9;

} // namespace dravik::art
