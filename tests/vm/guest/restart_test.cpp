// What ends the machine: partitioning and formatting the card, and a loss of power. Each suite runs in a boot that
// finds the card as the one before left it.

#include "memory_card.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using namespace dravik::vm;

constexpr int finished_recordings = 3;

std::string recording(int number) {
  return "/tmp/mmcblk0p1/REC/KVX0000" + std::to_string(number) + ".TS";
}

std::string content_of(int number) {
  std::string content(1 << 20, '\0');
  for (size_t i = 0; i < content.size(); ++i)
    content[i] = static_cast<char>(i * 31 + i / 4096 + static_cast<size_t>(number));
  return content;
}

void record_and_finish(int number) {
  const std::string content = content_of(number);
  const int file = ::open(recording(number).c_str(), O_WRONLY | O_CREAT, 0644);
  ASSERT_EQ(::write(file, content.data(), content.size()), static_cast<ssize_t>(content.size()));
  ASSERT_EQ(::fsync(file), 0);
  ASSERT_EQ(::close(file), 0);
  ::sync();
}

TEST(Partition, Reboots) {
  ASSERT_TRUE(prepare_card());
  unmount_card();
  uint32_t sectors = 0;
  sd_card_get_raw_size(&sectors);
  ASSERT_EQ(ask("reboot"), "ok");
  sd_card_create_part(sectors);
  FAIL() << "no reboot";
}

/// One FAT32 partition from sector 32 to the end.
TEST(PartitionedCard, HasBootRecord) {
  const std::array<uint8_t, 512> record = read_boot_record();
  constexpr std::array<uint8_t, 16> entry = {0, 1, 1, 0, 0x0B, 0, 0, 0, 32, 0, 0, 0, 0xE0, 0xFF, 0x01, 0};
  EXPECT_THAT(std::vector<uint8_t>(record.begin() + 446, record.begin() + 462),
              ::testing::ElementsAreArray(entry));
  EXPECT_EQ(record[510], 0x55);
  EXPECT_EQ(record[511], 0xAA);
  EXPECT_EQ(read_text("/sys/block/mmcblk0/mmcblk0p1/start"), "32\n");
  EXPECT_EQ(read_text("/sys/block/mmcblk0/mmcblk0p1/size"), "131040\n");
}

TEST(Format, Reboots) {
  ASSERT_TRUE(wait_until(has_partition));
  ASSERT_EQ(ask("reboot"), "ok");
  sd_card_format();
  FAIL() << "no reboot";
}

TEST(FormattedCard, IsHealthyAndEmpty) {
  ASSERT_TRUE(wait_until(has_partition));
  ASSERT_EQ(gpio_init(), 0);
  ASSERT_EQ(run("mount /dev/mmcblk0p1 /tmp/mmcblk0p1"), 0);
  EXPECT_EQ(card_status(), DRAVIK_CARD_HEALTHY);
  EXPECT_EQ(output_of("ls -A /tmp/mmcblk0p1"), "");
}

TEST(PowerCut, EndsRecording) {
  ASSERT_TRUE(prepare_card());
  ASSERT_EQ(::mkdir("/tmp/mmcblk0p1/REC", 0755), 0);
  for (int number = 1; number <= finished_recordings; ++number)
    record_and_finish(number);
  const std::string content = content_of(9);
  const int file = ::open(recording(9).c_str(), O_WRONLY | O_CREAT, 0644);
  ASSERT_EQ(::write(file, content.data(), content.size() / 2), static_cast<ssize_t>(content.size() / 2));
  ASSERT_EQ(::fdatasync(file), 0);
  ASSERT_GT(::write(file, content.data(), content.size() / 2), 0);
  end_by("cut");
}

class CardAfterPowerCut : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(wait_until(has_partition));
    ASSERT_EQ(gpio_init(), 0);
    unmount_card();
    ASSERT_TRUE(mount_card());
  }
  ~CardAfterPowerCut() override { unmount_card(); }

  static void expect_finished_recordings() {
    for (int number = 1; number <= finished_recordings; ++number)
      EXPECT_EQ(read_text(recording(number)) == content_of(number), true) << recording(number);
  }
};

TEST_F(CardAfterPowerCut, HasFinishedRecordings) {
  EXPECT_EQ(card_status(), DRAVIK_CARD_HEALTHY);
  expect_finished_recordings();
  rec_file_list list;
  EXPECT_EQ(parse_rec_file_list(&list), 0);
  EXPECT_GE(list.normal_count, finished_recordings);
}

TEST_F(CardAfterPowerCut, IsRepairedWithoutLoss) {
  EXPECT_EQ(sd_card_check_fs(), 0);
  EXPECT_EQ(read_text("/tmp/debugfs"),
            "ret : 0\nret : 256\nret : 0\n"); // the mark of an unclean card is removed
  expect_finished_recordings();
  EXPECT_EQ(sd_card_check_fs(), 0);
  EXPECT_EQ(read_text("/tmp/debugfs"), "ret : 0\nret : 0\nret : 0\n");
}

} // namespace
