// The memory card of a board: an image of a card in its slot, and what can be done with it.
#pragma once

#include "host/card_reports.hpp"

#include <string>

namespace dravik::sim {

constexpr uint32_t smallest_card_mebibytes = 64; ///< with room for FAT32
constexpr uint32_t largest_card_mebibytes = 131072;

/// The switch on a card's side.
enum class card_lock : bool { off, on };

/// Gives a board without a card one: partitioned, with an empty FAT32 file
/// system, in the slot and mounted. On failure gives false and says why, as
/// all of these do; on success the text may be a warning. Each first completes what a killed process began.
/// What it needs of the host: see lacking_card_tools().
[[nodiscard]] bool make_card(const std::string &board, uint32_t mebibytes, std::string &error);

/// Puts the card into the slot. It is mounted when it has a partition with a FAT file system, read-only when
/// it is locked. A card that is in is taken out first.
[[nodiscard]] bool insert_card(const std::string &board, card_lock lock, std::string &error);

/// Takes the card out, unmounted in good order, also while its files are open.
[[nodiscard]] bool remove_card(const std::string &board, std::string &error);

[[nodiscard]] bool mount_card(const std::string &board, bool read_only, std::string &error);

/// Whether a card whose files are in use is unmounted: umount(8) fails, with -l it does not.
enum class unmount_way : bool { if_unused, detached };
[[nodiscard]] bool unmount_card(const std::string &board, unmount_way way, std::string &error);

/// What a restart of the board does to the card: it is unmounted, looked at anew and mounted. A card with
/// more files than it has room for stays mounted as it is; `error` is then a warning.
[[nodiscard]] bool restart_card(const std::string &board, std::string &error);

bool has_card(const std::string &board); ///< in the slot or beside it
bool card_is_in(const std::string &board);
bool card_is_locked(const std::string &board);

} // namespace dravik::sim
