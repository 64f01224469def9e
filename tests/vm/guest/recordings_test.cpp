// Recordings on the kernel's FAT file system.

#include "memory_card.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <tuple>

namespace {

using namespace dravik::vm;

class Recordings : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_TRUE(prepare_card());
    ASSERT_EQ(::mkdir("/tmp/mmcblk0p1/REC", 0755), 0);
  }
  ~Recordings() override { unmount_card(); }

  static void record(const std::string &name, time_t seconds, size_t size = 1) {
    const std::string path = "/tmp/mmcblk0p1/REC/" + name;
    ASSERT_TRUE(write_text(path, std::string(size, 'r')));
    const timeval times[2] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(::utimes(path.c_str(), times), 0);
  }

  static void expect_survey(const rec_file_list &expected) {
    rec_file_list list;
    EXPECT_EQ(parse_rec_file_list(&list), 0);
    EXPECT_EQ(std::tie(list.normal_count, list.normal_oldest, list.normal_size, list.event_count,
                       list.event_oldest, list.event_next),
              std::tie(expected.normal_count, expected.normal_oldest, expected.normal_size,
                       expected.event_count, expected.event_oldest, expected.event_next));
  }
};

TEST_F(Recordings, AreSurveyed) {
  record("KVX00007.TS", 1700000100, 1 << 20);
  record("KVX00003.TS", 1700000300, 1 << 20);
  record("kvx00005.ts", 1700000000);
  record("EMC00001.TS", 1700000200);
  record("EMA00002.TS", 1700000400);
  record("NOTES.TXT", 1600000000);
  expect_survey({3, 5, 2, 2, 2, 3});
}

/// One file: FAT does not distinguish case.
TEST_F(Recordings, AreOneInBothCases) {
  record("KVX00010.TS", 1700000000);
  record("kvx00010.ts", 1700000000);
  expect_survey({1, 10, 0, 0, -1, 0});
}

/// FAT keeps times in steps of two seconds.
TEST_F(Recordings, AreOrderedByTimesThatCardKeeps) {
  record("KVX00002.TS", 1700000003);
  record("KVX00001.TS", 1700000001);
  unmount_card();
  ASSERT_TRUE(mount_card());
  expect_survey({2, 1, 0, 0, -1, 0});
  struct stat status;
  ASSERT_EQ(::stat("/tmp/mmcblk0p1/REC/KVX00001.TS", &status), 0);
  EXPECT_EQ(status.st_mtime % 2, 0);
}

TEST_F(Recordings, FailWithoutDirectory) {
  ASSERT_EQ(run("rmdir /tmp/mmcblk0p1/REC"), 0);
  rec_file_list list;
  EXPECT_EQ(parse_rec_file_list(&list), -1);
  EXPECT_EQ(list.normal_count, -1);
}

} // namespace
