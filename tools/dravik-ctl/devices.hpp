// Devices that several commands open.
#pragma once

#include "common/tool.hpp"
#include "dravik.h"

#include <array>
#include <string>

namespace dravik::ctl {

/// Whether this machine has a driver that only boards have.
bool is_board();

/// A failure of a device, with what to do on a machine that is not a board.
std::string device_failure(const std::string &message);

/// Open the GPIO driver. On failure returns false and set `error`.
[[nodiscard]] bool open_gpio(std::string &error);

struct screen_state {
  bool opens;
  std::array<uint32_t, FBINFO_WORDS> record; ///< as ::fbinfo
  std::string reason;                        ///< if it does not open
};

/// Query the screen information.
screen_state query_screen();

/// Open the screen to draw on it. On failure returns false and set `error`.
[[nodiscard]] bool open_screen(std::string &error);

} // namespace dravik::ctl
