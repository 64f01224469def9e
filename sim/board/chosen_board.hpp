// The board of this process. Each program defines where it comes from: the preload library, the sound
// card next to it, the launcher.
#pragma once

#include <cstddef>

namespace dravik::sim {

/// In bytes, including the directory of the board and the NUL. Far below PATH_MAX, since
/// signal handlers have small stacks.
constexpr size_t longest_path = 1024;

/// Return the directory of the board, null if there is no board. A relative name leads nowhere,
/// not to the devices of the host.
const char *board_directory() noexcept;

} // namespace dravik::sim
