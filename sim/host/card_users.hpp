// The processes that use the files of a mounted memory card.
#pragma once

#include <string>

namespace dravik::sim {

/// Whether a process other than this one has a file below the directory open or mapped, or works in it. Only
/// processes that this user may inspect are seen.
bool is_in_use(const std::string &directory);

} // namespace dravik::sim
