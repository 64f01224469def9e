// The accelerometer's registers, and what the three of them that follow the board's movement hold.
#pragma once

#include "board/settings_text.hpp"

#include <algorithm>
#include <array>
#include <cstdint>

namespace dravik::sim::accelerometer {

constexpr uint8_t registers = 128;
constexpr uint8_t identity_register = 0x0F;
constexpr uint8_t identity = 0x33;
constexpr uint8_t rate_and_axes = 0x20; ///< bits 7 to 4: the data rate, 0 is asleep; bits 2 to 0: Z, Y, X on
constexpr uint8_t full_scale = 0x23;    ///< bits 5 and 4
constexpr uint8_t status = 0x27;
constexpr uint8_t first_axis = 0x28; ///< X low, X high, Y low, Y high, Z low, Z high
constexpr uint8_t new_data = 0x0F;   ///< of each axis, and of all

constexpr int32_t limit_milli_g = 16000;

/// In thousandths of the Earth's pull.
using movement = std::array<int32_t, 3>;

constexpr movement at_rest = {0, 0, 1000};

/// From a text like 0,0,1000; false when it is none.
inline bool read_movement(std::string_view text, movement &into) noexcept {
  for (size_t axis = 0; axis < into.size(); ++axis) {
    const std::string_view number = trimmed(axis < 2 ? take_until(text, ',') : text);
    if (!read_number(number, into[axis]) || into[axis] < -limit_milli_g || into[axis] > limit_milli_g)
      return false;
  }
  return true;
}

/// 12 bits, left-justified. A movement beyond the scale gives the end of it.
constexpr uint16_t axis_data(int32_t milli_g, uint8_t scale) noexcept {
  constexpr std::array milli_g_per_count = {1, 2, 4, 12};
  const int32_t unit = milli_g_per_count[scale >> 4 & 3];
  const int32_t half = milli_g < 0 ? -unit / 2 : unit / 2;
  const int32_t counts = std::clamp((milli_g + half) / unit, -2048, 2047);
  return static_cast<uint16_t>(counts * 16);
}

/// Whether a register follows the movement; the others hold what was written to them.
constexpr bool follows_movement(uint8_t number) noexcept {
  return number == status || (number >= first_axis && number < first_axis + 6);
}

/// What such a register reads as, given the two that set the sensor up. Asleep, it has nothing to tell.
constexpr uint8_t moving_register(uint8_t number, uint8_t rate, uint8_t scale, const movement &now) noexcept {
  const bool is_awake = (rate & 0xF0) != 0;
  if (number == status)
    return is_awake ? new_data : 0;
  const int axis = (number - first_axis) / 2;
  if (!is_awake || (rate >> axis & 1) == 0)
    return 0;
  const uint16_t data = axis_data(now[static_cast<size_t>(axis)], scale);
  return static_cast<uint8_t>((number - first_axis) % 2 == 0 ? data : data >> 8);
}

} // namespace dravik::sim::accelerometer
