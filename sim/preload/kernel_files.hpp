// The kernel's manners with the files below /dev, /sys and /proc, for plain files that stand for them.
#pragma once

#include "preload/path_map.hpp"

#include <sys/types.h>

namespace dravik::sim {

/// The flags of an open as the kernel takes them for a file of this kind.
int kernel_flags(file_kind kind, int flags) noexcept;

/// Takes a descriptor of a file below /proc that was opened with these flags. When it is for reading alone,
/// gives one of a copy that no later change of the file reaches.
int as_it_stands(int descriptor, int flags) noexcept;

/// The kind of an open file or named pipe of the board; none for everything else, directories too.
file_kind kind_behind(int descriptor) noexcept;

/// The length in bytes of the file behind a descriptor.
off64_t length_behind(int descriptor) noexcept;

} // namespace dravik::sim
