// The memory card of the virtual machine, and its states.
#pragma once

#include "dravik.h"
#include "guest.hpp"

#include <array>
#include <cstdint>
#include <fcntl.h>
#include <linux/fs.h>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>

namespace dravik::vm {

constexpr const char *card_device = "/dev/mmcblk0";
constexpr const char *mount_point = "/tmp/mmcblk0p1";
constexpr uint32_t card_sectors = 131072; ///< 64 MiB

inline bool is_inserted() {
  return exists("/sys/block/mmcblk0");
}
/// Some time after the card; the device node of a removed card that is still mounted may remain.
inline bool has_partition() {
  return read_text("/proc/partitions").find("mmcblk0p1") != std::string::npos;
}

inline bool insert_card() {
  return ask("insert") == "ok" && wait_until([] { return is_inserted() && has_partition(); });
}

/// The card leaves the slot; a mount of it stays.
inline bool remove_card() {
  return ask("remove") == "ok" && wait_until([] { return !is_inserted(); });
}

inline std::array<uint8_t, 512> read_boot_record() {
  std::array<uint8_t, 512> record = {};
  const int card = ::open(card_device, O_RDONLY | O_CLOEXEC);
  if (::read(card, record.data(), record.size()) < 0)
    record = {};
  ::close(card);
  return record;
}

/// Write a boot record, and let the kernel read the partition table again. Returns false on failure.
inline bool write_boot_record(const std::array<uint8_t, 512> &record) {
  const int card = ::open(card_device, O_WRONLY | O_SYNC | O_CLOEXEC);
  const bool is_written = ::write(card, record.data(), record.size()) == static_cast<ssize_t>(record.size());
  const bool is_read = ::ioctl(card, BLKRRPART) == 0;
  ::close(card);
  return is_written && is_read;
}

inline std::array<uint8_t, 512> boot_record_with(uint8_t type) {
  constexpr uint32_t start = 2048, sectors = card_sectors - start;
  std::array<uint8_t, 512> record = {};
  record[450] = type;
  record[455] = start >> 8;
  for (size_t i = 0; i < 4; ++i)
    record[458 + i] = static_cast<uint8_t>(sectors >> (8 * i));
  record[510] = 0x55;
  record[511] = 0xAA;
  return record;
}

inline bool mount_card(const std::string &options = "rw") {
  return run("mount -t vfat -o " + options + " /dev/mmcblk0p1 /tmp/mmcblk0p1") == 0;
}

inline void unmount_card() {
  run("while umount -l /tmp/mmcblk0p1 2>/dev/null; do :; done");
}

/// A card with one empty FAT32 partition, mounted, in an unlocked slot.
inline bool prepare_card() {
  unmount_card();
  control("gpio 68 0");
  return (is_inserted() || insert_card()) && write_boot_record(boot_record_with(0x0B)) &&
         wait_until([] { return has_partition(); }) &&
         run("mkfs.vfat -F 32 -s 8 /dev/mmcblk0p1 >/dev/null") == 0 && mount_card();
}

inline int card_status() {
  uint8_t status = 0xFF;
  sd_card_check(&status);
  return status;
}

} // namespace dravik::vm
