// Selecting a ramp of ::gc by background and foreground.
#pragma once

#include "dravik.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace dravik::fb {

/// The foregrounds of the ramps on one background, in order. All other foregrounds select the fourth ramp.
inline constexpr uint16_t foregrounds[] = {DRAVIK_RED,     DRAVIK_GREEN, DRAVIK_BLUE,
                                           DRAVIK_WHITE,   DRAVIK_GREY,  DRAVIK_YELLOW,
                                           DRAVIK_MAGENTA, DRAVIK_CYAN,  DRAVIK_ORANGE};
/// On magenta, black is in the place of white, which follows it.
inline constexpr uint16_t foregrounds_on_magenta[] = {DRAVIK_RED,    DRAVIK_GREEN, DRAVIK_BLUE,
                                                      DRAVIK_BLACK,  DRAVIK_WHITE, DRAVIK_GREY,
                                                      DRAVIK_YELLOW, DRAVIK_CYAN,  DRAVIK_ORANGE};

/// Return the ramp of a foreground; `first` is the first ramp on its background.
[[gnu::noinline]] constexpr uint8_t ramp_from(dravik_ramp first, std::span<const uint16_t> order,
                                              uint16_t foreground) noexcept {
  constexpr size_t others = 3;
  size_t place = 0;
  while (place < order.size() && order[place] != foreground)
    ++place;
  return static_cast<uint8_t>(first + (place < order.size() ? place : others));
}

/// Return the ramp on black, white or magenta.
constexpr uint8_t foreground_ramp(uint16_t background, uint16_t foreground) noexcept {
  if (background == DRAVIK_MAGENTA)
    return ramp_from(DRAVIK_RED_ON_MAGENTA, foregrounds_on_magenta, foreground);
  const dravik_ramp first = background == DRAVIK_BLACK ? DRAVIK_RED_ON_BLACK : DRAVIK_RED_ON_WHITE;
  return ramp_from(first, foregrounds, foreground);
}

constexpr uint8_t artwork_ramp(uint16_t background, uint16_t foreground) noexcept {
  switch (background) {
  case DRAVIK_BLACK:
  case DRAVIK_WHITE:
    return foreground_ramp(background, foreground);
  case DRAVIK_MAGENTA:
    return foreground == DRAVIK_BLACK ? DRAVIK_BLACK_ON_MAGENTA : DRAVIK_WHITE_ON_BLACK;
  case DRAVIK_THEME:
    return foreground == DRAVIK_WHITE ? DRAVIK_THEME_TO_WHITE : DRAVIK_THEME_TO_BLACK;
  case DRAVIK_TRANSPARENT:
    return foreground == DRAVIK_BLACK  ? DRAVIK_BLACK_ON_WHITE
           : foreground == DRAVIK_GREY ? DRAVIK_GREY_ON_BLACK
                                       : DRAVIK_WHITE_ON_BLACK;
  default:
    return DRAVIK_WHITE_ON_BLACK;
  }
}

constexpr uint8_t text_ramp(uint16_t background, uint16_t foreground) noexcept {
  if (background == DRAVIK_THEME)
    return foreground == DRAVIK_BLACK ? DRAVIK_THEME_TO_BLACK : DRAVIK_THEME_TO_WHITE;
  const bool has_ramps =
      background == DRAVIK_BLACK || background == DRAVIK_WHITE || background == DRAVIK_MAGENTA;
  return has_ramps ? foreground_ramp(background, foreground) : uint8_t{DRAVIK_BLACK_ON_WHITE};
}

} // namespace dravik::fb
