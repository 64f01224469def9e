// Layout of a memory card: its partition and the file system in it.
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

/// The first partition of a boot record, limited to the size of the card as in the
/// kernel; of length 0 if there is none.
partition first_partition(const sector &boot_record, uint64_t card_sectors) noexcept;

/// Clusters of a FAT file system; 0 if the kernel would not mount it.
struct fat_volume {
  uint32_t cluster_bytes = 0;
  uint32_t clusters = 0;
};
fat_volume read_fat_volume(const sector &first_sector) noexcept;

/// Where the kernel marks a mounted FAT file system as unclean: a byte of its first sector, and the bit in it.
constexpr uint8_t unclean = 0x01;
size_t state_position(const sector &first_sector) noexcept;

/// Read a sector of an open card; zeros beyond its end.
sector read_sector(int card, uint64_t number) noexcept;

/// Copy a region from one file to another. Holes are skipped; the target must contain zeros there. Return
/// false and set errno on failure.
bool copy_region(int from, uint64_t from_offset, int to, uint64_t to_offset, uint64_t length) noexcept;

/// Count the clusters that the files and directories below an open directory take on a card.
uint64_t clusters_of_tree(int directory, uint32_t cluster_bytes) noexcept;

} // namespace dravik::sim
