// Files below /sys, /proc and /dev behave as the kernel has them, not as plain files do.

#include "support/board.hpp"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace dravik::test {
namespace {

constexpr const char *brightness = "/sys/class/backlight/pwm-backlight.0/brightness";

class SimAttribute : public testing::Test {
protected:
  ~SimAttribute() override { ::close(descriptor); }
  void open_it(int flags) {
    descriptor = ::open(brightness, flags, 0644);
    ASSERT_GE(descriptor, 0);
  }
  const board board_;
  int descriptor = -1;
};

TEST_F(SimAttribute, KeepsLastOfSeveralWrites) {
  open_it(O_RDWR | O_TRUNC);
  EXPECT_EQ(::write(descriptor, "500", 3), 3);
  EXPECT_EQ(::write(descriptor, "1000", 4), 4);
  EXPECT_EQ(board_.read(brightness), "1000");
  EXPECT_EQ(::write(descriptor, "7", 1), 1);
  EXPECT_EQ(board_.read(brightness), "7");
}

TEST_F(SimAttribute, ReplacesValueByAppendedAndPlacedWrites) {
  open_it(O_WRONLY | O_APPEND);
  EXPECT_EQ(::write(descriptor, "12", 2), 2);
  EXPECT_EQ(board_.read(brightness), "12");
  EXPECT_EQ(::pwrite(descriptor, "345", 3, 2), 3);
  EXPECT_EQ(board_.read(brightness), "345");
  EXPECT_EQ(::pwrite64(descriptor, "6", 1, 3), 1);
  EXPECT_EQ(board_.read(brightness), "6");
}

TEST_F(SimAttribute, TakesOnlyNumbersOfItsRange) {
  open_it(O_WRONLY);
  for (const std::string text : {"1001", "-1", "dark", "", "12 ", "5x", "0x3E9", "99999999999"}) {
    EXPECT_EQ(::write(descriptor, text.data(), text.size()), text.empty() ? 0 : -1) << text;
    EXPECT_TRUE(text.empty() || errno == EINVAL) << text;
    EXPECT_EQ(board_.read(brightness), "500\n") << text;
  }
  for (const std::string text : {"1000", "0", "+7\n", "0x3E8", "0777"})
    EXPECT_EQ(::write(descriptor, text.data(), text.size()), static_cast<ssize_t>(text.size())) << text;
}

TEST_F(SimAttribute, JoinsPiecesOfOneWrite) {
  open_it(O_WRONLY);
  char first[] = "4";
  char second[] = "2\n";
  const iovec pieces[] = {{first, 1}, {second, 2}};
  EXPECT_EQ(::writev(descriptor, pieces, 2), 3);
  EXPECT_EQ(board_.read(brightness), "42\n");
}

TEST_F(SimAttribute, KeepsItsValueWhenOpenedForWritingAlone) {
  open_it(O_WRONLY | O_CREAT | O_TRUNC);
  EXPECT_EQ(board_.read(brightness), "500\n");
}

TEST_F(SimAttribute, HasTheSizeOfAPage) {
  struct stat status;
  ASSERT_EQ(::stat(brightness, &status), 0);
  EXPECT_EQ(status.st_size, 4096);
  open_it(O_RDONLY);
  ASSERT_EQ(::fstat(descriptor, &status), 0);
  EXPECT_EQ(status.st_size, 4096);
  char text[16];
  EXPECT_EQ(::read(descriptor, text, sizeof text), 4); // 500 and the line end
}

TEST_F(SimAttribute, IsNotMadeByAnOpen) {
  EXPECT_EQ(::open("/sys/class/backlight/pwm-backlight.0/contrast", O_WRONLY | O_CREAT, 0644), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(SimAttribute, KeepsValueOfStream) {
  std::FILE *stream = std::fopen(brightness, "w");
  ASSERT_NE(stream, nullptr);
  std::fputs("9", stream);
  std::fclose(stream);
  EXPECT_EQ(board_.read(brightness), "9");
}

TEST(SimReport, IsReadAsItStoodAtTheOpen) {
  const board board;
  board.write("proc/ambarella/adc", "first");
  const int descriptor = ::open("/proc/ambarella/adc", O_RDONLY);
  board.write("proc/ambarella/adc", "after");
  char text[6] = {};
  EXPECT_EQ(::read(descriptor, text, sizeof text), 5);
  EXPECT_STREQ(text, "first");
  ::close(descriptor);
}

TEST(SimReport, StreamsReadItAsItStoodAtTheOpen) {
  const board board;
  board.write("proc/modules", "first\n");
  std::FILE *stream = std::fopen("/proc/modules", "r");
  ASSERT_NE(stream, nullptr);
  board.write("proc/modules", "after\n");
  char line[16] = {};
  EXPECT_STREQ(std::fgets(line, sizeof line, stream), "first\n");
  std::fclose(stream);
}

TEST(SimReport, KeepsDirectories) {
  const board board;
  const int directory = ::open("/proc/ambarella", O_RDONLY);
  const int report = ::openat(directory, "hdmi_edid", O_RDONLY);
  EXPECT_GE(report, 0);
  ::close(report);
  ::close(directory);
}

class SimDeviceEnd : public testing::Test {
protected:
  ~SimDeviceEnd() override { ::close(descriptor); }
  const board board_{64, 32}; // 4096 bytes
  const int descriptor = ::open("/dev/fb0", O_RDWR);
};

TEST_F(SimDeviceEnd, CutsAWriteThatGoesBeyond) {
  EXPECT_EQ(::lseek(descriptor, 4090, SEEK_SET), 4090);
  EXPECT_EQ(::write(descriptor, "0123456789", 10), 6);
  EXPECT_EQ(::lseek(descriptor, 0, SEEK_CUR), 4096);
  const std::string memory = board_.read("dev/fb0");
  EXPECT_EQ(memory.size(), 4096U);
  EXPECT_EQ(memory.substr(4090), "012345");
}

TEST_F(SimDeviceEnd, RejectsAWriteAtTheEnd) {
  EXPECT_EQ(::pwrite(descriptor, "x", 1, 4096), -1);
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_EQ(::pwrite(descriptor, "x", 1, 9999), -1);
  EXPECT_EQ(errno, ENOSPC);
}

TEST_F(SimDeviceEnd, CannotBeMoved) {
  EXPECT_EQ(::ftruncate(descriptor, 100), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(::ftruncate64(descriptor, 100), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(::truncate("/dev/fb0", 100), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(board_.read("dev/fb0").size(), 4096U);
}

TEST(SimBlockDevice, IsNotCutByAnOpen) {
  const board board;
  board.write("dev/mmcblk0", "master boot record");
  ::close(::open("/dev/mmcblk0", O_WRONLY | O_TRUNC));
  std::FILE *stream = std::fopen("/dev/mmcblk0", "w");
  ASSERT_NE(stream, nullptr);
  std::fclose(stream);
  EXPECT_EQ(board.read("dev/mmcblk0"), "master boot record");
}

} // namespace
} // namespace dravik::test
