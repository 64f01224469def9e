// The keys of the dash-camera's case, each on a GPIO line that is high while it is held.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace dravik::sim {

struct board_key {
  std::string_view name;
  uint32_t line;
};

constexpr std::array<board_key, 2> keys = {{{"next", 61}, {"ok", 62}}};

} // namespace dravik::sim
