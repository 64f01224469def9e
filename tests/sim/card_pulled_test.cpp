// A card that is pulled while it is mounted, on a board without a script that follows it.

#include "dravik.h"
#include "sim/card_stage.hpp"

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <thread>

namespace dravik::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class SimCardPulled : public SimCard {
protected:
  SimCardPulled() : SimCard(sim::smallest_card_mebibytes, mounts_by::kernel) {
    board_.write("tmp/mmcblk0p1/film", "film");
  }

  /// Without the write-protect switch, which is a GPIO line.
  static int status() {
    uint8_t status = 0;
    sd_card_check(&status);
    return status & ~DRAVIK_CARD_LOCKED;
  }
  template <typename Result> static void expect_input_error(Result result) {
    EXPECT_EQ(result, Result{-1});
    EXPECT_EQ(errno, EIO);
    errno = 0;
  }
};

TEST_F(SimCardPulled, LeavesItsMount) {
  EXPECT_EQ(status(), DRAVIK_CARD_HEALTHY);
  take_out();
  EXPECT_EQ(status(), 0x1C);
  EXPECT_THAT(mount_line(), StartsWith("/dev/mmcblk0p1 /tmp/mmcblk0p1 vfat rw,"));
  EXPECT_FALSE(board_.exists("dev/mmcblk0"));
  uint32_t sectors = 1;
  EXPECT_EQ(sd_card_get_raw_size(&sectors), 0);
  EXPECT_EQ(sd_card_get_part_size(), 0);
  EXPECT_EQ(sd_card_get_free_space(), 0);
}

TEST_F(SimCardPulled, HasNoOtherFollowerThanAScript) {
  for (const char *follower : {"kernel", "Script", ""}) {
    board_.set("card_mounts", follower);
    take_out();
    EXPECT_EQ(status(), 0x1C) << follower;
    put_in();
    unmount();
    mount();
  }
  board_.set("card_mounts", "script");
  take_out();
  EXPECT_EQ(status(), 0x00);
  put_in();
  EXPECT_EQ(status(), DRAVIK_CARD_HEALTHY);
}

TEST_F(SimCardPulled, FailsWithInputErrorOnEveryPath) {
  take_out();
  struct stat file;
  struct statfs space;
  expect_input_error(::open("/tmp/mmcblk0p1/film", O_RDONLY));
  expect_input_error(::open("/tmp/mmcblk0p1/new", O_WRONLY | O_CREAT, 0644));
  expect_input_error(::stat("/tmp/mmcblk0p1/film", &file));
  expect_input_error(::statfs("/tmp/mmcblk0p1", &space));
  expect_input_error(::mkdir("/tmp/mmcblk0p1/REC", 0755));
  expect_input_error(::unlink("/tmp/mmcblk0p1/film"));
  expect_input_error(::rename("/tmp/mmcblk0p1/film", "/tmp/mmcblk0p1/other"));
  expect_input_error(::access("/tmp/mmcblk0p1/film", R_OK));
  EXPECT_EQ(std::fopen("/tmp/mmcblk0p1/film", "r"), nullptr);
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(::stat("/tmp/mmcblk0p1", &file), 0) << "the mount point is known";
}

TEST_F(SimCardPulled, FailsWithInputErrorOnOpenFiles) {
  const int film = ::open("/tmp/mmcblk0p1/film", O_RDWR | O_CLOEXEC);
  std::FILE *stream = std::fopen("/tmp/mmcblk0p1/stream", "w");
  ASSERT_NE(stream, nullptr);
  take_out();
  char byte = 'x';
  struct statfs space;
  expect_input_error(::write(film, &byte, 1));
  expect_input_error(::pwrite(film, &byte, 1, 0));
  expect_input_error(::read(film, &byte, 1));
  expect_input_error(::pread(film, &byte, 1, 0));
  expect_input_error(::ftruncate(film, 0));
  expect_input_error(::fsync(film));
  expect_input_error(::fdatasync(film));
  expect_input_error(::fstatfs(film, &space));
  EXPECT_EQ(std::fwrite("text", 1, 4, stream), 0U);
  EXPECT_EQ(errno, EIO);
  EXPECT_NE(std::ferror(stream), 0);
  std::fclose(stream);
  ::close(film);
  EXPECT_EQ(file_on_card("film"), "film");
}

TEST_F(SimCardPulled, SavesNoScreenshot) {
  const std::vector<uint16_t> pixels(size_t{640} * 480, 0x1234);
  take_out();
  expect_input_error(fb_get_bmp_file(pixels.data()));
  put_in();
  expect_input_error(fb_get_bmp_file(pixels.data()));
  EXPECT_EQ(files_on_card(), "::/film\n");
}

TEST_F(SimCardPulled, IsNotRevivedByACardThatIsPutIn) {
  const std::vector<uint16_t> pixels(size_t{640} * 480, 0x1234);
  board_.write("tmp/mmcblk0p1/REC/KVX00001.TS", "film");
  take_out();
  put_in();
  EXPECT_EQ(status(), DRAVIK_CARD_HEALTHY);
  rec_file_list list;
  EXPECT_EQ(parse_rec_file_list(&list), -1);
  EXPECT_EQ(sd_card_get_part_size(), 0);
  take_out();
  put_in();
  EXPECT_EQ(parse_rec_file_list(&list), -1) << "in again";
  unmount();
  EXPECT_EQ(status(), 0xA0);
  EXPECT_FALSE(board_.exists("tmp/mmcblk0p1/REC"));
  mount();
  EXPECT_EQ(status(), DRAVIK_CARD_HEALTHY);
  EXPECT_EQ(parse_rec_file_list(&list), 0);
  EXPECT_EQ(fb_get_bmp_file(pixels.data()), 0);
}

/// The kernel reports a card before the partition on it.
TEST_F(SimCardPulled, ComesInBeforeItsPartition) {
  take_out();
  std::thread other{[this] { put_in(); }};
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds{30};
  int seen = status();
  while (seen == 0x1C && std::chrono::steady_clock::now() < limit)
    seen = status();
  EXPECT_EQ(seen, 0x9C);
  other.join();
  EXPECT_EQ(status(), DRAVIK_CARD_HEALTHY);
}

TEST_F(SimCardPulled, IsNotMountedIfPutIn) {
  unmount();
  take_out();
  EXPECT_EQ(status(), 0x00);
  put_in();
  EXPECT_EQ(status(), 0xA0);
  mount();
  EXPECT_EQ(status(), DRAVIK_CARD_HEALTHY);
}

TEST_F(SimCardPulled, IsMountedAtNextRestart) {
  std::string error;
  take_out();
  EXPECT_TRUE(sim::restart_card(board_.path(), error)) << error;
  EXPECT_EQ(status(), 0x00);
  put_in();
  EXPECT_EQ(status(), 0xA0);
  EXPECT_TRUE(sim::restart_card(board_.path(), error)) << error;
  EXPECT_EQ(status(), DRAVIK_CARD_HEALTHY);
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/film"), "film");
}

TEST_F(SimCardPulled, IsBusyWhileItsFilesAreOpen) {
  const int film = ::open("/tmp/mmcblk0p1/film", O_RDONLY | O_CLOEXEC);
  take_out();
  EXPECT_EQ(run_command("/bin/umount /dev/mmcblk0p1 2> /dev/null"), 1);
  EXPECT_EQ(status(), 0x1C);
  ::close(film);
  unmount();
  EXPECT_EQ(status(), 0x00);
}

TEST_F(SimCardPulled, IsUncleanUntilRepaired) {
  take_out();
  EXPECT_EQ(bytes_of_image(16384 + 65, 1), "\1");
  EXPECT_THAT(checked_output_of_fsck(1), HasSubstr("Dirty bit is set."));
  put_in();
  EXPECT_EQ(sd_card_check_fs(), 0);
  EXPECT_EQ(board_.read("tmp/debugfs"), "ret : 0\nret : 256\nret : 0\n");
  EXPECT_EQ(sd_card_check_fs(), 0);
  EXPECT_EQ(board_.read("tmp/debugfs"), "ret : 0\nret : 0\nret : 0\n");
  EXPECT_EQ(board_.read("tmp/mmcblk0p1/film"), "film");
}

TEST_F(SimCardPulled, StaysUncleanIfOnlyMountedAgain) {
  take_out();
  put_in();
  unmount();
  mount();
  EXPECT_EQ(status(), DRAVIK_CARD_HEALTHY);
  unmount();
  checked_output_of_fsck(1);
}

TEST_F(SimCardPulled, IsCleanIfMountedReadOnlyOrNotAtAll) {
  unmount();
  take_out();
  checked_output_of_fsck(0);
  put_in(sim::card_lock::on);
  mount();
  take_out();
  EXPECT_EQ(status(), 0x18);
  checked_output_of_fsck(0);
}

TEST_F(SimCardPulled, KeepsNothingWrittenBesideTheCard) {
  take_out();
  EXPECT_EQ(run_program({"touch", board_.path("tmp/mmcblk0p1/late")}), 0);
  put_in();
  unmount();
  EXPECT_EQ(files_on_card(), "::/film\n");
}

} // namespace
} // namespace dravik::test
