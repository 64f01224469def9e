// What lies where on a memory card: its partition, and the file system in it. Needs no C++ library at run
// time.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <sys/types.h>

namespace dravik::sim {

constexpr uint32_t sector_bytes = 512;
using sector = std::array<uint8_t, sector_bytes>;

/// A part of the card, in sectors.
struct partition {
  uint32_t start = 0;
  uint32_t length = 0;

  uint64_t start_bytes() const noexcept { return uint64_t{start} * sector_bytes; }
  uint64_t length_bytes() const noexcept { return uint64_t{length} * sector_bytes; }
};

/// A boot record with one partition for FAT32, from sector 32 to the end of the card.
sector boot_record_for(uint32_t card_sectors) noexcept;

/// The first partition of a boot record as the kernel sees it, no longer than the card; of no length when
/// there is none.
partition first_partition(const sector &boot_record, uint64_t card_sectors) noexcept;

/// How a FAT file system divides its room; no clusters when it is none that the kernel would mount.
struct fat_volume {
  uint32_t cluster_bytes = 0;
  uint32_t clusters = 0;
};
fat_volume read_fat_volume(const sector &first_sector) noexcept;

/// One sector of an open card; zeros where the card ends.
sector read_sector(int card, uint64_t number) noexcept;

/// Copies a region from one file to another. What takes no room on the disk of the host is left out; in the
/// target it has to be zeros already. On failure gives false, and errno says why.
bool copy_region(int from, uint64_t from_offset, int to, uint64_t to_offset, uint64_t length) noexcept;

/// The clusters that the files below an open directory take on a card, with the directories themselves.
uint64_t clusters_of_tree(int directory, uint32_t cluster_bytes) noexcept;

} // namespace dravik::sim
