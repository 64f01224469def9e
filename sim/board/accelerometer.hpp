// Registers of the accelerometer, and the values of those that follow the board's acceleration.
#pragma once

#include "board/settings_text.hpp"

#include <algorithm>
#include <array>
#include <cstdint>

namespace dravik::sim::accelerometer {

constexpr uint8_t registers = 128;
constexpr uint8_t identity_register = 0x0F;
constexpr uint8_t identity = 0x33;
constexpr uint8_t rate_and_axes = 0x20; ///< bits 7:4: data rate, 0 for power-down; bits 2:0: Z, Y, X enabled
constexpr uint8_t full_scale = 0x23;    ///< bits 5:4
constexpr uint8_t status = 0x27;
constexpr uint8_t first_axis = 0x28; ///< X low, X high, Y low, Y high, Z low, Z high
constexpr uint8_t new_data = 0x0F;   ///< of each axis, and of all

constexpr int32_t limit_milli_g = 16000;

/// In mg.
using movement = std::array<int32_t, 3>;

constexpr movement at_rest = {0, 0, 1000};

/// Parse a text like 0,0,1000. Return false if it is invalid.
inline bool read_movement(std::string_view text, movement &into) noexcept {
  for (size_t axis = 0; axis < into.size(); ++axis) {
    const std::string_view number = trimmed(axis < 2 ? take_until(text, ',') : text);
    if (!read_number(number, into[axis]) || into[axis] < -limit_milli_g || into[axis] > limit_milli_g)
      return false;
  }
  return true;
}

/// 12 bits, left-justified; clamped to the scale.
constexpr uint16_t axis_data(int32_t milli_g, uint8_t scale) noexcept {
  constexpr std::array milli_g_per_count = {1, 2, 4, 12};
  const int32_t unit = milli_g_per_count[scale >> 4 & 3];
  const int32_t half = milli_g < 0 ? -unit / 2 : unit / 2;
  const int32_t counts = std::clamp((milli_g + half) / unit, -2048, 2047);
  return static_cast<uint16_t>(counts * 16);
}

/// Whether a register follows the acceleration. The others hold what was written to them.
constexpr bool follows_movement(uint8_t number) noexcept {
  return number == status || (number >= first_axis && number < first_axis + 6);
}

/// Return the value of such a register, from the two that configure the sensor; 0 in power-down mode.
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
