// SD card: checks, sizes and repairs.

#include "base/unique_fd.hpp"
#include "base/unique_file.hpp"
#include "dravik.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace dravik::storage {
namespace {

constexpr const char *card_folder = "/sys/block/mmcblk0";
constexpr const char *card_size_file = "/sys/block/mmcblk0/size";
constexpr const char *card_device = "/dev/mmcblk0";
constexpr const char *partitions_file = "/proc/partitions";
constexpr const char *mounts_file = "/proc/mounts";
constexpr const char *mount_point = "/tmp/mmcblk0p1";
constexpr const char *repair_record = "/tmp/debugfs";
constexpr const char *boot_record_image = "/tmp/mbr.img";

constexpr const char *umount_command = "/bin/umount /dev/mmcblk0p1";
constexpr const char *check_command = "/usr/local/bin/dosfsck -a /dev/mmcblk0p1";
constexpr const char *mount_command = "mount /dev/mmcblk0p1 /tmp/mmcblk0p1";
constexpr const char *write_boot_record_command = "/bin/dd if=/tmp/mbr.img of=/dev/mmcblk0";
constexpr const char *format_command = "/sbin/mkfs.vfat /dev/mmcblk0p1";
constexpr const char *reboot_command = "/sbin/reboot";

constexpr int line_limit = 255; ///< of the system's lists, with its NUL

constinit uint8_t sd_status = 0;

void set_status(dravik_card_status bit, bool on) noexcept {
  sd_status = static_cast<uint8_t>(on ? sd_status | bit : sd_status & ~bit);
}
bool has_status(int bits) noexcept {
  return (sd_status & bits) == bits;
}

// ------------------------------------------------------------------------------------------------ the boot
// record

constexpr size_t boot_record_size = DRAVIK_CARD_SECTOR_SIZE;
constexpr size_t partition_type_position = 450;
constexpr uint8_t fat32_type = 0x0B;
constexpr uint32_t first_sector = 32;
using boot_record = std::array<uint8_t, boot_record_size>;

constexpr boot_record boot_record_of(uint32_t sectors) noexcept {
  boot_record record = {};
  const auto put = [&record](size_t at, uint32_t value) {
    for (size_t i = 0; i < 4; ++i)
      record[at + i] = static_cast<uint8_t>(value >> (8 * i));
  };
  record[447] = 1; // head 1, sector 1 of cylinder 0
  record[448] = 1;
  record[partition_type_position] = fat32_type;
  put(454, first_sector);
  put(458, sectors - first_sector);
  record[510] = 0x55;
  record[511] = 0xAA;
  return record;
}

/// Return whether the type of partition 1 is not 0x0B. Intentional: a card that cannot be opened passes.
bool has_other_type() noexcept {
  const unique_fd card{::open(card_device, O_RDONLY)};
  if (!card)
    return false;
  boot_record record = {};
  [[maybe_unused]] const ssize_t got = ::read(card.get(), record.data(), record.size());
  return record[partition_type_position] != fat32_type;
}

// ------------------------------------------------------------------------------------------------ checks

/// Call `look` with every line of a list of the system.
template <class Look> void each_line(const char *path, Look look) noexcept {
  const unique_file file = open_file(path, "r");
  if (file == nullptr) {
    std::perror("fopen");
    return;
  }
  std::array<char, line_limit> line;
  while (std::fgets(line.data(), line_limit, file.get()) != nullptr)
    look(std::string_view{line.data()});
}

bool contains(std::string_view line, std::string_view text) noexcept {
  return line.find(text) != line.npos;
}

int check_plugin() noexcept {
  struct stat status;
  const int result = ::stat(card_folder, &status);
  set_status(DRAVIK_CARD_PRESENT, result == 0);
  return result;
}

int check_lock() noexcept {
  const bool is_locked = gpio_get(DRAVIK_GPIO_CARD_LOCK) != 0;
  set_status(DRAVIK_CARD_LOCKED, is_locked);
  return is_locked ? 0 : 1;
}

int check_part() noexcept {
  each_line(partitions_file, [](std::string_view line) {
    if (contains(line, "mmcblk0"))
      set_status(DRAVIK_CARD_PRESENT, true);
    if (contains(line, "mmcblk0p1"))
      set_status(DRAVIK_CARD_PARTITIONED, true);
  });
  return has_status(DRAVIK_CARD_PARTITIONED) ? 0 : 1;
}

int check_mount() noexcept {
  each_line(mounts_file, [](std::string_view line) {
    if (!contains(line, "/dev/mmcblk0p1"))
      return;
    set_status(DRAVIK_CARD_MOUNTED, true);
    if (contains(line, "vfat"))
      set_status(DRAVIK_CARD_FAT32, !has_other_type());
    if (contains(line, "vfat rw"))
      set_status(DRAVIK_CARD_WRITABLE, true);
  });
  return has_status(DRAVIK_CARD_FAT32 | DRAVIK_CARD_WRITABLE) ? 0 : 1;
}

// ------------------------------------------------------------------------------------------------ sizes

uint32_t read_sectors() noexcept {
  const unique_file file = open_file(card_size_file, "r");
  if (file == nullptr)
    return 0;
  std::array<char, 31> line = {};
  if (std::fgets(line.data(), static_cast<int>(line.size()), file.get()) == nullptr)
    return 0;
  return static_cast<uint32_t>(std::strtoll(line.data(), nullptr, 10));
}

/// Return the MiB of a number of blocks. Intentional: in 32-bit arithmetic, which may wrap.
template <class Blocks> int32_t mebibytes(Blocks blocks, long block_size) noexcept {
  const auto quarter_kibibytes = static_cast<uint32_t>(static_cast<int32_t>(block_size) >> 8);
  return static_cast<int32_t>(static_cast<uint32_t>(blocks) * quarter_kibibytes) >> 12;
}

struct statfs mounted_file_system() noexcept {
  struct statfs status = {};
  ::statfs(mount_point, &status);
  return status;
}

// ------------------------------------------------------------------------------------------------ repairs

int check_file_system() noexcept {
  const unique_file record = open_file(repair_record, "w");
  for (const char *command : {umount_command, check_command, mount_command}) {
    const int status = std::system(command);
    if (record != nullptr)
      std::fprintf(record.get(), "ret : %d\n", status);
  }
  return 0;
}

void run(const char *command) noexcept {
  [[maybe_unused]] const int status = std::system(command);
}

int create_part(uint32_t sectors) noexcept {
  unique_file image = open_file(boot_record_image, "w");
  if (image == nullptr)
    return -1;
  const boot_record record = boot_record_of(sectors);
  std::fwrite(record.data(), 1, record.size(), image.get());
  image.reset();
  run(write_boot_record_command);
  ::sync();
  run(reboot_command);
  return 1;
}

int format() noexcept {
  for (const char *command : {umount_command, format_command, reboot_command})
    run(command);
  return 1;
}

} // namespace
} // namespace dravik::storage

extern "C" {

using namespace dravik::storage;

int32_t sd_card_check_plugin() noexcept {
  return check_plugin();
}
int32_t sd_card_check_lock() noexcept {
  return check_lock();
}
int32_t sd_card_check_part() noexcept {
  return check_part();
}
int32_t sd_card_check_mount() noexcept {
  return check_mount();
}

int32_t sd_card_check(uint8_t *status) noexcept {
  sd_status = 0;
  check_plugin();
  check_lock();
  check_part();
  check_mount();
  *status = sd_status;
  return sd_status == DRAVIK_CARD_HEALTHY ? 0 : 1;
}

int32_t sd_card_get_raw_size(uint32_t *sectors) noexcept {
  *sectors = read_sectors();
  return static_cast<int32_t>(*sectors) >> 11;
}

int32_t sd_card_get_part_size() noexcept {
  const struct statfs status = mounted_file_system();
  return mebibytes(status.f_blocks, static_cast<long>(status.f_bsize));
}

int32_t sd_card_get_free_space() noexcept {
  const struct statfs status = mounted_file_system();
  return mebibytes(status.f_bavail, static_cast<long>(status.f_bsize));
}

int32_t sd_card_check_fs() noexcept {
  return check_file_system();
}
int32_t sd_card_create_part(uint32_t sectors) noexcept {
  return create_part(sectors);
}
int32_t sd_card_format() noexcept {
  return format();
}

} // extern "C"
