// The memory card of a board: an image, and the actions on it.
#pragma once

#include "host/card_reports.hpp"

#include <string>

namespace dravik::sim {

constexpr uint32_t smallest_card_mebibytes = 64; ///< the least for FAT32
constexpr uint32_t largest_card_mebibytes = 131072;

/// The write-protect switch.
enum class card_lock : bool { off, on };

/// Create a card for a board without one: partitioned, with an empty FAT32 file system, inserted and
/// mounted. Requires the tools of lacking_card_tools().
///
/// All actions first complete what a killed process began, return false and set `error` on failure; on
/// success `error` may be a warning.
[[nodiscard]] bool make_card(const std::string &board, uint32_t mebibytes, std::string &error);

/// Insert the card; an inserted card is removed first. With `card_mounts=script` it is mounted if it has a
/// partition with a FAT file system, read-only if it is write-protected.
[[nodiscard]] bool insert_card(const std::string &board, card_lock lock, std::string &error);

/// Remove the card, even if its files are open. Its mount stays without its card until it is unmounted; with
/// `card_mounts=script`, the card is unmounted first.
[[nodiscard]] bool remove_card(const std::string &board, std::string &error);

[[nodiscard]] bool mount_card(const std::string &board, bool read_only, std::string &error);

/// Make the mount of the card read-only, as `mount -o remount,ro` does.
[[nodiscard]] bool make_mount_read_only(const std::string &board, std::string &error);

/// Whether to unmount a card whose files are in use: umount(8) fails, umount -l does not.
enum class unmount_way : bool { if_unused, detached };
[[nodiscard]] bool unmount_card(const std::string &board, unmount_way way, std::string &error);

/// Unmount the card, read its partition table again and mount it, as a reboot does. If its files exceed its
/// capacity, it stays mounted, and `error` is a warning.
[[nodiscard]] bool restart_card(const std::string &board, std::string &error);

bool has_card(const std::string &board); ///< inserted or removed
bool card_is_in(const std::string &board);
bool card_is_locked(const std::string &board);
/// "not mounted", "mounted", "mounted read-only" or "mount of a removed card".
const char *description_of_mount(const std::string &board);

} // namespace dravik::sim
