// Every way to open a file by its path leads to the board.

#include "board/use_board.h"
#include "sim/library_call.hpp"
#include "support/board.hpp"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <mntent.h>
#include <unistd.h>

namespace dravik::test {
namespace {

using open_function = int(const char *, int, ...);
using checked_open_function = int(const char *, int);
using open_at_function = int(int, const char *, int, ...);
using checked_open_at_function = int(int, const char *, int);
using creat_function = int(const char *, mode_t);
using stream_function = FILE *(const char *, const char *);
using reopen_function = FILE *(const char *, const char *, FILE *);

constexpr const char *path = "/usr/local/dravik/font/letters";

/// A way of the C library to open a file; returns a descriptor, for writing if requested.
struct way {
  const char *name;
  int (*open)(const char *name, const char *path, bool for_writing);
};

void PrintTo(const way &shown, std::ostream *to) {
  *to << shown.name;
}

int flags_for(bool writing) {
  return writing ? O_WRONLY | O_CREAT | O_TRUNC : O_RDONLY;
}

int by_open(const char *name, const char *file, bool writing) {
  return library_call<open_function>(name)(file, flags_for(writing), 0644);
}

int by_checked_open(const char *name, const char *file, bool writing) {
  return library_call<checked_open_function>(name)(file, writing ? O_WRONLY : O_RDONLY);
}

int by_open_at(const char *name, const char *file, bool writing) {
  return library_call<open_at_function>(name)(AT_FDCWD, file, flags_for(writing), 0644);
}

int by_checked_open_at(const char *name, const char *file, bool writing) {
  return library_call<checked_open_at_function>(name)(AT_FDCWD, file, writing ? O_WRONLY : O_RDONLY);
}

/// The stream's descriptor outlives it, to be used like the others.
int descriptor_of(FILE *stream) {
  const int descriptor = stream != nullptr ? ::dup(::fileno(stream)) : -1;
  if (stream != nullptr)
    std::fclose(stream);
  return descriptor;
}

int by_stream(const char *name, const char *file, bool writing) {
  return descriptor_of(library_call<stream_function>(name)(file, writing ? "w" : "r"));
}

int by_reopened_stream(const char *name, const char *file, bool writing) {
  return descriptor_of(library_call<reopen_function>(name)(file, writing ? "w" : "r", stdin));
}

class SimOpen : public testing::TestWithParam<way> {
protected:
  int open_for(bool writing) const { return GetParam().open(GetParam().name, path, writing); }
};

TEST_P(SimOpen, ReadsTheBoardsFile) {
  const board board;
  board.write(path, "abc");
  const int descriptor = open_for(false);
  ASSERT_GE(descriptor, 0);
  char text[4] = {};
  EXPECT_EQ(::pread(descriptor, text, sizeof text, 0), 3);
  EXPECT_STREQ(text, "abc");
  ::close(descriptor);
}

TEST_P(SimOpen, WritesTheBoardsFile) {
  const board board;
  board.write(path, "");
  const int descriptor = open_for(true);
  ASSERT_GE(descriptor, 0);
  EXPECT_EQ(::write(descriptor, "xyz", 3), 3);
  EXPECT_EQ(board.read(path), "xyz");
  EXPECT_EQ(::access("/usr/local/dravik/font", F_OK), 0);
  ::close(descriptor);
}

TEST_P(SimOpen, FailsWhereTheBoardHasNoSuchFile) {
  const board board;
  EXPECT_EQ(open_for(false), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST_P(SimOpen, PassesThroughWithoutABoard) {
  const board board;
  const std::string file = board.path("plain");
  board.write("plain", "host");
  ::dravik_sim_use_board(nullptr);
  const int descriptor = GetParam().open(GetParam().name, file.c_str(), false);
  ASSERT_GE(descriptor, 0);
  char text[5] = {};
  EXPECT_EQ(::pread(descriptor, text, sizeof text, 0), 4);
  EXPECT_STREQ(text, "host");
  ::close(descriptor);
}

INSTANTIATE_TEST_SUITE_P(By, SimOpen,
                         testing::Values(way{"open", by_open}, way{"open64", by_open},
                                         way{"__open_2", by_checked_open}, way{"__open64_2", by_checked_open},
                                         way{"openat", by_open_at}, way{"openat64", by_open_at},
                                         way{"__openat_2", by_checked_open_at},
                                         way{"__openat64_2", by_checked_open_at}, way{"fopen", by_stream},
                                         way{"fopen64", by_stream}, way{"freopen", by_reopened_stream},
                                         way{"freopen64", by_reopened_stream}),
                         [](const auto &tested) { return tested.param.name; });

class SimCreat : public testing::TestWithParam<const char *> {};

TEST_P(SimCreat, MakesAFileOnTheBoardWithTheMode) {
  const board board;
  const int descriptor = library_call<creat_function>(GetParam())("/tmp/mbr.img", 0600);
  ASSERT_GE(descriptor, 0);
  EXPECT_EQ(::write(descriptor, "mbr", 3), 3);
  ::close(descriptor);
  EXPECT_EQ(board.read("tmp/mbr.img"), "mbr");
}

INSTANTIATE_TEST_SUITE_P(By, SimCreat, testing::Values("creat", "creat64"),
                         [](const auto &tested) { return std::string{tested.param}; });

TEST(SimOpenAt, ResolvesFromOpenDirectoryOfBoard) {
  const board board;
  board.write("usr/local/dravik/jpg/night.jpg", "jpg");
  const int directory = ::open("/usr/local/dravik", O_RDONLY | O_DIRECTORY);
  const int file = ::openat(directory, "jpg/night.jpg", O_RDONLY);
  EXPECT_GE(file, 0);
  ::close(file);
  ::close(directory);
}

TEST(SimOpenAt, ResolvesFromOpenDirectoryOfHost) {
  const board board;
  board.write("tmp/dravik.log", "line\n");
  const int directory = ::open("/tmp", O_RDONLY | O_DIRECTORY);
  const int file = ::openat(directory, "dravik.log", O_RDONLY);
  char text[6] = {};
  EXPECT_EQ(::read(file, text, sizeof text), 5);
  EXPECT_STREQ(text, "line\n");
  ::close(file);
  ::close(directory);
}

TEST(SimOpenStream, AppendsToTheBoardsFile) {
  const board board;
  board.write("tmp/dravik.log", "one\n");
  FILE *log = std::fopen("/tmp/dravik.log", "a");
  ASSERT_NE(log, nullptr);
  std::fputs("two\n", log);
  std::fclose(log);
  EXPECT_EQ(board.read("tmp/dravik.log"), "one\ntwo\n");
}

TEST(SimOpenStream, FailsAsOrdered) {
  const board board;
  board.set_fault("open", "/tmp/dravik.log", "ENOSPC");
  EXPECT_EQ(std::fopen("/tmp/dravik.log", "a"), nullptr);
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_FALSE(board.exists("tmp/dravik.log"));
}

TEST(SimOpenStream, ReadsTheBoardsMounts) {
  const board board;
  board.write("proc/mounts", "/dev/mmcblk0p1 /tmp/mmcblk0p1 vfat rw 0 0\n");
  FILE *mounts = ::setmntent("/proc/mounts", "r");
  ASSERT_NE(mounts, nullptr);
  const mntent *entry = ::getmntent(mounts);
  ASSERT_NE(entry, nullptr);
  EXPECT_STREQ(entry->mnt_type, "vfat");
  ::endmntent(mounts);
}

} // namespace
} // namespace dravik::test
