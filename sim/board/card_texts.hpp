// The texts in which the kernel reports the memory card, for both sides of the board: one writes them, both read them.
#pragma once

#include "board/card_layout.hpp"

#include <string_view>

namespace dravik::sim {

constexpr std::string_view card_partition = "/dev/mmcblk0p1";
constexpr std::string_view card_mount_point = "/tmp/mmcblk0p1";

/// Files of the board's directory.
namespace card_texts {
constexpr const char *partition_start = "sys/block/mmcblk0/mmcblk0p1/start";
constexpr const char *partition_size = "sys/block/mmcblk0/mmcblk0p1/size";
constexpr const char *mounts = "proc/mounts";
constexpr const char *locked_line = "gpio/68"; ///< the write-protect switch
constexpr const char *broken = "card/broken";  ///< a line per file with a broken chain: bytes to read, path
constexpr const char *pulled = "card/pulled";  ///< exists while the mount is that of a card that was pulled
} // namespace card_texts

/// Return the first number of a text, 0 if it has none.
uint32_t first_number(std::string_view text) noexcept;

enum class mount_state : uint8_t { none, read_only, writable };

/// Return how a list of mounts describes the card.
mount_state mount_state_of(std::string_view mounts) noexcept;

} // namespace dravik::sim
