// Unmounting the memory card before it is changed.
#pragma once

#include <string>

namespace dravik::ctl {

/// Unmount the memory card. Return false and set `error` on failure: if the card is busy, it names the programs
/// that use it, as far as the caller may inspect them.
[[nodiscard]] bool unmount_card(std::string &error);

} // namespace dravik::ctl
