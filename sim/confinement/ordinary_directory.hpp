// Directories that an application may be permitted to write in.
#pragma once

#include <string>

namespace dravik::sim {

/// Return why a directory, an absolute path without links, must never be writable: it contains or belongs
/// to what the kernel shows of the machine. Empty if it may be.
[[nodiscard]] std::string why_never_writable(const std::string &directory);

/// The same for a directory that was not named, such as the working directory:
/// not directories of the system either.
[[nodiscard]] std::string why_not_writable_by_default(const std::string &directory);

} // namespace dravik::sim
