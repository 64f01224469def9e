// The memory card behind a real host controller, with the kernel's FAT file system.

#include "memory_card.hpp"

#include <cerrno>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/vfs.h>

namespace {

using namespace dravik::vm;
using ::testing::HasSubstr;

std::string screenshot_path() {
  return "/tmp/mmcblk0p1/" + output_of("cd /tmp/mmcblk0p1 && printf '%s' q7_*.bmp");
}

class Card : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(gpio_init(), 0);
    ASSERT_TRUE(prepare_card());
  }
  ~Card() override {
    unmount_card();
    gpio_exit();
  }
};

TEST_F(Card, IsHealthy) {
  uint8_t status = 0;
  EXPECT_EQ(sd_card_check(&status), 0);
  EXPECT_EQ(status, DRAVIK_CARD_HEALTHY);
}

TEST_F(Card, IsNotMounted) {
  unmount_card();
  EXPECT_EQ(card_status(), DRAVIK_CARD_PRESENT | DRAVIK_CARD_PARTITIONED);
}

TEST_F(Card, IsLocked) {
  control("gpio 68 1");
  EXPECT_EQ(card_status(), DRAVIK_CARD_HEALTHY | DRAVIK_CARD_LOCKED);
}

TEST_F(Card, IsMountedReadOnly) {
  unmount_card();
  ASSERT_TRUE(mount_card("ro"));
  EXPECT_EQ(card_status(), 0xB8);
  EXPECT_FALSE(write_text("/tmp/mmcblk0p1/file", "text"));
}

TEST_F(Card, HasPartitionOfAnotherType) {
  unmount_card();
  ASSERT_TRUE(write_boot_record(boot_record_with(0x0C)));
  ASSERT_TRUE(wait_until(has_partition) && mount_card());
  EXPECT_EQ(card_status(), 0xB4);
}

TEST_F(Card, HasNoPartition) {
  unmount_card();
  ASSERT_TRUE(write_boot_record({}));
  ASSERT_TRUE(wait_until([] { return !has_partition(); }));
  EXPECT_EQ(card_status(), DRAVIK_CARD_PRESENT);
}

TEST_F(Card, IsRemovedAndInserted) {
  unmount_card();
  ASSERT_TRUE(remove_card());
  EXPECT_EQ(card_status(), 0);
  EXPECT_EQ(sd_card_check_plugin(), -1);
  ASSERT_TRUE(insert_card());
  EXPECT_EQ(card_status(), 0xA0);
  ASSERT_TRUE(mount_card());
  EXPECT_EQ(card_status(), DRAVIK_CARD_HEALTHY);
}

/// The mount outlives the card, and a new card does not revive it.
TEST_F(Card, IsRemovedWhileMounted) {
  ASSERT_TRUE(remove_card());
  EXPECT_EQ(card_status(), 0x1C);
  EXPECT_FALSE(write_text("/tmp/mmcblk0p1/file", "text") && run("sync -f /tmp/mmcblk0p1/file") == 0);
  ASSERT_TRUE(insert_card());
  EXPECT_EQ(card_status(), DRAVIK_CARD_HEALTHY);
  rec_file_list list;
  EXPECT_EQ(parse_rec_file_list(&list), -1);
  unmount_card();
  EXPECT_EQ(card_status(), 0xA0);
}

TEST_F(Card, IsRemovedWhileRecording) {
  const int recording = ::open("/tmp/mmcblk0p1/KVX00001.TS", O_WRONLY | O_CREAT, 0644);
  const std::string block(65536, 'r');
  ASSERT_EQ(::write(recording, block.data(), block.size()), 65536);
  ASSERT_EQ(::fsync(recording), 0);
  ASSERT_TRUE(remove_card());
  ssize_t written = 1;
  for (int i = 0; i < 64 && written > 0; ++i)
    written = ::fsync(recording) == 0 ? ::write(recording, block.data(), block.size()) : -1;
  EXPECT_LT(written, 0);
  EXPECT_EQ(errno, EIO);
  ::close(recording);
  ASSERT_TRUE(insert_card());
}

TEST_F(Card, ReportsSizes) {
  uint32_t sectors = 0;
  EXPECT_EQ(sd_card_get_raw_size(&sectors), 64);
  EXPECT_EQ(sectors, card_sectors);
  const std::string space = output_of("df -Pk /tmp/mmcblk0p1 | tail -n 1");
  unsigned size_kib = 0, free_kib = 0;
  ASSERT_EQ(std::sscanf(space.c_str(), "%*s %u %*u %u", &size_kib, &free_kib), 2);
  EXPECT_EQ(sd_card_get_part_size(), static_cast<int32_t>(size_kib >> 10));
  EXPECT_EQ(sd_card_get_free_space(), static_cast<int32_t>(free_kib >> 10));
}

/// Reserve all clusters of the card but a number of bytes, without writing them, while the result is open.
int fill_card(off_t free_bytes) {
  struct statfs space = {};
  ::statfs(mount_point, &space);
  const int filler = ::open("/tmp/mmcblk0p1/filler", O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  const auto size = static_cast<off_t>(space.f_bfree) * static_cast<off_t>(space.f_bsize) - free_bytes;
  EXPECT_EQ(::fallocate(filler, FALLOC_FL_KEEP_SIZE, 0, size), 0);
  return filler;
}

TEST_F(Card, IsFull) {
  const std::vector<uint16_t> pixels(size_t{640} * 480, 0x1234);
  const int filler = fill_card(1 << 20);
  EXPECT_EQ(sd_card_get_free_space(), 1);
  EXPECT_EQ(fb_get_bmp_file(pixels.data()), 0);
  EXPECT_EQ(run("dd if=/dev/zero of=/tmp/mmcblk0p1/rest bs=64k 2>/tmp/dd"), 1);
  EXPECT_THAT(read_text("/tmp/dd"), HasSubstr("No space left on device"));
  EXPECT_EQ(sd_card_get_free_space(), 0);
  EXPECT_EQ(card_status(), DRAVIK_CARD_HEALTHY);
  ASSERT_EQ(run("rm /tmp/mmcblk0p1/q7_*.bmp && head -c 8192 /dev/zero >/tmp/mmcblk0p1/more"), 0);
  EXPECT_EQ(fb_get_bmp_file(pixels.data()), -1);
  EXPECT_LT(read_text(screenshot_path()).size(), 614466U);
  ::close(filler);
}

TEST_F(Card, SavesScreenshot) {
  std::vector<uint16_t> pixels(size_t{640} * 480);
  for (size_t i = 0; i < pixels.size(); ++i)
    pixels[i] = static_cast<uint16_t>(i * 7);
  ASSERT_EQ(fb_get_bmp_file(pixels.data()), 0);
  ASSERT_EQ(run("umount /tmp/mmcblk0p1"), 0);
  ASSERT_TRUE(mount_card("ro"));
  const std::string file =
      read_text("/tmp/mmcblk0p1/" + output_of("cd /tmp/mmcblk0p1 && printf '%s' q7_*.bmp"));
  ASSERT_EQ(file.size(), 614466U);
  uint16_t last_row_first;
  std::memcpy(&last_row_first, &file[66], 2); // rows are stored bottom-up behind the masks
  EXPECT_EQ(last_row_first, pixels[size_t{640} * 479]);
}

TEST_F(Card, RepairsCleanCard) {
  ASSERT_TRUE(write_text("/tmp/mmcblk0p1/file", "kept"));
  EXPECT_EQ(sd_card_check_fs(), 0);
  EXPECT_EQ(read_text("/tmp/debugfs"), "ret : 0\nret : 0\nret : 0\n");
  EXPECT_EQ(read_text("/tmp/mmcblk0p1/file"), "kept");
  EXPECT_EQ(card_status(), DRAVIK_CARD_HEALTHY);
}

/// The cluster chain of a file leads outside the file system.
TEST_F(Card, RepairsBrokenChain) {
  ASSERT_TRUE(write_text("/tmp/mmcblk0p1/broken", std::string(16384, 'b')));
  ASSERT_TRUE(write_text("/tmp/mmcblk0p1/whole", std::string(16384, 'w')));
  unmount_card();
  // Cluster 3 is the first of the first file: entry 3 of the table behind 32 reserved sectors.
  ASSERT_EQ(
      run("printf '\\001\\000\\000\\000' | dd of=/dev/mmcblk0p1 bs=1 seek=16396 conv=notrunc 2>/dev/null"),
      0);
  ASSERT_TRUE(mount_card());
  EXPECT_EQ(card_status(), DRAVIK_CARD_HEALTHY);
  EXPECT_LT(read_text("/tmp/mmcblk0p1/broken").size(), 16384U);
  EXPECT_EQ(card_status(), 0xB8); // the first bad read made it read-only
  EXPECT_EQ(sd_card_check_fs(), 0);
  EXPECT_EQ(read_text("/tmp/debugfs"), "ret : 0\nret : 256\nret : 0\n");
  EXPECT_EQ(card_status(), DRAVIK_CARD_HEALTHY);
  EXPECT_EQ(read_text("/tmp/mmcblk0p1/whole"), std::string(16384, 'w'));
}

TEST_F(Card, ReportsRepairOfBusyCard) {
  const int held = ::open("/tmp/mmcblk0p1/held", O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  EXPECT_EQ(sd_card_check_fs(), 0);
  const std::vector<std::string> results = lines_of(read_text("/tmp/debugfs"));
  ASSERT_EQ(results.size(), 3U);
  EXPECT_EQ(results[0], "ret : 256");
  ::close(held);
}

TEST_F(Card, ReportsRepairWithoutCard) {
  unmount_card();
  ASSERT_TRUE(remove_card());
  EXPECT_EQ(sd_card_check_fs(), 0);
  EXPECT_THAT(lines_of(read_text("/tmp/debugfs")), ::testing::Not(::testing::Contains("ret : 0")));
  ASSERT_TRUE(insert_card());
}

TEST_F(Card, ToolChecksCard) {
  const std::string report = output_of("dravik-ctl card check");
  for (const char *line : {"present: yes", "healthy: yes", "status: 188", "sectors: 131072", "size mib: 64"})
    EXPECT_THAT(report, HasSubstr(line));
}

TEST_F(Card, ToolRepairsCard) {
  EXPECT_EQ(output_of("dravik-ctl card repair --yes"), "unmount: 0\ncheck: 0\nmount: 0\n");
}

} // namespace
