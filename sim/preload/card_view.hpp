// The memory card as applications see it beyond its files: space, partition, write protection.
#pragma once

#include "board/card_texts.hpp"

namespace dravik::sim {

/// The mounted file system; no clusters if none is mounted.
struct card_space {
  uint32_t cluster_bytes = 0;
  uint32_t clusters = 0;
  uint32_t free_clusters = 0;
};
card_space read_card_space() noexcept;

/// Whether a path of an application is on the memory card.
bool is_on_card(const char *name) noexcept;

/// Whether this process, or one that it was forked from, has opened a file of the card: others need no look at it.
bool card_was_opened() noexcept;
void note_opened_card() noexcept;

bool card_is_mounted() noexcept;

/// Whether the card is mounted read-only.
bool card_is_read_only() noexcept;

/// Whether the mounted card was pulled: what is behind the mount is gone, even if a card is put in again.
bool card_is_pulled() noexcept;

/// Whether an open file is on a card that was pulled.
bool is_on_pulled_card(int descriptor) noexcept;

/// Return the error of every write to an open file of the card: EIO if the card was pulled, EROFS if its mount has
/// become read-only; 0 if there is none.
int write_error(int descriptor) noexcept;

/// Return how many bytes of an open file can be read from a position on: as many as requested, or fewer if the file
/// has a broken chain of clusters. A read beyond them makes the mount read-only and returns -EIO.
ssize_t bytes_to_read(int descriptor, off64_t position, size_t size) noexcept;

/// Whether the write-protect switch is on.
bool card_is_locked() noexcept;

/// Return a descriptor of the card's partition: a copy to be read. Fails with EROFS if the flags request
/// writing. Closes `descriptor`, that of the placeholder.
int open_partition(int descriptor, int flags) noexcept;

} // namespace dravik::sim
