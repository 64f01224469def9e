// The keys of the dash-camera's case, each on a GPIO line that is high while it is held.
#pragma once

#include "board/settings_text.hpp"
#include "host/inputs.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <string_view>

namespace dravik::sim {

struct board_key {
  std::string_view name;
  uint32_t line;
};

constexpr std::array<board_key, 2> keys = {{{"next", 61}, {"ok", 62}}};

inline constexpr std::chrono::milliseconds usual_press{150};

/// Find the line of a key, by its name or its number. Return false if there is none.
[[nodiscard]] inline bool find_key_line(std::string_view name, uint32_t &line) {
  const auto *known = std::ranges::find(keys, name, &board_key::name);
  if (known != keys.end())
    line = known->line;
  return known != keys.end() || (read_number(name, line) && line < gpio_lines);
}

} // namespace dravik::sim
