// The repairs of the card: their commands, which only the recorder sees, and the files they write.

#include "dravik.h"
#include "support/board.hpp"
#include "support/bytes.hpp"
#include "support/descriptors.hpp"
#include "support/recorded_system.hpp"

#include <array>
#include <gtest/gtest.h>

namespace dravik::test {
namespace {

using commands = std::vector<std::string>;

class SdCardRepair : public testing::Test {
protected:
  SdCardRepair() { require_recorder(); }
  ~SdCardRepair() override {
    EXPECT_FALSE(board_.exists("tmp/dravik.log")) << "a repair wrote to the event log";
  }

  board board_;

  static void every_command_gives(int status) {
    command_result = [status](const std::string &) { return status; };
  }
};

class SdCardCheckFs : public SdCardRepair {};
class SdCardCreatePart : public SdCardRepair {};
class SdCardFormat : public SdCardRepair {};

TEST_F(SdCardCheckFs, RunsCommandsInOrder) {
  EXPECT_EQ(sd_card_check_fs(), 0);
  EXPECT_EQ(recorded_commands,
            (commands{"/bin/umount /dev/mmcblk0p1", "/usr/local/bin/dosfsck -a /dev/mmcblk0p1",
                      "mount /dev/mmcblk0p1 /tmp/mmcblk0p1"}));
}

TEST_F(SdCardCheckFs, RecordsExitStatuses) {
  command_result = [](const std::string &) {
    return std::array{0, 256, -1}.at(recorded_commands.size() - 1);
  };
  EXPECT_EQ(sd_card_check_fs(), 0);
  EXPECT_EQ(board_.read("tmp/debugfs"), "ret : 0\nret : 256\nret : -1\n");
}

TEST_F(SdCardCheckFs, ContinuesAfterFailures) {
  every_command_gives(32512);
  EXPECT_EQ(sd_card_check_fs(), 0);
  EXPECT_EQ(recorded_commands.size(), 3U);
  EXPECT_EQ(board_.read("tmp/debugfs"), "ret : 32512\nret : 32512\nret : 32512\n");
}

TEST_F(SdCardCheckFs, RemovesOldRecordBeforeFirstCommand) {
  board_.write("tmp/debugfs", std::string(1000, 'x'));
  command_result = [this](const std::string &) {
    EXPECT_EQ(board_.read("tmp/debugfs").find('x'), std::string::npos);
    return 0;
  };
  sd_card_check_fs();
  EXPECT_EQ(board_.read("tmp/debugfs"), "ret : 0\nret : 0\nret : 0\n");
}

TEST_F(SdCardCheckFs, RunsWithoutItsRecord) {
  board_.set_fault("open", "/tmp/debugfs", "EROFS");
  EXPECT_EQ(sd_card_check_fs(), 0);
  EXPECT_EQ(recorded_commands.size(), 3U);
  EXPECT_FALSE(board_.exists("tmp/debugfs"));
}

TEST_F(SdCardCheckFs, LeavesNoDescriptorOpen) {
  const size_t before = open_descriptors();
  sd_card_check_fs();
  EXPECT_EQ(open_descriptors(), before);
}

/// The master boot record of a card with one FAT32 partition from sector 32 to its end.
bytes boot_record(uint32_t partition_sectors) {
  bytes record(512);
  record[447] = 0x01;
  record[448] = 0x01;
  record[450] = 0x0B;
  put_u32(record, 454, 32);
  put_u32(record, 458, partition_sectors);
  record[510] = 0x55;
  record[511] = 0xAA;
  return record;
}

TEST_F(SdCardCreatePart, RunsCommandsInOrder) {
  EXPECT_EQ(sd_card_create_part(15523840), 1);
  EXPECT_EQ(recorded_commands,
            (commands{"/bin/dd if=/tmp/mbr.img of=/dev/mmcblk0", "(sync)", "/sbin/reboot"}));
}

TEST_F(SdCardCreatePart, WritesBootRecordByteForByte) {
  const std::pair<uint32_t, uint32_t> cases[] = {{15523840, 15523808},
                                                 {62333952, 62333920},
                                                 {2048, 2016},
                                                 {33, 1},
                                                 {32, 0},
                                                 {31, 0xFFFFFFFF},
                                                 {0, 0xFFFFFFE0},
                                                 {0x80000000, 0x7FFFFFE0},
                                                 {0xFFFFFFFF, 0xFFFFFFDF},
                                                 {0x12345678, 0x12345658}};
  for (const auto &[sectors, partition_sectors] : cases) {
    sd_card_create_part(sectors);
    EXPECT_EQ(read_file(board_.path("tmp/mbr.img")), boot_record(partition_sectors)) << sectors;
  }
}

TEST_F(SdCardCreatePart, WritesPartitionLengthInLittleEndian) {
  sd_card_create_part(15523840);
  const std::string image = board_.read("tmp/mbr.img");
  ASSERT_EQ(image.size(), 512U);
  EXPECT_EQ(image.substr(454, 8), std::string_view("\x20\0\0\0\xE0\xDF\xEC\0", 8));
}

TEST_F(SdCardCreatePart, CompletesImageBeforeFirstCommand) {
  board_.write("tmp/mbr.img", std::string(5000, 'x'));
  command_result = [this](const std::string &) {
    EXPECT_EQ(read_file(board_.path("tmp/mbr.img")), boot_record(2016));
    return 0;
  };
  EXPECT_EQ(sd_card_create_part(2048), 1);
  EXPECT_EQ(recorded_commands.size(), 3U);
}

TEST_F(SdCardCreatePart, LeavesCardToCommand) {
  board_.write("dev/mmcblk0", "card");
  sd_card_create_part(2048);
  EXPECT_EQ(board_.read("dev/mmcblk0"), "card");
}

TEST_F(SdCardCreatePart, ContinuesAfterFailures) {
  every_command_gives(256);
  EXPECT_EQ(sd_card_create_part(2048), 1);
  EXPECT_EQ(recorded_commands.size(), 3U);
}

TEST_F(SdCardCreatePart, RunsNothingWithoutImage) {
  board_.set_fault("open", "/tmp/mbr.img", "ENOSPC");
  EXPECT_EQ(sd_card_create_part(2048), -1);
  EXPECT_EQ(recorded_commands, commands{});
  board_.clear_faults();
  board_.write("tmp/mbr.img/in the way", "");
  EXPECT_EQ(sd_card_create_part(2048), -1);
  EXPECT_EQ(recorded_commands, commands{});
}

TEST_F(SdCardCreatePart, LeavesNoDescriptorOpen) {
  const size_t before = open_descriptors();
  sd_card_create_part(2048);
  EXPECT_EQ(open_descriptors(), before);
}

TEST_F(SdCardFormat, RunsCommandsInOrder) {
  EXPECT_EQ(sd_card_format(), 1);
  EXPECT_EQ(recorded_commands,
            (commands{"/bin/umount /dev/mmcblk0p1", "/sbin/mkfs.vfat /dev/mmcblk0p1", "/sbin/reboot"}));
}

TEST_F(SdCardFormat, ContinuesAfterFailures) {
  every_command_gives(-1);
  EXPECT_EQ(sd_card_format(), 1);
  EXPECT_EQ(recorded_commands.size(), 3U);
}

TEST_F(SdCardFormat, WritesNoFile) {
  sd_card_format();
  EXPECT_FALSE(board_.exists("tmp/debugfs"));
  EXPECT_FALSE(board_.exists("tmp/mbr.img"));
}

} // namespace
} // namespace dravik::test
