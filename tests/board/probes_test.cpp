// The monitor, the splash language and the tick.

#include "dravik.h"
#include "support/board.hpp"
#include "support/descriptors.hpp"
#include "support/next_call.hpp"
#include "support/recorded_system.hpp"
#include "support/stderr_capture.hpp"

#include <ctime>
#include <gtest/gtest.h>
#include <optional>

namespace {

/// The monotonic clock's reading; the real one when there is none.
std::optional<timespec> clock_reading;

} // namespace

extern "C" int clock_gettime(clockid_t clock, struct timespec *now) noexcept {
  if (clock == CLOCK_MONOTONIC && clock_reading) {
    *now = *clock_reading;
    return 0;
  }
  static const auto next = dravik::test::next_call<int(clockid_t, timespec *)>("clock_gettime");
  return next(clock, now);
}

namespace dravik::test {
namespace {

constexpr const char *edid_report = "/proc/ambarella/hdmi_edid";

class Hdmi : public testing::Test {
protected:
  board board_;

  int32_t answer_to(std::string_view report) const {
    board_.write(edid_report, report);
    return hdmi_detect();
  }
};

TEST_F(Hdmi, DetectsMonitorFromBasicEdid) {
  EXPECT_EQ(answer_to("Basic EDID"), 1);
  EXPECT_EQ(answer_to("Basic EDID\nversion 1.3\n"), 1);
  EXPECT_EQ(answer_to("Basic EDIDs of all kinds"), 1);
}

TEST_F(Hdmi, DetectsNoMonitorFromNoHdmi) {
  EXPECT_EQ(answer_to("No HDMI"), 0);
  EXPECT_EQ(answer_to("No HDMI\n"), 0);
  EXPECT_EQ(answer_to("No HDMI plugged in; Basic EDID"), 0);
}

TEST_F(Hdmi, ComparesOnlyStartOfReport) {
  EXPECT_EQ(answer_to("Basic EDID" + std::string(5000, 'x') + "No HDMI"), 1);
  EXPECT_EQ(answer_to("No HDMI" + std::string(5000, 'x') + "Basic EDID"), 0);
}

TEST_F(Hdmi, ReturnsUnknownForOtherText) {
  for (const char *report : {"", "\n", "Basic EDI", "basic edid", "No HDM", "no hdmi", " No HDMI",
                             "\nBasic EDID", "Basic  EDID", "NoHDMI", "Extended EDID"})
    EXPECT_EQ(answer_to(report), -1) << report;
}

TEST_F(Hdmi, ReturnsUnknownForTextCutByNul) {
  EXPECT_EQ(answer_to(std::string_view{"No HDM\0I", 8}), -1);
  EXPECT_EQ(answer_to(std::string_view{"Basic\0EDID", 10}), -1);
}

TEST_F(Hdmi, ReturnsUnknownIfReportIsMissing) {
  answer_to("Basic EDID");
  board_.remove(edid_report);
  EXPECT_EQ(hdmi_detect(), -1);
}

TEST_F(Hdmi, LeavesNoDescriptorOpenAndSaysNothing) {
  const size_t before = open_descriptors();
  {
    stderr_capture said;
    answer_to("No HDMI");
    board_.remove(edid_report);
    hdmi_detect();
    EXPECT_EQ(said.take(), "");
  }
  EXPECT_EQ(open_descriptors(), before);
}

class SplashLanguage : public testing::Test {
protected:
  SplashLanguage() { require_recorder(); }

  board board_;

  /// The result and the three bytes given.
  static std::pair<int32_t, std::string> checked_answer() {
    char language[4] = {'x', 'y', 'z', '!'};
    const int32_t result = get_splash_lang(language);
    EXPECT_EQ(language[3], '!') << "more than three bytes";
    return {result, std::string{language, 3}};
  }
};

std::pair<int32_t, std::string> success(std::string_view bytes) {
  return {0, std::string{bytes}};
}

std::string dump_with(std::string_view language, size_t size = 2048) {
  std::string dump(896, '-');
  dump += language;
  dump.resize(size, '+');
  return dump;
}

TEST_F(SplashLanguage, IsInTwoBytesOfTheDump) {
  board_.write("tmp/ptb", dump_with("fr"));
  EXPECT_EQ(checked_answer(), success({"fr\0", 3}));
}

TEST_F(SplashLanguage, RequestsDumpBeforeReadingIt) {
  command_result = [this](const std::string &) {
    board_.write("tmp/ptb", dump_with("de"));
    return 0;
  };
  EXPECT_EQ(checked_answer(), success({"de\0", 3}));
  EXPECT_EQ(recorded_commands,
            std::vector<std::string>{"/usr/sbin/nanddump -l 2048 -f /tmp/ptb -o /dev/mtd1 >& /dev/null"});
}

TEST_F(SplashLanguage, IgnoresResultOfCommand) {
  command_result = [](const std::string &) { return 127 << 8; };
  board_.write("tmp/ptb", dump_with("en"));
  EXPECT_EQ(checked_answer(), success({"en\0", 3}));
}

TEST_F(SplashLanguage, LeavesDumpInPlace) {
  board_.write("tmp/ptb", dump_with("en"));
  checked_answer();
  EXPECT_EQ(board_.read("tmp/ptb"), dump_with("en"));
}

TEST_F(SplashLanguage, ReturnsBytesUnchanged) {
  board_.write("tmp/ptb", dump_with("\xFF\xFF"));
  EXPECT_EQ(checked_answer(), success({"\xFF\xFF\0", 3}));
  board_.write("tmp/ptb", dump_with({"\0e", 2}));
  EXPECT_EQ(checked_answer(), success({"\0e\0", 3}));
}

TEST_F(SplashLanguage, ReadsFirstPartOfLongDump) {
  board_.write("tmp/ptb", dump_with("it", 100000));
  EXPECT_EQ(checked_answer(), success({"it\0", 3}));
}

TEST_F(SplashLanguage, ReturnsZeroForBytesAfterShortDump) {
  for (const auto &[size, language] : {std::pair<size_t, std::string_view>{898, "ja"},
                                       {897, {"j\0", 2}},
                                       {896, {"\0\0", 2}},
                                       {0, {"\0\0", 2}}}) {
    board_.write("tmp/ptb", dump_with("ja", size));
    EXPECT_EQ(checked_answer(), success(std::string{language} + '\0')) << size;
  }
}

TEST_F(SplashLanguage, ReturnsEmptyTextIfDumpIsMissing) {
  EXPECT_EQ(checked_answer(), std::pair(-1, (std::string{"\0yz", 3})));
  EXPECT_EQ(recorded_commands.size(), 1U);
}

TEST_F(SplashLanguage, LeavesNoDescriptorOpen) {
  const size_t before = open_descriptors();
  checked_answer();
  board_.write("tmp/ptb", dump_with("en"));
  checked_answer();
  EXPECT_EQ(open_descriptors(), before);
}

uint32_t ticks_at(time_t seconds, long nanoseconds) {
  clock_reading = {seconds, nanoseconds};
  const uint32_t ticks = get_tick_count();
  clock_reading.reset();
  return ticks;
}

TEST(TickCount, ReturnsMillisecondsOfMonotonicClock) {
  EXPECT_EQ(ticks_at(0, 0), 0U);
  EXPECT_EQ(ticks_at(12, 345678901), 12345U);
}

TEST(TickCount, TruncatesFractions) {
  EXPECT_EQ(ticks_at(1, 999999), 1000U);
  EXPECT_EQ(ticks_at(1, 1000000), 1001U);
  EXPECT_EQ(ticks_at(1, 999999999), 1999U);
}

TEST(TickCount, WrapsAfterFortyNineDays) {
  EXPECT_EQ(ticks_at(4294967, 295999999), 0xFFFFFFFFU);
  EXPECT_EQ(ticks_at(4294967, 296000000), 0U);
  EXPECT_EQ(ticks_at(4294968, 0), 704U);
}

TEST(TickCount, WrapsAgainAndAgain) {
  // 10^10 seconds are 10^13 milliseconds: 2328 times round, and 1316134912 more.
  EXPECT_EQ(ticks_at(10000000000, 0), 1316134912U);
}

TEST(TickCount, ReturnsTimeBetweenTwoReadings) {
  const auto read_clock = [] {
    timespec now;
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint32_t>(static_cast<uint64_t>(now.tv_sec) * 1000 +
                                 static_cast<uint64_t>(now.tv_nsec) / 1000000);
  };
  const uint32_t before = read_clock();
  const uint32_t ticks = get_tick_count();
  const uint32_t after = read_clock();
  EXPECT_LE(ticks - before, after - before);
}

} // namespace
} // namespace dravik::test
