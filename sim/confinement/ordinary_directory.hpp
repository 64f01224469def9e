// Which directories an application may be given to write in.
#pragma once

#include <string>

namespace dravik::sim {

/// Why a directory, an absolute path without links, must not be writable: it contains or belongs to what the
/// kernel shows of the machine. Empty if it may be.
[[nodiscard]] std::string why_never_writable(const std::string &directory);

/// The same for a directory that nobody named, such as the working directory: directories of the system
/// neither.
[[nodiscard]] std::string why_not_writable_unasked(const std::string &directory);

} // namespace dravik::sim
