// The event log as a file: the text of one call, and its limit.

#include "dravik.h"
#include "support/board.hpp"
#include "support/leave_board.hpp"
#include "support/log_lines.hpp"
#include "support/paths.hpp"

#include <filesystem>
#include <gtest/gtest.h>
#include <regex>
#include <sys/wait.h>
#include <unistd.h>

namespace dravik::test {
namespace {

constexpr size_t cap = DRAVIK_LOG_SIZE_MAX;

/// A board with an empty directory for the log. The library's state is that of a new process.
class EventLog : public testing::Test {
protected:
  board board_;
  const std::string path_ = board_.path("tmp/dravik.log");

  std::vector<std::string> lines() const { return lines_of(read_file(path_)); }

  void make_log_of(size_t size) const { write_file(path_, bytes(size, '\n')); }

  /// A new process that logs one line and ends without cleaning up.
  void run_program(const char *message) const {
    const pid_t child = ::fork();
    if (child == 0) {
      dravik::test::leave_board(); // the program links the simulator, and a sanitizer's library comes first
      ::setenv("DRAVIK_BOARD", board_.path().c_str(), 1);
      ::execl(event_log_program_path, event_log_program_path, message, static_cast<char *>(nullptr));
      ::_exit(127);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
};

constexpr const char *banner_pattern =
    R"(\[    0\.000000\] s #### \d{4}/\d\d/\d\d \d\d:\d\d:\d\d\.\d{6} ####)";

TEST_F(EventLog, PrintsBannerBeforeFirstMessage) {
  log_printf("first");
  const auto text = lines();
  ASSERT_EQ(text.size(), 2U);
  EXPECT_TRUE(std::regex_match(text[0], std::regex(banner_pattern))) << text[0];
  EXPECT_TRUE(std::regex_match(text[1], std::regex(R"(\[    0\.\d{6}\] first)"))) << text[1];
}

TEST_F(EventLog, AddsOneLinePerMessage) {
  log_printf("one");
  log_printf("two");
  log_printf("%s %d", "three", 3);
  EXPECT_EQ(lines().size(), 4U);
  EXPECT_EQ(log_messages(path_), (std::vector<std::string>{"one", "two", "three 3"}));
}

TEST_F(EventLog, ReturnsTheLengthOfTheMessageAlone) {
  EXPECT_EQ(log_printf("12345"), 5);
  EXPECT_EQ(log_printf("%5d|%-4s|%x", 42, "ab", 0xBEEFU), 15);
}

TEST_F(EventLog, PrintsLineForEmptyMessage) {
  const char *nothing = "";
  EXPECT_EQ(log_printf("%s", nothing), 0);
  EXPECT_EQ(log_messages(path_), std::vector<std::string>{""});
}

TEST_F(EventLog, PrintsEmptyLineForNewlineInFormat) {
  EXPECT_EQ(log_printf("message\n"), 8);
  const auto text = lines();
  ASSERT_EQ(text.size(), 3U);
  EXPECT_TRUE(text[1].ends_with("] message"));
  EXPECT_EQ(text[2], "");
}

TEST_F(EventLog, ReturnsNegativeForUnformattableMessageAndEndsLine) {
  const wchar_t surrogate[] = {static_cast<wchar_t>(0xD800), 0};
  EXPECT_LT(log_printf("%ls", surrogate), 0);
  EXPECT_EQ(log_printf("next"), 4);
  EXPECT_EQ(log_messages(path_), (std::vector<std::string>{"", "next"}));
}

TEST_F(EventLog, PrintsLongMessageWhole) {
  const std::string message(100000, 'x');
  EXPECT_EQ(log_printf("<%s>", message.c_str()), 100002);
  EXPECT_EQ(log_messages(path_), std::vector<std::string>{"<" + message + ">"});
}

TEST_F(EventLog, RejectsMessagesIfFull) {
  make_log_of(cap);
  EXPECT_EQ(log_printf("lost"), 0);
  EXPECT_EQ(read_file(path_), bytes(cap, '\n'));
  EXPECT_EQ(tlogst.tv_sec, 0);
  EXPECT_EQ(tlogst.tv_usec, 0);
}

TEST_F(EventLog, RejectsMessagesBeyondCap) {
  make_log_of(cap + 1);
  EXPECT_EQ(log_printf("lost"), 0);
  EXPECT_EQ(read_file(path_).size(), cap + 1);
}

TEST_F(EventLog, AcceptsOneMoreLineOneByteBelowCap) {
  make_log_of(cap - 1);
  const std::string message(5000, 'm');
  EXPECT_EQ(log_printf("%s", message.c_str()), 5000);
  constexpr size_t banner_and_newline = 54, stamp_and_newline = 16;
  EXPECT_EQ(read_file(path_).size(), cap - 1 + banner_and_newline + stamp_and_newline + 5000);
  const bytes full = read_file(path_);
  EXPECT_EQ(log_printf("lost"), 0);
  EXPECT_EQ(read_file(path_), full);
}

TEST_F(EventLog, DelaysBannerUntilThereIsSpace) {
  make_log_of(cap);
  log_printf("lost");
  make_log_of(0);
  log_printf("kept");
  EXPECT_EQ(lines().size(), 2U);
  EXPECT_NE(tlogst.tv_sec, 0);
  EXPECT_EQ(log_messages(path_), std::vector<std::string>{"kept"});
}

TEST_F(EventLog, DropsMessageAndDelaysBannerWithoutDirectory) {
  std::filesystem::rename(board_.path("tmp"), board_.path("gone"));
  EXPECT_EQ(log_printf("lost"), 0);
  EXPECT_EQ(tlogst.tv_sec, 0);
  std::filesystem::rename(board_.path("gone"), board_.path("tmp"));
  EXPECT_EQ(log_printf("kept"), 4);
  EXPECT_EQ(lines().size(), 2U);
  EXPECT_NE(tlogst.tv_sec, 0);
}

TEST_F(EventLog, DropsMessageIfDirectoryTakesItsPlace) {
  std::filesystem::create_directory(path_);
  EXPECT_EQ(log_printf("lost"), 0);
  EXPECT_EQ(tlogst.tv_sec, 0);
}

TEST_F(EventLog, CreatesRemovedFileWithoutSecondBanner) {
  log_printf("one");
  const dravik_timeval origin = tlogst;
  std::filesystem::remove(path_);
  log_printf("two");
  EXPECT_EQ(lines().size(), 1U);
  EXPECT_EQ(log_messages(path_), std::vector<std::string>{"two"});
  EXPECT_EQ(tlogst.tv_sec, origin.tv_sec);
  EXPECT_EQ(tlogst.tv_usec, origin.tv_usec);
}

TEST_F(EventLog, AddsBannerOfNextProcess) {
  write_file(path_, {'o', 'l', 'd', '\n'});
  run_program("from one");
  run_program("from another");
  const auto text = lines();
  ASSERT_EQ(text.size(), 5U);
  EXPECT_EQ(text[0], "old");
  for (const size_t banner : {1U, 3U})
    EXPECT_TRUE(std::regex_match(text[banner], std::regex(banner_pattern))) << text[banner];
  EXPECT_TRUE(std::regex_match(text[2], std::regex(R"(\[    0\.\d{6}\] from one)"))) << text[2];
  EXPECT_TRUE(std::regex_match(text[4], std::regex(R"(\[    0\.\d{6}\] from another)"))) << text[4];
}

} // namespace
} // namespace dravik::test
