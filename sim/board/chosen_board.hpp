// The board that a process is on. Each program that works on a board says once where the choice comes from:
// the preload library, the sound card that is loaded beside it, the launcher.
#pragma once

#include <cstddef>

namespace dravik::sim {

/// In bytes, the board's directory and the NUL included. Far
/// below PATH_MAX, since signal handlers have small stacks.
constexpr size_t longest_path = 1024;

/// The board's directory; null when there is no board. A name that is not absolute leads nowhere, rather than
/// to the devices of the host.
const char *board_directory() noexcept;

} // namespace dravik::sim
