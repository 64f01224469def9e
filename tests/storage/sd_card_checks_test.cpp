// The checks of the card, bit by bit.

#include "dravik.h"
#include "storage/card_stage.hpp"
#include "support/descriptors.hpp"
#include "support/next_call.hpp"
#include "support/recorded_system.hpp"
#include "support/stderr_capture.hpp"

#include <cerrno>
#include <cstdarg>
#include <gtest/gtest.h>
#include <sys/ioctl.h>

namespace {

struct gpio_record {
  uint32_t line;
  uint32_t level;
};

/// The driver of the GPIO lines, in the kernel's place.
struct {
  uint32_t level = 0;
  bool refuses = false;
  std::vector<uint32_t> lines_read;
} gpio_driver;

int answer_gpio(gpio_record &record) {
  gpio_driver.lines_read.push_back(record.line);
  if (gpio_driver.refuses) {
    errno = EIO;
    return -1;
  }
  record.level = gpio_driver.level;
  return 0;
}

} // namespace

extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void *argument = va_arg(arguments, void *);
  va_end(arguments);
  if (request == 0x800464CB)
    return answer_gpio(*static_cast<gpio_record *>(argument));
  static const auto next = dravik::test::next_call<int(int, unsigned long, void *)>("ioctl");
  return next(descriptor, request, argument);
}

namespace dravik::test {
namespace {

constexpr const char *fopen_error = "fopen: No such file or directory\n";

/// The lock switch is off, the slot is empty and the status byte clear.
class SdCard : public testing::Test {
protected:
  SdCard() {
    require_recorder();
    gpio_driver = {};
    gpiofd = pretended_descriptor;
    checked_status();
    gpio_driver.lines_read.clear();
  }
  ~SdCard() override {
    gpiofd = -1;
    EXPECT_EQ(recorded_commands, std::vector<std::string>{}) << "a check ran a command";
    EXPECT_FALSE(card_.on().exists("tmp/dravik.log")) << "a check wrote to the event log";
  }

  /// The status byte of all checks; their result goes with it.
  static uint8_t checked_status() {
    uint8_t byte = 0x55;
    const int32_t result = sd_card_check(&byte);
    EXPECT_EQ(result, byte == DRAVIK_CARD_HEALTHY ? 0 : 1);
    return byte;
  }

  /// All bits that scans set.
  void clear_bits() {
    card_.list_partitions("");
    card_.list_mounts("");
    checked_status();
  }

  card_stage card_;

private:
  static constexpr int32_t pretended_descriptor = 1000000;
};

TEST_F(SdCard, ReportsHealthyCard) {
  card_.make_healthy();
  uint8_t byte = 0;
  EXPECT_EQ(sd_card_check(&byte), 0);
  EXPECT_EQ(byte, DRAVIK_CARD_HEALTHY);
}

TEST_F(SdCard, ReportsLockOfHealthyCard) {
  card_.make_healthy();
  gpio_driver.level = 1;
  uint8_t byte = 0;
  EXPECT_EQ(sd_card_check(&byte), 1);
  EXPECT_EQ(byte, DRAVIK_CARD_HEALTHY | DRAVIK_CARD_LOCKED);
}

TEST_F(SdCard, ReportsFat32WithLinearAddressesAsUnhealthy) {
  card_.make_healthy();
  card_.write_type(0x0C);
  uint8_t byte = 0;
  EXPECT_EQ(sd_card_check(&byte), 1);
  EXPECT_EQ(byte, DRAVIK_CARD_HEALTHY & ~DRAVIK_CARD_FAT32);
}

TEST_F(SdCard, ReportsMissingCard) {
  EXPECT_EQ(checked_status(), 0x00);
  gpio_driver.level = 1;
  EXPECT_EQ(checked_status(), DRAVIK_CARD_LOCKED);
}

TEST_F(SdCard, ClearsByteBeforeAllChecks) {
  card_.make_healthy();
  gpio_driver.level = 1;
  EXPECT_EQ(checked_status(), DRAVIK_CARD_HEALTHY | DRAVIK_CARD_LOCKED);
  card_.pull_out();
  card_.list_partitions("");
  card_.list_mounts("");
  gpio_driver.level = 0;
  EXPECT_EQ(checked_status(), 0x00);
}

/// A line of the system about the card, and the bits that it sets.
struct piece {
  const char *text;
  uint8_t set;
};

constexpr piece partition_lists[] = {
    {"", 0},
    {" 179 0 7761920 mmcblk0\n", DRAVIK_CARD_PRESENT},
    {" 179 0 7761920 mmcblk0\n 179 1 7761904 mmcblk0p1\n", DRAVIK_CARD_PRESENT | DRAVIK_CARD_PARTITIONED},
    {" 179 1 7761904 mmcblk0p1", DRAVIK_CARD_PRESENT | DRAVIK_CARD_PARTITIONED},
    {" 179 2 7761904 mmcblk0p2\n", DRAVIK_CARD_PRESENT},
    {" 8 0 500 sda\n 179 0 500 mmcblk1\n", 0}};

/// DRAVIK_CARD_FAT32 represents a mount line that is tried against the partition's type.
constexpr piece mount_lists[] = {
    {"", 0},
    {"/dev/mmcblk0p1 /tmp/mmcblk0p1 vfat rw,sync 0 0\n",
     DRAVIK_CARD_MOUNTED | DRAVIK_CARD_FAT32 | DRAVIK_CARD_WRITABLE},
    {"/dev/mmcblk0p1 /tmp/mmcblk0p1 vfat ro,sync 0 0\n", DRAVIK_CARD_MOUNTED | DRAVIK_CARD_FAT32},
    {"/dev/mmcblk0p1 /tmp/mmcblk0p1 vfat  rw 0 0", DRAVIK_CARD_MOUNTED | DRAVIK_CARD_FAT32},
    {"/dev/mmcblk0p1 /tmp/mmcblk0p1 ext4 rw 0 0\n", DRAVIK_CARD_MOUNTED},
    {"/dev/mmcblk0p1 /tmp/mmcblk0p1 VFAT rw 0 0\n", DRAVIK_CARD_MOUNTED},
    {"/dev/mmcblk0p2 /tmp/mmcblk0p2 vfat rw 0 0\n", 0},
    {"mmcblk0p1 /tmp/mmcblk0p1 vfat rw 0 0\n", 0},
    {"/dev/sda1 /tmp/a vfat rw 0 0\n/dev/mmcblk0p1 /b vfat rw",
     DRAVIK_CARD_MOUNTED | DRAVIK_CARD_FAT32 | DRAVIK_CARD_WRITABLE}};

TEST_F(SdCard, ReportsEveryCombinationOfSystemState) {
  for (const bool is_plugged : {false, true})
    for (const piece &partitions : partition_lists)
      for (const piece &mounts : mount_lists)
        for (const int type : {-1, 0x0B, 0x0C, 0x00}) {
          for (const char *part : {"proc", "sys/block", "dev/mmcblk0"})
            card_.on().remove(part);
          if (is_plugged)
            card_.plug_in();
          card_.list_partitions(partitions.text);
          card_.list_mounts(mounts.text);
          if (type >= 0)
            card_.write_type(static_cast<uint8_t>(type));
          const int believed = type == -1 || type == 0x0B ? 0xFF : ~DRAVIK_CARD_FAT32;
          const int expected =
              (is_plugged ? DRAVIK_CARD_PRESENT : 0) | partitions.set | (mounts.set & believed);
          gpio_driver.level = 0;
          ASSERT_EQ(checked_status(), expected) << is_plugged << partitions.text << mounts.text << type;
          gpio_driver.level = 1;
          ASSERT_EQ(checked_status(), expected | DRAVIK_CARD_LOCKED)
              << is_plugged << partitions.text << mounts.text << type;
        }
}

// ---------------------------------------------------------------------------------------------- single
// checks

TEST_F(SdCard, DetectsCardByDirectoryOfSystem) {
  EXPECT_EQ(sd_card_check_plugin(), -1);
  card_.plug_in();
  EXPECT_EQ(sd_card_check_plugin(), 0);
  card_.pull_out();
  EXPECT_EQ(sd_card_check_plugin(), -1);
}

TEST_F(SdCard, DetectsCardByFileOfAnyType) {
  card_.on().write("sys/block/mmcblk0", "");
  EXPECT_EQ(sd_card_check_plugin(), 0);
}

TEST_F(SdCard, ReadsLockFromItsLine) {
  EXPECT_EQ(sd_card_check_lock(), 1);
  gpio_driver.level = 1;
  EXPECT_EQ(sd_card_check_lock(), 0);
  gpio_driver.level = 0;
  EXPECT_EQ(sd_card_check_lock(), 1);
  EXPECT_EQ(gpio_driver.lines_read, (std::vector<uint32_t>{68, 68, 68}));
}

TEST_F(SdCard, TreatsAnyLevelButZeroAsLocked) {
  for (const uint32_t level : {2U, 0x80000000U, 0xFFFFFFFFU}) {
    gpio_driver.level = level;
    EXPECT_EQ(sd_card_check_lock(), 0) << level;
  }
}

TEST_F(SdCard, TreatsUnreadableLineAsLocked) {
  gpio_driver.refuses = true;
  stderr_capture said;
  EXPECT_EQ(sd_card_check_lock(), 0);
  EXPECT_EQ(checked_status(), DRAVIK_CARD_LOCKED);
  gpiofd = -1;
  EXPECT_EQ(sd_card_check_lock(), 0);
  EXPECT_EQ(said.take(), "AMBA_DEBUG_IOC_GET_GPIO: Input/output error\n"
                         "AMBA_DEBUG_IOC_GET_GPIO: Input/output error\n");
}

TEST_F(SdCard, KeepsPartitionUntilNextFullCheck) {
  EXPECT_EQ(sd_card_check_part(), 1);
  card_.list_partitions(" 179 0 7761920 mmcblk0\n");
  EXPECT_EQ(sd_card_check_part(), 1);
  card_.list_partitions(" 179 1 7761904 mmcblk0p1\n");
  EXPECT_EQ(sd_card_check_part(), 0);
  card_.list_partitions("");
  EXPECT_EQ(sd_card_check_part(), 0);
  EXPECT_EQ(checked_status(), 0x00);
  EXPECT_EQ(sd_card_check_part(), 1);
}

TEST_F(SdCard, KeepsMountUntilNextFullCheck) {
  card_.make_healthy();
  EXPECT_EQ(sd_card_check_mount(), 0);
  card_.list_mounts("");
  EXPECT_EQ(sd_card_check_mount(), 0);
  checked_status();
  EXPECT_EQ(sd_card_check_mount(), 1);
}

TEST_F(SdCard, ReportsReadOnlyMountAsUnhealthy) {
  card_.make_healthy();
  card_.list_mounts("/dev/mmcblk0p1 /tmp/mmcblk0p1 vfat ro,relatime 0 0\n");
  EXPECT_EQ(sd_card_check_mount(), 1);
}

TEST_F(SdCard, CombinesMountBitsOfSeveralLines) {
  card_.make_healthy();
  card_.list_mounts(
      "/dev/mmcblk0p1 /a vfat ro 0 0\n/dev/mmcblk0p1 /b vfat rw 0 0\n/dev/mmcblk0p1 /c ext4 ro 0 0\n");
  EXPECT_EQ(sd_card_check_mount(), 0);
}

TEST_F(SdCard, KeepsBitsOfOtherChecks) {
  card_.make_healthy();
  EXPECT_EQ(sd_card_check_part(), 0);
  EXPECT_EQ(sd_card_check_mount(), 0);
  card_.list_partitions("");
  card_.list_mounts("");
  card_.pull_out();
  sd_card_check_plugin();
  gpio_driver.level = 1;
  sd_card_check_lock();
  EXPECT_EQ(sd_card_check_part(), 0);
  EXPECT_EQ(sd_card_check_mount(), 0);
}

TEST_F(SdCard, RejectsEveryOtherPartitionType) {
  card_.make_healthy();
  for (int type = 0; type < 256; ++type) {
    card_.on().remove("dev/mmcblk0");
    card_.write_type(static_cast<uint8_t>(type));
    EXPECT_EQ(sd_card_check_mount(), type == 0x0B ? 0 : 1) << type;
  }
}

TEST_F(SdCard, IgnoresTypeForOtherFileSystems) {
  card_.make_healthy();
  EXPECT_EQ(sd_card_check_mount(), 0);
  card_.write_type(0x83);
  card_.list_mounts("/dev/mmcblk0p1 /tmp/mmcblk0p1 ext4 rw 0 0\n");
  EXPECT_EQ(sd_card_check_mount(), 0);
}

TEST_F(SdCard, AcceptsCardThatCannotBeOpened) {
  card_.make_healthy();
  card_.write_type(0x0C);
  EXPECT_EQ(sd_card_check_mount(), 1);
  card_.on().set_fault("open", "/dev/mmcblk0", "EACCES");
  EXPECT_EQ(sd_card_check_mount(), 0);
}

TEST_F(SdCard, ReadsTypeOfShortCardIfPresent) {
  card_.make_healthy();
  card_.write_type(0x0B, 451);
  EXPECT_EQ(sd_card_check_mount(), 0);
  card_.write_type(0x0B, 450);
  EXPECT_EQ(sd_card_check_mount(), 1);
}

TEST_F(SdCard, IgnoresBytesNextToType) {
  card_.make_healthy();
  std::string sector(512, '\x0B');
  sector[450] = 0x0C;
  card_.on().write("dev/mmcblk0", sector);
  EXPECT_EQ(sd_card_check_mount(), 1);
}

// ----------------------------------------------------------------------------------------- the system's
// lists

std::string line_with(const std::string &text, size_t position) {
  return std::string(position, 'x') + text + "\n";
}

TEST_F(SdCard, ReadsLongLineInPieces) {
  const std::string name = "mmcblk0p1";
  const std::pair<size_t, int32_t> cases[] = {
      {254 - name.size(), 0}, {255 - name.size(), 1}, {253, 1}, {254, 0}, {508 - name.size(), 0}, {507, 1}};
  for (const auto &[position, result] : cases) {
    clear_bits();
    card_.on().write("proc/partitions", line_with(name, position));
    EXPECT_EQ(sd_card_check_part(), result) << position;
  }
}

TEST_F(SdCard, TreatsPiecesOfLongMountLineAsLines) {
  card_.write_type(0x0B);
  const std::string device = "/dev/mmcblk0p1 ", system = "vfat rw 0 0";
  for (const auto &[gap, result] : {std::pair<size_t, int32_t>{254 - 15 - 7, 0}, {254 - 15 - 6, 1}}) {
    clear_bits();
    card_.on().write("proc/mounts", device + line_with(system, gap));
    EXPECT_EQ(sd_card_check_mount(), result) << gap;
  }
}

TEST_F(SdCard, ReportsMissingLists) {
  card_.make_healthy();
  card_.on().remove("proc");
  stderr_capture said;
  EXPECT_EQ(sd_card_check_part(), 1);
  EXPECT_EQ(said.take(), fopen_error);
  EXPECT_EQ(sd_card_check_mount(), 1);
  EXPECT_EQ(said.take(), fopen_error);
  EXPECT_EQ(checked_status(), DRAVIK_CARD_PRESENT);
  EXPECT_EQ(said.take(), std::string{fopen_error} + fopen_error);
}

TEST_F(SdCard, LeavesBitsIfListIsMissing) {
  card_.make_healthy();
  EXPECT_EQ(checked_status(), DRAVIK_CARD_HEALTHY);
  card_.on().remove("proc");
  stderr_capture said;
  EXPECT_EQ(sd_card_check_part(), 0);
  EXPECT_EQ(sd_card_check_mount(), 0);
}

TEST_F(SdCard, PrintsNothingForHealthyCard) {
  card_.make_healthy();
  stderr_capture said;
  checked_status();
  EXPECT_EQ(said.take(), "");
}

TEST_F(SdCard, AcceptsEmptyLists) {
  card_.on().write("proc/partitions", "");
  card_.on().write("proc/mounts", "");
  EXPECT_EQ(checked_status(), 0x00);
}

TEST_F(SdCard, ChecksLeaveNoDescriptorOpen) {
  card_.make_healthy();
  const size_t before = open_descriptors();
  checked_status();
  EXPECT_EQ(open_descriptors(), before);
}

} // namespace
} // namespace dravik::test
