// Landlock: the files that this process and its children can write, and the devices that they can open.
#pragma once

#include <string>
#include <vector>

namespace dravik::sim {

/// Confine file access, permanently. Files are readable and executable everywhere; writable are the given
/// trees, /dev/shm, terminals, and the files that standard input, output and error are. Of the devices below
/// /dev only the harmless ones can be opened. Requires no_new_privs. Return the ABI level of Landlock, 0 if
/// it is not in force.
int confine_file_access(const std::vector<std::string> &writable);

/// From this level on, signals reach only processes inside the boundary.
constexpr int landlock_with_signals = 6;

} // namespace dravik::sim
