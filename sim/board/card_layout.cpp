// Layout of a memory card.

#include "board/card_layout.hpp"
#include "base/byte_reader.hpp"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <unistd.h>

namespace dravik::sim {
namespace {

constexpr uint32_t first_partition_sector = 32;
constexpr size_t partition_entry = 446;
constexpr size_t partition_type = partition_entry + 4;
constexpr size_t partition_start = partition_entry + 8;
constexpr size_t signature = 510;
constexpr uint8_t fat32_type = 0x0B;

bool is_signed(const sector &record) noexcept {
  return record[signature] == 0x55 && record[signature + 1] == 0xAA;
}

void put_u32le(sector &record, size_t position, uint32_t value) noexcept {
  for (size_t i = 0; i < 4; ++i)
    record[position + i] = static_cast<uint8_t>(value >> (8 * i));
}

/// Fields of the first sector of a FAT file system, in sectors or as counts.
struct fat_fields {
  explicit fat_fields(const sector &first) noexcept {
    byte_reader fields{first};
    fields.seek(11);
    bytes_per_sector = fields.u16le();
    cluster = fields.u8();
    reserved = fields.u16le();
    tables = fields.u8();
    root_entries = fields.u16le();
    total = fields.u16le();
    media = fields.u8();
    table = fields.u16le();
    fields.seek(32);
    const uint32_t large_total = fields.u32le();
    const uint32_t large_table = fields.u32le();
    total = total != 0 ? total : large_total;
    table = table != 0 ? table : large_table;
  }

  bool makes_sense() const noexcept {
    return bytes_per_sector >= sector_bytes && bytes_per_sector <= 4096 &&
           std::has_single_bit(bytes_per_sector) && std::has_single_bit(cluster) && reserved != 0 &&
           tables != 0 && table != 0 && (media >= 0xF8 || media == 0xF0);
  }
  uint64_t before_data() const noexcept {
    const uint64_t root_bytes = root_entries * uint64_t{32};
    return reserved + uint64_t{tables} * table + (root_bytes + bytes_per_sector - 1) / bytes_per_sector;
  }

  uint32_t bytes_per_sector, cluster, reserved, tables, root_entries, total, media, table;
};

} // namespace

sector boot_record_for(uint32_t card_sectors) noexcept {
  sector record = {};
  record[partition_entry + 1] = 1; // head 1, sector 1 of cylinder 0
  record[partition_entry + 2] = 1;
  record[partition_type] = fat32_type;
  put_u32le(record, partition_start, first_partition_sector);
  put_u32le(record, partition_start + 4, card_sectors - first_partition_sector);
  record[signature] = 0x55;
  record[signature + 1] = 0xAA;
  return record;
}

partition first_partition(const sector &boot_record, uint64_t card_sectors) noexcept {
  byte_reader fields{boot_record};
  fields.seek(partition_start);
  const uint32_t start = fields.u32le();
  const uint32_t length = fields.u32le();
  if (!is_signed(boot_record) || boot_record[partition_type] == 0 || start == 0 || start >= card_sectors)
    return {};
  return {start, static_cast<uint32_t>(std::min<uint64_t>(length, card_sectors - start))};
}

fat_volume read_fat_volume(const sector &first_sector) noexcept {
  const fat_fields fields{first_sector};
  if (!fields.makes_sense() || fields.before_data() >= fields.total)
    return {};
  return {fields.bytes_per_sector * fields.cluster,
          static_cast<uint32_t>((fields.total - fields.before_data()) / fields.cluster)};
}

size_t state_position(const sector &first_sector) noexcept {
  constexpr size_t table_sectors_of_fat16 = 22; // zero in FAT32
  const bool is_fat32 =
      first_sector[table_sectors_of_fat16] == 0 && first_sector[table_sectors_of_fat16 + 1] == 0;
  return is_fat32 ? 65 : 37;
}

sector read_sector(int card, uint64_t number) noexcept {
  sector content = {};
  [[maybe_unused]] const ssize_t count =
      ::pread64(card, content.data(), content.size(), static_cast<off64_t>(number * sector_bytes));
  return content;
}

} // namespace dravik::sim

namespace dravik::sim {
namespace {

bool copy_block(int from, off64_t from_offset, int to, off64_t to_offset, size_t length) noexcept {
  char block[32768];
  while (length > 0) {
    const ssize_t count = ::pread64(from, block, std::min(length, sizeof block), from_offset);
    if (count <= 0)
      return count == 0; // the file ends before the region
    if (::pwrite64(to, block, static_cast<size_t>(count), to_offset) != count)
      return false;
    from_offset += count;
    to_offset += count;
    length -= static_cast<size_t>(count);
  }
  return true;
}

} // namespace

bool copy_region(int from, uint64_t from_offset, int to, uint64_t to_offset, uint64_t length) noexcept {
  const auto end = static_cast<off64_t>(from_offset + length);
  const auto shift = static_cast<off64_t>(to_offset - from_offset);
  auto position = static_cast<off64_t>(from_offset);
  while (position < end) {
    const off64_t data = ::lseek64(from, position, SEEK_DATA);
    if (data < 0 || data >= end)
      return data >= 0 || errno == ENXIO; // the rest is a hole
    position = std::min(::lseek64(from, data, SEEK_HOLE), end);
    if (!copy_block(from, data, to, data + shift, static_cast<size_t>(position - data)))
      return false;
  }
  return true;
}

} // namespace dravik::sim
