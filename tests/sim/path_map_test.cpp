// Which paths are the board's, however they are spelled, and which are left alone.

#include "board/use_board.h"
#include "sim/library_call.hpp"
#include "support/board.hpp"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dravik::test {
namespace {

bool same_file(const std::string &one, const std::string &other) {
  struct stat first;
  struct stat second;
  return ::stat(one.c_str(), &first) == 0 && ::stat(other.c_str(), &second) == 0 &&
         first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

class SimFixedPath : public testing::TestWithParam<const char *> {};

TEST_P(SimFixedPath, IsInBoard) {
  const board board;
  board.write(GetParam(), "here");
  EXPECT_TRUE(same_file(GetParam(), board.path(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(Paths, SimFixedPath,
                         testing::Values("/dev/fb0", "/dev/ttyS0", "/dev/ambad", "/dev/i2c-0", "/dev/mmcblk0",
                                         "/dev/mmcblk0p1", "/proc/ambarella/adc", "/proc/ambarella/hdmi_edid",
                                         "/proc/modules", "/proc/partitions", "/proc/mounts",
                                         "/sys/block/mmcblk0/size", "/sys/block/mmcblk0/mmcblk0p1/size",
                                         "/sys/class/backlight/pwm-backlight.0/bl_power", "/tmp/dravik.log",
                                         "/tmp/mmcblk0p1/REC/a.avi", "/tmp/add/areacode.bin", "/tmp/ptb",
                                         "/tmp/debugfs", "/tmp/mbr.img", "/usr/local/dravik/font/arial.ttf"));

class SimSpelling : public testing::TestWithParam<const char *> {};

TEST_P(SimSpelling, NamesTheBoardsLog) {
  const board board;
  board.write("tmp/dravik.log", "");
  EXPECT_TRUE(same_file(GetParam(), board.path("tmp/dravik.log")));
}

INSTANTIATE_TEST_SUITE_P(Of, SimSpelling,
                         testing::Values("/tmp/dravik.log", "//tmp/dravik.log", "/tmp//dravik.log",
                                         "/./tmp/././dravik.log", "/tmp/add/../dravik.log",
                                         "/tmp/nowhere/../dravik.log", "/../../tmp/dravik.log",
                                         "/tmp/mmcblk0p1/../add/.././dravik.log"));

class SimHostPath : public testing::TestWithParam<const char *> {};

TEST_P(SimHostPath, IsLeftAlone) {
  const board board;
  board.write(GetParam(), "never seen");
  EXPECT_FALSE(same_file(GetParam(), board.path(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(Paths, SimHostPath,
                         testing::Values("/dev/null", "/dev/fb00", "/dev/fb", "/proc/self/status",
                                         "/proc/modulesx", "/sys/class/net/lo/mtu", "/tmp/dravik.log2",
                                         "/tmp/additional", "/usr/local/dravikx/a", "/etc/passwd",
                                         "/tmp/ptb.old"));

TEST(SimPathMap, NeverEscapesThroughDotDot) {
  const board board;
  board.write("tmp/dravik-neighbour", "");
  struct stat status;
  EXPECT_EQ(::stat("/tmp/mmcblk0p1/../dravik-neighbour", &status), -1);
  EXPECT_TRUE(same_file("/tmp/mmcblk0p1/../../etc/passwd", "/etc/passwd"));
  EXPECT_TRUE(same_file("/usr/local/dravik/../../../../../..", "/"));
}

TEST(SimPathMap, FollowsWorkingDirectory) {
  const board board;
  board.write("tmp/dravik.log", "");
  ASSERT_EQ(::chdir("/tmp"), 0);
  EXPECT_TRUE(same_file("dravik.log", board.path("tmp/dravik.log")));
  ASSERT_EQ(::chdir("mmcblk0p1"), 0);
  EXPECT_TRUE(same_file(".", board.path("tmp/mmcblk0p1")));
  EXPECT_TRUE(same_file("../dravik.log", board.path("tmp/dravik.log")));
  EXPECT_TRUE(same_file("..", "/tmp"));
  EXPECT_TRUE(same_file("../..", "/"));
  EXPECT_TRUE(same_file("../../../etc/passwd", "/etc/passwd"));
}

TEST(SimPathMap, ReachesFilesOfBoardByRealName) {
  const board board;
  board.write("tmp/dravik.log", "");
  EXPECT_EQ(::access(board.path("tmp/dravik.log").c_str(), F_OK), 0);
  ASSERT_EQ(::chdir(board.path().c_str()), 0);
  EXPECT_EQ(::access("board.conf", F_OK), 0);
  EXPECT_EQ(::access("tmp/../events", F_OK), 0);
}

TEST(SimPathMap, ReachesBoardInBoardPathByRealName) {
  const board outer;
  const std::string inner = outer.path("usr/local/dravik/inner");
  std::filesystem::create_directories(inner + "/tmp");
  ::dravik_sim_use_board(inner.c_str());
  const int made = ::open((inner + "/tmp/ptb").c_str(), O_WRONLY | O_CREAT, 0644);
  EXPECT_GE(made, 0);
  ::close(made);
  EXPECT_TRUE(same_file("/tmp/ptb", inner + "/tmp/ptb"));
}

TEST(SimPathMap, AcceptsLinkAsBoard) {
  const board board;
  const std::string link = board.path() + "-link";
  ASSERT_EQ(::symlink(board.path().c_str(), link.c_str()), 0);
  ::dravik_sim_use_board((link + "/").c_str());
  const int screen = ::open("/dev/fb0", O_RDWR);
  EXPECT_EQ(::ioctl(screen, 0x4611, 1), 0);
  EXPECT_EQ(board.events().size(), 1U);
  ::close(screen);
  ::unlink(link.c_str());
}

TEST(SimPathMap, RejectsRelativeBoard) {
  const board board;
  ASSERT_EQ(::chdir(board.path().c_str()), 0);
  ::dravik_sim_use_board(".");
  EXPECT_EQ(::open("/tmp/dravik.log", O_WRONLY | O_CREAT, 0644), -1);
  EXPECT_EQ(errno, ENOTDIR);
}

TEST(SimPathMap, TreatsEmptyNameAsNoBoard) {
  const board board;
  board.write("tmp/debugfs", "");
  ::dravik_sim_use_board("");
  EXPECT_FALSE(same_file("/tmp/debugfs", board.path("tmp/debugfs")));
}

TEST(SimPathMap, RejectsOverlongPath) {
  const board board;
  const std::string overlong = std::string{"/tmp/mmcblk0p1/"}.append(1100, '/').append(1100, 'n');
  EXPECT_EQ(::access(overlong.c_str(), F_OK), -1);
  EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST(SimPathMap, AcceptsLongSpellingOfShortPath) {
  const board board;
  board.write("tmp/ptb", "");
  EXPECT_TRUE(same_file(std::string{"/tmp"}.append(3000, '/').append("ptb"), board.path("tmp/ptb")));
}

TEST(SimPathMap, RequiresDirectoryForTrailingSlash) {
  const board board;
  board.write("tmp/dravik.log", "");
  EXPECT_EQ(::access("/tmp/dravik.log/", F_OK), -1);
  EXPECT_EQ(errno, ENOTDIR);
  EXPECT_EQ(::access("/tmp/add/", F_OK), 0);
}

TEST(SimPathMap, FailsForNullAndEmptyPathAsWithoutBoard) {
  const board board;
  const auto open_file = library_call<int(const char *, int, ...)>("open"); // the header would forbid no path
  EXPECT_EQ(open_file(nullptr, O_RDONLY), -1);
  EXPECT_EQ(errno, EFAULT);
  EXPECT_EQ(open_file("", O_RDONLY), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST(SimPathMap, LeavesErrnoOnSuccess) {
  const board board;
  board.write("tmp/ptb", "");
  errno = 0;
  EXPECT_EQ(::access("/tmp/ptb", F_OK), 0);
  const int descriptor = ::open("/dev/fb0", O_RDWR);
  EXPECT_GE(descriptor, 0);
  EXPECT_EQ(errno, 0);
  ::close(descriptor);
}

} // namespace
} // namespace dravik::test
