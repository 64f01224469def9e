// Opening of what several commands need, with reasons when it cannot be had.
#pragma once

#include "common/tool.hpp"
#include "dravik.h"

#include <array>
#include <string>

namespace dravik::ctl {

/// Opens the GPIO driver, or says in `error` why not.
[[nodiscard]] bool open_gpio(std::string &error);

struct screen_answer {
  bool opens;
  std::array<uint32_t, FBINFO_WORDS> record; ///< as ::fbinfo
  std::string reason;                        ///< why it does not open
};

/// What the screen says of itself.
screen_answer ask_screen();

/// Opens the screen to draw on, or says in `error` why it cannot be drawn on.
[[nodiscard]] bool open_screen(std::string &error);

} // namespace dravik::ctl
