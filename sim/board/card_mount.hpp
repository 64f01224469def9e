// Mounting a card without the kernel: its files are copied out of the image, and back into it.
#pragma once

#include <string>

namespace dravik::sim {

enum class mount_way : bool { writable, read_only };

/// Shows the files of the card at its mount point, and nothing else there. Reading that stumbles over a
/// broken chain makes the mount read-only, as the kernel does it. On failure gives false and says why.
[[nodiscard]] bool mount_files(const std::string &board, mount_way way, std::string &error);

/// Brings what has changed at the mount point to the card, and shows again what was there before. What does
/// not fit on the card stays where it is, mounted: false, with the reason.
[[nodiscard]] bool unmount_files(const std::string &board, std::string &error);

} // namespace dravik::sim
