// Behaviour of the kernel's files below /dev, /sys and /proc, for the plain files of a board.
#pragma once

#include "preload/path_map.hpp"

#include <sys/types.h>

namespace dravik::sim {

/// Return the flags of an open as the kernel interprets them for a kind of file.
int kernel_flags(file_kind kind, int flags) noexcept;

/// Replace the descriptor of a file below /proc that was opened read-only by that of a copy, which does not
/// change later.
int snapshot_of(int descriptor, int flags) noexcept;

/// Return the kind of an open file or named pipe of the board; none for anything else.
file_kind kind_behind(int descriptor) noexcept;

/// Return the length in bytes of an open file.
off64_t length_behind(int descriptor) noexcept;

} // namespace dravik::sim
