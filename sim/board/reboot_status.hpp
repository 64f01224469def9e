// How an application reports a reboot of the board to the program that started it.
#pragma once

namespace dravik::sim {

/// Exit status of an application that reboots the board.
constexpr int reboot_status = 75;

} // namespace dravik::sim
