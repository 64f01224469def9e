// A board whose card holds recordings.
#pragma once

#include "dravik.h"
#include "support/board.hpp"
#include "support/log_lines.hpp"

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dravik::test {

/// The six words of the result.
using survey = std::array<int32_t, 6>;

/// The slot for the next event, 0 to 4, by the slots in use and the oldest of them.
inline int32_t next_slot(const std::array<bool, 5> &used, int32_t oldest) {
  for (int32_t slot = oldest + 1; slot < 5; ++slot)
    if (!used[static_cast<size_t>(slot)])
      return slot;
  for (int32_t slot = 0; slot < oldest; ++slot)
    if (!used[static_cast<size_t>(slot)])
      return slot;
  return -1;
}

/// The name of an event recording; the slots are 0 to 4.
inline std::string event_name(int slot, int number = 1) {
  char name[16];
  std::snprintf(name, sizeof name, "EM%c%05d.TS", "ABCDE"[slot], number % 100000);
  return name;
}

class recordings_fixture : public testing::Test {
protected:
  recordings_fixture() {
    std::filesystem::create_directory(folder_);
    change_directory("/");
  }
  ~recordings_fixture() override { change_directory("/"); }

  std::string path_of(const std::string &name) const { return folder_ + "/" + name; }

  void add(const std::string &name, time_t time = 1000, off_t size = 0) const {
    const int fd = ::open(path_of(name).c_str(), O_WRONLY | O_CREAT, 0644);
    const timespec times[2] = {{time, 0}, {time, 0}};
    if (fd < 0 || ::ftruncate(fd, size) != 0 || ::futimens(fd, times) != 0)
      ADD_FAILURE() << name << " cannot be made";
    ::close(fd);
  }

  void clear() const {
    for (const auto &entry : std::filesystem::directory_iterator(folder_))
      std::filesystem::remove_all(entry.path());
  }

  /// The values of a call with `expected_result`; values from before do not remain.
  static survey checked_survey(int expected_result) {
    rec_file_list list = {77, 77, 77, 77, 77, 77};
    EXPECT_EQ(parse_rec_file_list(&list), expected_result);
    return {list.normal_count, list.normal_oldest, list.normal_size,
            list.event_count,  list.event_oldest,  list.event_next};
  }
  static survey found() { return checked_survey(0); }

  std::vector<std::string> log() const { return log_messages(board_.path("tmp/dravik.log")); }

  static void change_directory(const std::string &path) { ASSERT_EQ(::chdir(path.c_str()), 0) << path; }
  static std::string working_directory() {
    char text[4096];
    return ::getcwd(text, sizeof text) != nullptr ? text : "";
  }

  board board_;
  const std::string folder_ = board_.path("tmp/mmcblk0p1/REC");
};

} // namespace dravik::test
