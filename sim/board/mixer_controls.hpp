// The numbered controls of the codec, and their values in the board's file sound/mixer.
#pragma once

#include <cstdint>
#include <string_view>

namespace dravik::sim {

constexpr uint32_t mixer_controls = 77; ///< numbered from 1

struct mixer_control {
  char name[44]; ///< as ALSA names it
  bool is_switch;
  uint32_t first; ///< value until it is set
  uint32_t largest;
};
mixer_control describe_control(uint32_t number) noexcept;

/// Return the value of a control from the text of `sound/mixer`.
uint32_t control_value(std::string_view mixer, uint32_t number) noexcept;

/// Replace the line of a control in `sound/mixer`: key "numid 1". Return false if there is no space for it.
[[nodiscard]] bool store_control(std::string_view key, std::string_view value) noexcept;

} // namespace dravik::sim
