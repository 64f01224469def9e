// The event log on a tmpfs: when it is full, and with several processes.

#include "dravik.h"
#include "guest.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace dravik::vm;

constexpr const char *log_file = "/tmp/dravik.log";

/// A "/tmp" of 128 KiB for this process.
class Log : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(::unshare(CLONE_NEWNS), 0);
    ASSERT_EQ(::mount("tmp", "/tmp", "tmpfs", 0, "size=131072"), 0);
  }
};

TEST_F(Log, LosesLinesWhileFileSystemIsFull) {
  EXPECT_EQ(log_printf("before"), 6);
  const std::string before = read_text(log_file);
  EXPECT_FALSE(write_text("/tmp/filler", std::string(200000, 'x')));
  for (int i = 0; i < 200; ++i) // more than the rest of the log's last page
    EXPECT_EQ(log_printf("lost %s", std::string(100, 'y').c_str()), 105);
  const std::string full = read_text(log_file);
  EXPECT_LE(full.size(), 4096U);
  EXPECT_EQ(full.substr(0, before.size()), before);
  ASSERT_EQ(::unlink("/tmp/filler"), 0);
  EXPECT_EQ(log_printf("after"), 5);
  EXPECT_THAT(read_text(log_file), ::testing::EndsWith("after\n"));
}

TEST_F(Log, KeepsLinesOfSeveralProcessesWhole) {
  constexpr int writers = 4, lines = 250;
  for (int writer = 0; writer < writers; ++writer)
    if (::fork() == 0) {
      for (int i = 0; i < lines; ++i)
        log_printf("writer %d line %03d of the log", writer, i);
      ::_exit(0);
    }
  while (::wait(nullptr) > 0) {
  }
  int whole = 0;
  for (const std::string &line : lines_of(read_text(log_file)))
    whole += line.ends_with(" of the log") && line.find("writer") == line.rfind("writer") ? 1 : 0;
  EXPECT_EQ(whole, writers * lines);
}

TEST_F(Log, IsFullAtItsLargestSize) {
  ASSERT_EQ(run("mount -o remount,size=1m /tmp"), 0);
  ASSERT_TRUE(write_text(log_file, std::string(DRAVIK_LOG_SIZE_MAX, 'x')));
  EXPECT_EQ(log_printf("dropped"), 0);
  EXPECT_EQ(read_text(log_file).size(), size_t{DRAVIK_LOG_SIZE_MAX});
}

} // namespace
