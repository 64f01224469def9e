// The event log's dealings with the system: clock readings, stamps, and how the file is opened and closed.
// The C library's functions are replaced in this program, so that the test sets the clock and counts calls.

#include "dravik.h"
#include "support/board.hpp"
#include "support/log_lines.hpp"
#include "support/next_call.hpp"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/time.h>

namespace {

constexpr const char *log_path = "/tmp/dravik.log";

struct {
  std::vector<timeval> clock; ///< readings to give; real ones when they are used up
  size_t clock_reads = 0, stats = 0, opens = 0, closes = 0;
  std::string modes;
  bool disk_is_full = false;
} system_calls;

bool is_log(const char *path) {
  return std::strcmp(path, log_path) == 0;
}

std::FILE *log_stream = nullptr;

ssize_t write_to_full_disk(void *, const char *, size_t) {
  errno = ENOSPC;
  return 0;
}

std::FILE *open_on_full_disk() {
  cookie_io_functions_t calls = {};
  calls.write = write_to_full_disk;
  return ::fopencookie(nullptr, "a", calls);
}

} // namespace

extern "C" {

int gettimeofday(struct timeval *__restrict to, void *__restrict zone) noexcept {
  const size_t n = system_calls.clock_reads++;
  if (n >= system_calls.clock.size())
    return dravik::test::next_call<int(timeval *, void *)>("gettimeofday")(to, zone);
  *to = system_calls.clock[n];
  return 0;
}

int stat(const char *__restrict path, struct stat *__restrict to) noexcept {
  system_calls.stats += is_log(path);
  return dravik::test::next_call<int(const char *, struct stat *)>("stat")(path, to);
}

FILE *fopen(const char *__restrict path, const char *__restrict mode) {
  std::FILE *file = is_log(path) && system_calls.disk_is_full
                        ? open_on_full_disk()
                        : dravik::test::next_call<FILE *(const char *, const char *)>("fopen")(path, mode);
  if (is_log(path)) {
    ++system_calls.opens;
    system_calls.modes += mode;
    log_stream = file;
  }
  return file;
}

int fclose(FILE *file) {
  if (file == log_stream) {
    ++system_calls.closes;
    log_stream = nullptr;
  }
  return dravik::test::next_call<int(FILE *)>("fclose")(file);
}

} // extern "C"

namespace dravik::test {
namespace {

class EventLogClock : public testing::Test {
protected:
  board board_;

  std::vector<std::string> lines() const { return lines_of(read_file(board_.path("tmp/dravik.log"))); }

  static void set_clock(std::vector<timeval> readings) {
    system_calls.clock_reads = 0;
    system_calls.clock = std::move(readings);
  }

  /// The line that a message gets at `now`, when the banner was written at `origin`.
  std::string line_at(timeval origin, timeval now) const {
    set_clock({origin, origin});
    log_printf("origin");
    set_clock({now});
    log_printf("now");
    return lines().back();
  }

  std::string banner_in(const char *zone, timeval now) const {
    ::setenv("TZ", zone, 1);
    set_clock({now, now});
    log_printf("line");
    return lines().front();
  }
};

TEST_F(EventLogClock, IsReadTwiceForFirstMessageAndOnceForLater) {
  set_clock({});
  log_printf("first");
  EXPECT_EQ(system_calls.clock_reads, 2U);
  log_printf("second");
  EXPECT_EQ(system_calls.clock_reads, 3U);
  log_printf("third");
  EXPECT_EQ(system_calls.clock_reads, 4U);
}

TEST_F(EventLogClock, IsNotReadForDroppedMessage) {
  write_file(board_.path("tmp/dravik.log"), bytes(DRAVIK_LOG_SIZE_MAX, '\n'));
  set_clock({});
  log_printf("lost");
  EXPECT_EQ(system_calls.clock_reads, 0U);
}

TEST_F(EventLogClock, SetsOriginAtFirstReading) {
  set_clock({{1700000000, 123456}, {1700000000, 123460}});
  log_printf("line");
  EXPECT_EQ(tlogst.tv_sec, 1700000000);
  EXPECT_EQ(tlogst.tv_usec, 123456);
  EXPECT_EQ(lines().back(), "[    0.000004] line");
  log_printf("later");
  EXPECT_EQ(tlogst.tv_sec, 1700000000);
  EXPECT_EQ(tlogst.tv_usec, 123456);
}

TEST_F(EventLogClock, StampsDifferenceWithoutBorrow) {
  EXPECT_EQ(line_at({1000, 250000}, {1012, 750001}), "[   12.500001] now");
}

TEST_F(EventLogClock, StampsDifferenceWithBorrow) {
  EXPECT_EQ(line_at({1000, 999999}, {1002, 0}), "[    1.000001] now");
}

TEST_F(EventLogClock, StampsZeroAtSameInstant) {
  EXPECT_EQ(line_at({1000, 5}, {1000, 5}), "[    0.000000] now");
}

TEST_F(EventLogClock, FillsColumnWithFiveDigits) {
  EXPECT_EQ(line_at({1000, 0}, {100999, 999999}), "[99999.999999] now");
}

TEST_F(EventLogClock, PrintsWiderFromHundredThousandSeconds) {
  EXPECT_EQ(line_at({1000, 0}, {101000, 1}), "[100000.000001] now");
}

TEST_F(EventLogClock, WrapsIfSetBack) {
  EXPECT_EQ(line_at({1000, 250000}, {990, 250001}), "[4294967286.000001] now");
}

TEST_F(EventLogClock, WrapsWithBorrowIfSetBack) {
  EXPECT_EQ(line_at({1000, 500000}, {999, 250000}), "[4294967294.750000] now");
}

TEST_F(EventLogClock, WrapsIfSetBackWithinSecond) {
  EXPECT_EQ(line_at({1000, 2}, {1000, 1}), "[4294967295.999999] now");
}

TEST_F(EventLogClock, PrintsBannerInUniversalTime) {
  EXPECT_EQ(banner_in("UTC0", {1234567890, 42}), "[    0.000000] s #### 2009/02/13 23:31:30.000042 ####");
}

TEST_F(EventLogClock, PrintsNextDayEastOfGreenwich) {
  EXPECT_EQ(banner_in("IST-5:30", {1234567890, 999999}),
            "[    0.000000] s #### 2009/02/14 05:01:30.999999 ####");
}

TEST_F(EventLogClock, PrintsDayBeforeWestOfGreenwich) {
  EXPECT_EQ(banner_in("HST10", {1230768000, 0}), "[    0.000000] s #### 2008/12/31 14:00:00.000000 ####");
}

TEST_F(EventLogClock, PrintsBannerInSummerTime) {
  EXPECT_EQ(banner_in("EST5EDT,M3.2.0,M11.1.0", {1246406400, 7}),
            "[    0.000000] s #### 2009/06/30 20:00:00.000007 ####");
}

TEST_F(EventLogClock, PadsEveryFigureOfBanner) {
  EXPECT_EQ(banner_in("UTC0", {946782245, 1}), "[    0.000000] s #### 2000/01/02 03:04:05.000001 ####");
}

TEST_F(EventLogClock, ChecksOpensAndClosesFileOncePerCall) {
  system_calls = {};
  for (size_t calls = 1; calls <= 3; ++calls) {
    log_printf("line");
    EXPECT_EQ(system_calls.stats, calls);
    EXPECT_EQ(system_calls.opens, calls);
    EXPECT_EQ(system_calls.closes, calls);
  }
  EXPECT_EQ(system_calls.modes, "aaa");
}

TEST_F(EventLogClock, LeavesFullFileClosed) {
  write_file(board_.path("tmp/dravik.log"), bytes(DRAVIK_LOG_SIZE_MAX, '\n'));
  system_calls = {};
  log_printf("lost");
  EXPECT_EQ(system_calls.stats, 1U);
  EXPECT_EQ(system_calls.opens, 0U);
}

TEST_F(EventLogClock, ClosesNothingAfterFailedOpen) {
  std::filesystem::rename(board_.path("tmp"), board_.path("gone"));
  system_calls = {};
  EXPECT_EQ(log_printf("lost"), 0);
  EXPECT_EQ(system_calls.opens, 1U);
  EXPECT_EQ(system_calls.closes, 0U);
  EXPECT_EQ(system_calls.clock_reads, 0U);
  log_printf("lost");
  EXPECT_EQ(system_calls.opens, 2U);
}

class EventLogFullDisk : public EventLogClock {
protected:
  EventLogFullDisk() { system_calls.disk_is_full = true; }
};

TEST_F(EventLogFullDisk, ReturnsLengthOfTheMessage) {
  for (const int length : {1, 500, 950, 1000, 1023, 1024, 1025, 5000, 200000}) {
    const std::string message(static_cast<size_t>(length), 'm');
    EXPECT_EQ(log_printf("%s", message.c_str()), length);
    EXPECT_EQ(log_printf("<%d %s %.2f>", 12345, message.c_str(), 1.5), length + 13);
  }
}

TEST_F(EventLogFullDisk, ReturnsNegativeForAMessageThatCannotBeFormatted) {
  const wchar_t surrogate[] = {static_cast<wchar_t>(0xD800), 0};
  EXPECT_LT(log_printf("%5000d %ls", 1, surrogate), 0);
}

TEST_F(EventLogFullDisk, KeepsNextMessageOnceThereIsSpace) {
  log_printf("%5000d", 1);
  system_calls.disk_is_full = false;
  EXPECT_EQ(log_printf("kept"), 4);
  EXPECT_EQ(log_messages(board_.path("tmp/dravik.log")), std::vector<std::string>{"kept"});
}

TEST_F(EventLogClock, LeavesNoDescriptorOpen) {
  log_printf("first");
  const auto open_files = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  };
  const auto before = open_files();
  for (int i = 0; i < 100; ++i)
    log_printf("line %d", i);
  EXPECT_EQ(open_files(), before);
}

} // namespace
} // namespace dravik::test
