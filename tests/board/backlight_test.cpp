// The backlight and the panel behind it. This program interposes the calls that reach the backlight's
// files, notes them, and forwards them to the board.

#include "dravik.h"
#include "support/board.hpp"
#include "support/call_watcher.hpp"
#include "support/log_lines.hpp"

#include <cerrno>
#include <cstdint>
#include <gmock/gmock.h>
#include <linux/fb.h>
#include <map>
#include <string>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char *brightness_file = "sys/class/backlight/pwm-backlight.0/brightness";
constexpr const char *power_file = "sys/class/backlight/pwm-backlight.0/bl_power";

/// The calls on the backlight's files and on the panel, each with the number of log lines before it.
struct watched_calls : call_watcher {
  std::string log_file; ///< empty: nothing is watched
  std::map<int, std::string> names;
  std::vector<std::string> calls;
  bool fails = false;
  bool takes_too_little = false;

  void note(const std::string &call) {
    const std::string log = std::exchange(log_file, ""); // reading the log opens and closes a file
    calls.push_back(call + " @" + std::to_string(log_messages(log).size()));
    log_file = log;
  }
  const std::string *name_of(int descriptor) const {
    const auto found = names.find(descriptor);
    return log_file.empty() || found == names.end() ? nullptr : &found->second;
  }

  /// The name of a file of the backlight.
  std::string backlight_name(std::string_view path) const {
    constexpr std::string_view folder = "/sys/class/backlight/pwm-backlight.0/";
    return path.starts_with(folder) && !log_file.empty() ? std::string{path.substr(folder.size())} : "";
  }

  int open(const char *path, int flags, mode_t mode) override {
    const std::string name = backlight_name(path);
    if (name.empty())
      return call_watcher::open(path, flags, mode);
    note("open " + name + (flags == (O_RDWR | O_TRUNC) ? "" : " with other flags"));
    const int descriptor = call_watcher::open(path, flags, mode);
    if (descriptor >= 0)
      names[descriptor] = name;
    return descriptor;
  }

  ssize_t write(int descriptor, const void *data, size_t size) override {
    const std::string *const name = name_of(descriptor);
    if (name == nullptr)
      return call_watcher::write(descriptor, data, size);
    note(*name + " \"" + std::string{static_cast<const char *>(data), size} + "\"");
    errno = EIO;
    return fails ? -1 : call_watcher::write(descriptor, data, takes_too_little ? size - 1 : size);
  }

  int ioctl(int descriptor, unsigned long request, void *argument) override {
    if (request == FBIOBLANK && !log_file.empty())
      note("blank " + std::to_string(reinterpret_cast<uintptr_t>(argument)));
    return call_watcher::ioctl(descriptor, request, argument);
  }

  int close(int descriptor) override {
    if (const std::string *const name = name_of(descriptor)) {
      note("close " + *name);
      names.erase(descriptor);
    }
    return call_watcher::close(descriptor);
  }
} watched;

class Backlight : public testing::Test {
protected:
  Backlight() {
    board_.write(brightness_file, "300\n");
    board_.write(power_file, "4\n");
    fb_init();
    watched = {};
    watched.log_file = log_file_;
    watcher = &watched;
  }
  ~Backlight() override {
    lcd_bl_exit();
    watched = {};
    fb_exit();
  }

  /// Open the backlight; later calls are recorded from the start.
  void expect_start() {
    ASSERT_EQ(lcd_bl_init(), 1);
    forget();
  }
  void forget() {
    watched.calls.clear();
    board_.remove("tmp/dravik.log");
  }

  std::vector<std::string> messages() const { return log_messages(log_file_); }
  static int32_t length_of(const char *message) { return static_cast<int32_t>(std::string{message}.size()); }

  board board_;
  const std::string log_file_ = board_.path("tmp/dravik.log");
};

// ------------------------------------------------------------------------------------------------ opening

TEST_F(Backlight, OpensBothFiles) {
  EXPECT_EQ(lcd_bl_init(), 1);
  EXPECT_THAT(watched.calls, ElementsAre("open brightness @1", "open bl_power @1"));
  EXPECT_THAT(messages(), ElementsAre("lcd_bl_init()+", "lcd_bl_init()-"));
}

TEST_F(Backlight, OpensNothingOnSecondInit) {
  expect_start();
  EXPECT_EQ(lcd_bl_init(), 1);
  EXPECT_THAT(watched.calls, IsEmpty());
  EXPECT_THAT(messages(), ElementsAre("lcd_bl_init()+", "lcd_bl_init()-"));
}

TEST_F(Backlight, LeavesPowerClosedIfBrightnessIsMissing) {
  board_.remove(brightness_file);
  EXPECT_EQ(lcd_bl_init(), 0);
  EXPECT_THAT(watched.calls, ElementsAre("open brightness @1"));
  EXPECT_THAT(messages(),
              ElementsAre("lcd_bl_init()+", "lcd backlight : init err, "
                                            "pwm_dev=/sys/class/backlight/pwm-backlight.0/brightness"));
}

TEST_F(Backlight, ReportsMissingPowerWithItsPath) {
  board_.remove(power_file);
  EXPECT_EQ(lcd_bl_init(), 0);
  EXPECT_THAT(watched.calls, ElementsAre("open brightness @1", "open bl_power @1"));
  EXPECT_THAT(messages(),
              ElementsAre("lcd_bl_init()+", "lcd backlight : init err, "
                                            "pwm_dev=/sys/class/backlight/pwm-backlight.0/bl_power"));
}

TEST_F(Backlight, OpensOnSecondInitWhatFailedBefore) {
  board_.remove(power_file);
  lcd_bl_init();
  board_.write(power_file, "4\n");
  forget();
  EXPECT_EQ(lcd_bl_init(), 1);
  EXPECT_THAT(watched.calls, ElementsAre("open bl_power @1"));
}

TEST_F(Backlight, ClosesBothFilesOnce) {
  expect_start();
  lcd_bl_exit();
  EXPECT_THAT(watched.calls, ElementsAre("close brightness @0", "close bl_power @0"));
  EXPECT_THAT(messages(), IsEmpty());
  forget();
  lcd_bl_exit();
  EXPECT_THAT(watched.calls, IsEmpty());
  EXPECT_EQ(lcd_bl_init(), 1);
  EXPECT_THAT(watched.calls, ElementsAre("open brightness @1", "open bl_power @1"));
}

TEST_F(Backlight, ClosesOnlyOpenFile) {
  board_.remove(power_file);
  lcd_bl_init();
  forget();
  lcd_bl_exit();
  EXPECT_THAT(watched.calls, ElementsAre("close brightness @0"));
}

// ------------------------------------------------------------------------------------------------ brightness

struct level_case {
  int32_t level;
  const char *text;
  const char *message;
};

class BacklightLevel : public Backlight, public testing::WithParamInterface<level_case> {};

TEST_P(BacklightLevel, IsWrittenWithinItsLimitsAndLoggedAsAskedFor) {
  const auto [level, text, message] = GetParam();
  expect_start();
  EXPECT_EQ(lcd_bl_set(level), length_of(message));
  EXPECT_EQ(board_.read(brightness_file), text);
  EXPECT_THAT(watched.calls, ElementsAre("brightness \"" + std::string{text} + "\" @0"));
  EXPECT_THAT(messages(), ElementsAre(message));
}

TEST_P(BacklightLevel, IsLoggedWithoutTheFileToo) {
  EXPECT_EQ(lcd_bl_set(GetParam().level), length_of(GetParam().message));
  EXPECT_THAT(watched.calls, IsEmpty());
  EXPECT_THAT(messages(), ElementsAre(GetParam().message));
}

constexpr const char *low = "lcd_bl_set() : lcd backlight = low";
constexpr const char *medium = "lcd_bl_set() : lcd backlight = medium";
constexpr const char *high = "lcd_bl_set() : lcd backlight = high";
constexpr const char *unknown = "lcd_bl_set() : lcd backlight = ?\?";

INSTANTIATE_TEST_SUITE_P(Levels, BacklightLevel,
                         testing::Values(level_case{1, "1", low}, level_case{500, "500", medium},
                                         level_case{1000, "1000", high}, level_case{0, "0", unknown},
                                         level_case{2, "2", unknown}, level_case{499, "499", unknown},
                                         level_case{501, "501", unknown}, level_case{999, "999", unknown},
                                         level_case{1001, "1000", unknown}, level_case{2000, "1000", unknown},
                                         level_case{INT32_MAX, "1000", unknown}, level_case{-1, "0", unknown},
                                         level_case{-5, "0", unknown}, level_case{INT32_MIN, "0", unknown}));

TEST_F(Backlight, SetsLevelsInTurn) {
  expect_start();
  for (const int32_t level : {1000, 1, 500})
    lcd_bl_set(level);
  EXPECT_EQ(board_.read(brightness_file), "500");
  EXPECT_THAT(messages(), ElementsAre(high, low, medium));
}

TEST_F(Backlight, LogsClampedLevelThatCannotBeWritten) {
  expect_start();
  watched.fails = true;
  EXPECT_EQ(lcd_bl_set(2000), length_of(unknown));
  EXPECT_THAT(messages(), ElementsAre("lcd_bl_set() : setup err, value = 1000", unknown));
}

TEST_F(Backlight, FailsIfLevelIsWrittenInPart) {
  expect_start();
  watched.takes_too_little = true;
  EXPECT_EQ(lcd_bl_set(500), length_of(medium));
  EXPECT_THAT(messages(), ElementsAre("lcd_bl_set() : setup err, value = 500", medium));
}

TEST_F(Backlight, ReturnsZeroForLevelWithoutLog) {
  expect_start();
  board_.set_fault("open", "/tmp/dravik.log");
  EXPECT_EQ(lcd_bl_set(500), 0);
  EXPECT_EQ(board_.read(brightness_file), "500");
}

// ------------------------------------------------------------------------------------------------ power

TEST_F(Backlight, TurnsOffLightThenPanel) {
  expect_start();
  EXPECT_EQ(lcd_bl_off(), length_of("lcd_bl_off()"));
  EXPECT_EQ(board_.read(power_file), "1");
  EXPECT_THAT(watched.calls, ElementsAre("bl_power \"1\" @0", "blank 1 @1"));
  EXPECT_THAT(messages(), ElementsAre("lcd_bl_off() : turn off err", "lcd_bl_off()"));
  EXPECT_THAT(board_.events(), ElementsAre("backlight: off", "fb0: blank 1"));
}

TEST_F(Backlight, ReturnsSameIfOffCannotBeWritten) {
  expect_start();
  watched.fails = true;
  EXPECT_EQ(lcd_bl_off(), length_of("lcd_bl_off()"));
  EXPECT_THAT(watched.calls, ElementsAre("bl_power \"1\" @0", "blank 1 @1"));
  EXPECT_THAT(messages(), ElementsAre("lcd_bl_off() : turn off err", "lcd_bl_off()"));
}

TEST_F(Backlight, TurnsOnLightThenPanel) {
  expect_start();
  EXPECT_EQ(lcd_bl_on(), length_of("lcd_bl_on()"));
  EXPECT_EQ(board_.read(power_file), "0");
  EXPECT_THAT(watched.calls, ElementsAre("bl_power \"0\" @0", "blank 0 @0"));
  EXPECT_THAT(messages(), ElementsAre("lcd_bl_on()"));
  EXPECT_THAT(board_.events(), ElementsAre("backlight: on", "fb0: blank 0"));
}

TEST_F(Backlight, LogsOnThatCannotBeWritten) {
  expect_start();
  watched.fails = true;
  EXPECT_EQ(lcd_bl_on(), length_of("lcd_bl_on()"));
  EXPECT_THAT(watched.calls, ElementsAre("bl_power \"0\" @0", "blank 0 @1"));
  EXPECT_THAT(messages(), ElementsAre("lcd_bl_on() : turn on err", "lcd_bl_on()"));
}

TEST_F(Backlight, LogsOnThatIsNotAccepted) {
  expect_start();
  watched.takes_too_little = true;
  lcd_bl_on();
  EXPECT_THAT(messages(), ElementsAre("lcd_bl_on() : turn on err", "lcd_bl_on()"));
}

TEST_F(Backlight, SwitchesPanelWithoutFilesToo) {
  EXPECT_EQ(lcd_bl_off(), length_of("lcd_bl_off()"));
  EXPECT_EQ(lcd_bl_on(), length_of("lcd_bl_on()"));
  EXPECT_THAT(watched.calls, ElementsAre("blank 1 @0", "blank 0 @1"));
  EXPECT_THAT(messages(), ElementsAre("lcd_bl_off()", "lcd_bl_on()"));
}

// -------------------------------------------------------------------------------------------- descriptor 0

/// Free the descriptor of standard input for the next file that is opened.
class BacklightOnDescriptorZero : public Backlight {
protected:
  ~BacklightOnDescriptorZero() override {
    ::dup2(before_, STDIN_FILENO);
    ::close(before_);
  }
  static void free_zero() { ::close(STDIN_FILENO); }

private:
  int before_ = ::dup(STDIN_FILENO);
};

TEST_F(BacklightOnDescriptorZero, TreatsBrightnessAsClosed) {
  free_zero();
  EXPECT_EQ(lcd_bl_init(), 1);
  ASSERT_EQ(watched.names[0], "brightness");
  forget();
  EXPECT_EQ(lcd_bl_set(500), length_of(medium));
  EXPECT_THAT(watched.calls, IsEmpty());
  EXPECT_EQ(lcd_bl_init(), 1); // and yet is not opened again
  EXPECT_THAT(watched.calls, IsEmpty());
  lcd_bl_exit();
  EXPECT_THAT(watched.calls, ElementsAre("close bl_power @3"));
}

TEST_F(BacklightOnDescriptorZero, TreatsPowerAsClosed) {
  board_.remove(power_file);
  EXPECT_EQ(lcd_bl_init(), 0);
  board_.write(power_file, "4\n");
  free_zero();
  EXPECT_EQ(lcd_bl_init(), 1);
  ASSERT_EQ(watched.names[0], "bl_power");
  forget();
  lcd_bl_off();
  lcd_bl_on();
  EXPECT_THAT(watched.calls, ElementsAre("blank 1 @0", "blank 0 @1"));
  EXPECT_THAT(messages(), ElementsAre("lcd_bl_off()", "lcd_bl_on()"));
  EXPECT_EQ(board_.read(power_file), "4\n");
}

} // namespace
} // namespace dravik::test
