// The board's memory card as applications see it past its files: its room, its partition, its write
// protection.
#pragma once

#include "board/card_texts.hpp"

namespace dravik::sim {

/// The file system that is mounted; no clusters when none is.
struct card_room {
  uint32_t cluster_bytes = 0;
  uint32_t clusters = 0;
  uint32_t free_clusters = 0;
};
card_room read_card_room() noexcept;

/// Whether an application's name leads to the files of the card.
bool is_on_card(const char *name) noexcept;

bool card_is_mounted() noexcept;

/// Whether the files of the card are mounted, and not to be written.
bool card_is_read_only() noexcept;

/// Whether the switch on the card's side is at LOCK.
bool card_is_locked() noexcept;

/// What an application gets that opens the card's partition with these flags: a copy of the partition as it
/// stands, to be read. -1 with errno when it wants to write. Takes the descriptor of what stands for it.
int open_partition(int descriptor, int flags) noexcept;

} // namespace dravik::sim
