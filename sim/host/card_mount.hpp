// Mounting a card without the kernel: its files are copied out of the image, and back into it.
#pragma once

#include <string>

namespace dravik::sim {

enum class mount_way : bool { writable, read_only };

/// Show the files of the card at its mount point, and nothing else there. The file system of a card that is
/// mounted writable is marked as unclean until it is unmounted. If a directory or a name cannot be read, the mount
/// is read-only. Return false and set `error` on failure.
[[nodiscard]] bool mount_files(const std::string &board, mount_way way, std::string &error);

/// Make a mount read-only; what was written to it until then goes to the card when it is unmounted.
[[nodiscard]] bool remount_read_only(const std::string &board, std::string &error);

/// How a mount ends: the file system of one that is abandoned, by a reboot, stays unclean.
enum class mount_end : bool { unmounted, abandoned };

/// Write what has changed at the mount point to the card, and show again what was there before. If the files
/// do not fit, they remain mounted: false, with the reason in `error`. If the application has destroyed the
/// card's file system, they remain in the directory, and `error` is a warning.
[[nodiscard]] bool unmount_files(const std::string &board, mount_end end, std::string &error);

/// Write what has changed at the mount point to the card, and leave the mount without a card. Fails as
/// unmount_files() does. Does nothing if the mount is without a card already.
[[nodiscard]] bool leave_mount_without_card(const std::string &board, std::string &error);

} // namespace dravik::sim
