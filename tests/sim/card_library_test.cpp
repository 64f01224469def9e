// The library's own checks and repairs of the card, on a simulated card that other programs examine.

#include "dravik.h"
#include "sim/card_stage.hpp"

#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/statfs.h>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::HasSubstr;

/// Large enough for mkfs.vfat to choose FAT32 by itself.
class SimCardInUse : public SimCard {
protected:
  SimCardInUse() : SimCard(600) {}

  /// Without the write-protect switch, which is a GPIO line.
  static int status() {
    uint8_t status = 0;
    sd_card_check(&status);
    return status & ~DRAVIK_CARD_LOCKED;
  }
  void expect_restart(int32_t (*repair)()) const {
    EXPECT_EXIT(repair(), ExitedWithCode(75), "reboot: board reboots");
  }
  static constexpr uint32_t sectors = 600 * 2048;
};

TEST_F(SimCardInUse, IsHealthyAndOfItsSize) {
  EXPECT_EQ(status(), DRAVIK_CARD_HEALTHY);
  uint32_t reported = 0;
  EXPECT_EQ(sd_card_get_raw_size(&reported), 600);
  EXPECT_EQ(reported, sectors);
  // 600 MiB without 16 KiB before the partition and two tables of 4 bytes for each cluster of 4 KiB: 598.8
  EXPECT_EQ(sd_card_get_part_size(), 598);
  EXPECT_EQ(sd_card_get_free_space(), 598);
  board_.write("tmp/mmcblk0p1/film", "");
  EXPECT_EQ(::truncate(board_.path("tmp/mmcblk0p1/film").c_str(), 100 << 20), 0);
  EXPECT_EQ(sd_card_get_part_size(), 598);
  EXPECT_EQ(sd_card_get_free_space(), 498);
}

TEST_F(SimCardInUse, ReportsRemovalInEveryScan) {
  take_out();
  EXPECT_EQ(status(), 0x00);
  EXPECT_EQ(sd_card_check_plugin(), -1);
  EXPECT_EQ(sd_card_check_part(), 1);
  EXPECT_EQ(sd_card_check_mount(), 1);
  uint32_t reported = 1;
  EXPECT_EQ(sd_card_get_raw_size(&reported), 0);
  EXPECT_EQ(reported, 0U);
  rec_file_list list;
  EXPECT_EQ(parse_rec_file_list(&list), -1);
  put_in();
  EXPECT_EQ(status(), DRAVIK_CARD_HEALTHY);
}

TEST_F(SimCardInUse, ReportsLockedAsNotWritable) {
  put_in(sim::card_lock::on);
  EXPECT_EQ(status(), DRAVIK_CARD_HEALTHY & ~DRAVIK_CARD_WRITABLE);
}

TEST_F(SimCardInUse, EndsWritesWithItsFreeSpace) {
  struct statfs64 space;
  ASSERT_EQ(::statfs64("/tmp/mmcblk0p1", &space), 0);
  const auto cluster = static_cast<off64_t>(space.f_bsize);
  const off64_t all = static_cast<off64_t>(space.f_bfree) * cluster;
  const std::string block(static_cast<size_t>(2 * cluster), 'f');
  const int film = ::open("/tmp/mmcblk0p1/FILM", O_WRONLY | O_CREAT | O_APPEND, 0644);
  EXPECT_EQ(::ftruncate64(film, all + 1), -1);
  EXPECT_EQ(errno, ENOSPC);
  ASSERT_EQ(::ftruncate64(film, all - 3 * cluster), 0);
  EXPECT_EQ(::write(film, block.data(), block.size()), 2 * cluster);
  EXPECT_EQ(::write(film, block.data(), block.size()), cluster) << "the last one";
  EXPECT_EQ(::write(film, block.data(), 1), -1);
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_EQ(::pwrite(film, block.data(), 1, 0), -1) << "appends";
  const int other = ::open("/tmp/mmcblk0p1/FILM", O_WRONLY);
  EXPECT_EQ(::pwrite(other, block.data(), 1, 0), 1) << "needs no space";
  ::close(other);
  ASSERT_EQ(::statfs64("/tmp/mmcblk0p1", &space), 0);
  EXPECT_EQ(space.f_bfree, 0U);
  ::close(film);
  unmount();
  mount();
  EXPECT_EQ(std::filesystem::file_size(board_.path("tmp/mmcblk0p1/FILM")), static_cast<uint64_t>(all));
}

TEST_F(SimCardInUse, CutsScreenshotIfFull) {
  struct statfs64 space;
  ASSERT_EQ(::statfs64("/tmp/mmcblk0p1", &space), 0);
  const auto cluster = static_cast<off64_t>(space.f_bsize);
  const int film = ::open("/tmp/mmcblk0p1/FILM", O_WRONLY | O_CREAT, 0644);
  ASSERT_EQ(::ftruncate64(film, (static_cast<off64_t>(space.f_bfree) - 100) * cluster), 0);
  ::close(film);
  const std::vector<uint16_t> pixels(size_t{640} * 480, 0x1234);
  EXPECT_EQ(fb_get_bmp_file(pixels.data()), -1);
  int screenshots = 0;
  for (const auto &entry : std::filesystem::directory_iterator{board_.path("tmp/mmcblk0p1")})
    if (entry.path().extension() == ".bmp") {
      EXPECT_LT(entry.file_size(), 614466U);
      EXPECT_GT(entry.file_size(), 0U);
      ++screenshots;
    }
  EXPECT_EQ(screenshots, 1);
  ASSERT_EQ(::unlink("/tmp/mmcblk0p1/FILM"), 0);
  EXPECT_EQ(fb_get_bmp_file(pixels.data()), 0);
}

TEST_F(SimCardInUse, FindsRecordings) {
  take_out();
  board_.write("film", std::string(5 << 20, 'f'));
  said_by_mtools("mmd", {"::/REC"});
  for (const char *name : {"KVX00003.TS", "KVX00004.TS", "EMB00001.TS"})
    said_by_mtools("mcopy", {board_.path("film"), std::string{"::/REC/"} + name});
  put_in();
  rec_file_list list;
  EXPECT_EQ(parse_rec_file_list(&list), 0);
  EXPECT_EQ(list.normal_count, 2);
  EXPECT_EQ(list.normal_size, 10);
  EXPECT_EQ(list.event_count, 1);
  EXPECT_EQ(list.event_oldest, 1);
}

TEST_F(SimCardInUse, ChangesNothingOnCheckOfSoundCard) {
  board_.write("tmp/mmcblk0p1/REC/KVX00001.TS", "film");
  EXPECT_EQ(sd_card_check_fs(), 0);
  EXPECT_EQ(board_.read("tmp/debugfs"), "ret : 0\nret : 0\nret : 0\n");
  EXPECT_THAT(board_.events(), ElementsAre("shell: /bin/umount /dev/mmcblk0p1",
                                           "shell: /usr/local/bin/dosfsck -a /dev/mmcblk0p1",
                                           "shell: mount /dev/mmcblk0p1 /tmp/mmcblk0p1"));
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/REC/KVX00001.TS"), "film");
  EXPECT_EQ(status(), DRAVIK_CARD_HEALTHY);
}

TEST_F(SimCardInUse, RepairsDamagedCard) {
  board_.write("tmp/mmcblk0p1/film", std::string(20000, 'd'));
  take_out();
  const off_t table = 16384 + static_cast<uint8_t>(bytes_of_image(16384 + 14, 1)[0]) * 512;
  change_image(table + 16, {"\4\0\0\0", 4}); // the second cluster of the film is followed by itself
  checked_output_of_fsck(1);
  put_in();
  EXPECT_EQ(status(), DRAVIK_CARD_HEALTHY);
  EXPECT_EQ(sd_card_check_fs(), 0);
  EXPECT_EQ(board_.read("tmp/debugfs"), "ret : 0\nret : 256\nret : 0\n");
  EXPECT_EQ(status(), DRAVIK_CARD_HEALTHY);
  take_out();
  checked_output_of_fsck(0);
}

TEST_F(SimCardInUse, FormatsEmptyFat32AndMountsIt) {
  board_.write("tmp/mmcblk0p1/REC/KVX00001.TS", "film");
  expect_restart([] { return sd_card_format(); });
  EXPECT_THAT(board_.events(), ElementsAre("shell: /bin/umount /dev/mmcblk0p1",
                                           "shell: /sbin/mkfs.vfat /dev/mmcblk0p1", "shell: /sbin/reboot"));
  EXPECT_FALSE(board_.exists("tmp/mmcblk0p1/REC"));
  EXPECT_EQ(status(), DRAVIK_CARD_HEALTHY);
  take_out();
  expect_no_files_on_card();
  EXPECT_EQ(bytes_of_image(16384 + 82, 8), "FAT32   ");
  EXPECT_THAT(checked_output_of_fsck(), HasSubstr(": 0 files, 1/"));
}

TEST_F(SimCardInUse, PartitionsAndFormatsBlankCard) {
  take_out();
  ASSERT_EQ(::truncate(image().c_str(), 0), 0);
  ASSERT_EQ(::truncate(image().c_str(), off_t{sectors} * 512), 0);
  put_in();
  EXPECT_EQ(status(), DRAVIK_CARD_PRESENT);

  expect_restart([] { return sd_card_create_part(SimCardInUse::sectors); });
  EXPECT_THAT(board_.events(),
              ElementsAre("shell: /bin/dd if=/tmp/mbr.img of=/dev/mmcblk0", "sync", "shell: /sbin/reboot"));
  // One entry: no start-up flag, head 1 sector 1, type 0B, sectors 32 to 1228800; then three empty ones
  EXPECT_EQ(bytes_of_image(446, 66), std::string("\0\1\1\0\x0B\0\0\0\x20\0\0\0\xE0\xBF\x12\0", 16) +
                                         std::string(48, '\0') + "\x55\xAA");
  EXPECT_THAT(checked_output({"/usr/sbin/sfdisk", "-d", image()}),
              HasSubstr(": start=          32, size=     1228768, type=b\n"));
  EXPECT_EQ(std::filesystem::file_size(image()), uint64_t{sectors} * 512);
  EXPECT_EQ(status(), DRAVIK_CARD_PRESENT | DRAVIK_CARD_PARTITIONED);

  expect_restart([] { return sd_card_format(); });
  EXPECT_EQ(status(), DRAVIK_CARD_HEALTHY);
}

TEST_F(SimCardInUse, KeepsFilesOfHealthyCardOnPartition) {
  board_.write("tmp/mmcblk0p1/REC/KVX00001.TS", "film");
  expect_restart([] { return sd_card_create_part(SimCardInUse::sectors); });
  EXPECT_EQ(status(), DRAVIK_CARD_HEALTHY);
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/REC/KVX00001.TS"), "film");
}

TEST_F(SimCardInUse, UsesPartitionTableAfterNextRestart) {
  board_.write("tmp/mbr.img", std::string(512, '\0'));
  EXPECT_EQ(run_command("/bin/dd if=/tmp/mbr.img of=/dev/mmcblk0 2>/dev/null"), 0);
  EXPECT_EQ(status() & (DRAVIK_CARD_PARTITIONED | DRAVIK_CARD_MOUNTED),
            DRAVIK_CARD_PARTITIONED | DRAVIK_CARD_MOUNTED)
      << "the kernel still knows the partition";
  expect_restart([] { return static_cast<int32_t>(std::system("/sbin/reboot")); });
  EXPECT_EQ(status(), DRAVIK_CARD_PRESENT);
}

TEST_F(SimCardInUse, ReportsOnlyPartitionType0BAsHealthy) {
  change_image(450, "\x0C");
  EXPECT_EQ(status(), DRAVIK_CARD_HEALTHY & ~DRAVIK_CARD_FAT32);
}

TEST_F(SimCardInUse, ReadsSplashLanguageOfSettings) {
  board_.set("splash_language", "de");
  char language[3];
  EXPECT_EQ(get_splash_lang(language), 0);
  EXPECT_STREQ(language, "de");
}

} // namespace
} // namespace dravik::test
