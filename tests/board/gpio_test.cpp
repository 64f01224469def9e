// GPIO lines and the status LED. This program interposes the calls that reach the driver.

#include "dravik.h"
#include "support/board.hpp"
#include "support/call_watcher.hpp"
#include "support/descriptors.hpp"
#include "support/stderr_capture.hpp"

#include <cerrno>
#include <cstring>
#include <gmock/gmock.h>
#include <map>
#include <sstream>
#include <string>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char *driver_path = "/dev/ambad";
constexpr int driver_descriptor = 700;
constexpr unsigned long get_request = 0x800464CB;
constexpr unsigned long set_request = 0x400464CB;

/// The driver, and the requests to it.
struct watched_driver : call_watcher {
  bool is_there = true;
  std::vector<std::string> calls;
  std::map<uint32_t, uint32_t> levels;
  size_t refused_call = 0; ///< 1: the first request, and so on
  size_t requests = 0;
  int result = 0; ///< of a request that is not rejected
  int close_result = 0;

  int open(const char *path, int flags, mode_t mode) override {
    if (std::string_view{path} != driver_path)
      return call_watcher::open(path, flags, mode);
    calls.emplace_back(flags == O_RDWR ? "open" : "open with other flags");
    errno = ENODEV;
    return is_there ? driver_descriptor : -1;
  }

  int ioctl(int descriptor, unsigned long request, void *argument) override {
    if (descriptor != driver_descriptor)
      return call_watcher::ioctl(descriptor, request, argument);
    uint32_t record[2]; // the line, then its level
    std::memcpy(record, argument, sizeof record);
    std::ostringstream call;
    call << (request == get_request   ? "get "
             : request == set_request ? "set "
                                      : "other ")
         << record[0] << ' ' << record[1];
    calls.push_back(call.str());
    errno = EIO;
    if (++requests == refused_call)
      return -1;
    if (request == set_request)
      levels[record[0]] = record[1];
    std::memcpy(static_cast<char *>(argument) + sizeof record[0], &levels[record[0]], sizeof record[1]);
    return result;
  }

  int close(int descriptor) override {
    if (descriptor != driver_descriptor)
      return call_watcher::close(descriptor);
    calls.emplace_back("close");
    return close_result;
  }
} driver;

class Gpio : public testing::Test {
protected:
  Gpio() {
    driver = {};
    watcher = &driver;
  }
  ~Gpio() override { gpiofd = -1; }

  void expect_start() {
    board_.write("proc/modules", "ambad 16384 0 - Live 0x7f000000\n");
    ASSERT_EQ(gpio_init(), 0);
    driver.calls.clear();
  }

  board board_;
  stderr_capture errors_;
};

// ------------------------------------------------------------------------------------------------ the driver

TEST_F(Gpio, IsNotOpenAtFirst) {
  EXPECT_EQ(gpiofd, -1);
}

TEST_F(Gpio, OpensLoadedDriver) {
  board_.write("proc/modules", "ext4 5000 1 - Live 0x7f100000\nambad 16384 0 - Live 0x7f000000\n");
  const size_t descriptors = open_descriptors();
  EXPECT_EQ(gpio_init(), 0);
  EXPECT_EQ(gpiofd, driver_descriptor);
  EXPECT_THAT(driver.calls, ElementsAre("open"));
  EXPECT_EQ(errors_.take(), "");
  EXPECT_EQ(open_descriptors(), descriptors);
}

TEST_F(Gpio, LeavesUnloadedDriverClosed) {
  board_.write("proc/modules", "ext4 5000 1 - Live 0x7f100000\n");
  const size_t descriptors = open_descriptors();
  gpiofd = 5;
  EXPECT_EQ(gpio_init(), -1);
  EXPECT_EQ(gpiofd, -1);
  EXPECT_THAT(driver.calls, IsEmpty());
  EXPECT_EQ(errors_.take(), "/dev/ambad: No such device\n");
  EXPECT_EQ(open_descriptors(), descriptors);
}

TEST_F(Gpio, ReportsMissingModuleListBeforeDevice) {
  board_.remove("proc/modules");
  gpiofd = 5;
  EXPECT_EQ(gpio_init(), -1);
  EXPECT_EQ(gpiofd, -1);
  EXPECT_THAT(driver.calls, IsEmpty());
  EXPECT_EQ(errors_.take(), "/proc/modules: No such file or directory\n/dev/ambad: No such device\n");
}

TEST_F(Gpio, ReportsMissingDevice) {
  board_.write("proc/modules", "ambad 16384 0 - Live 0x7f000000\n");
  driver.is_there = false;
  gpiofd = 5;
  EXPECT_EQ(gpio_init(), -1);
  EXPECT_EQ(gpiofd, -1);
  EXPECT_THAT(driver.calls, ElementsAre("open"));
  EXPECT_EQ(errors_.take(), "/dev/ambad: No such device\n");
}

struct module_list {
  const char *name;
  std::string text;
  bool has_driver;
};

std::string x(size_t count) {
  return std::string(count, 'x');
}
std::string blanks(size_t count) {
  return std::string(count, ' ');
}

class GpioModules : public Gpio, public testing::WithParamInterface<module_list> {};

TEST_P(GpioModules, ComparesFirstTokenOfLine) {
  board_.write("proc/modules", GetParam().text);
  EXPECT_EQ(gpio_init(), GetParam().has_driver ? 0 : -1);
}

// A line is read in pieces of 254 characters, and each piece is treated as a line.
INSTANTIATE_TEST_SUITE_P(
    Lists, GpioModules,
    testing::Values(
        module_list{"Empty", "", false}, module_list{"OneLine", "ambad 16384 0 - Live\n", true},
        module_list{"LastOfThree", "ext4 1\nvfat 2\nambad 3\n", true},
        module_list{"FirstOfThree", "ambad 3\next4 1\nvfat 2\n", true},
        module_list{"LongerName", "ambadx 1\n", false}, module_list{"ShorterName", "amba 1\n", false},
        module_list{"NameWithMoreBefore", "xambad 1\n", false}, module_list{"OtherCase", "Ambad 1\n", false},
        module_list{"SecondToken", "ext4 ambad 1\n", false},
        module_list{"UsedByIt", "core 900 1 ambad, Live\n", false},
        module_list{"BlanksBefore", "   ambad 1\n", true}, module_list{"TabBefore", "\tambad 1\n", false},
        module_list{"TabBehind", "ambad\t1\n", false}, module_list{"NameAndNewline", "ambad\n", false},
        module_list{"NameAlone", "ambad", true}, module_list{"NameAndBlank", "ambad \n", true},
        module_list{"NameAndCarriageReturn", "ambad\r\n", false}, module_list{"EmptyLine", "\n", false},
        module_list{"EmptyLineBefore", "\nambad 1\n", true}, module_list{"BlanksAlone", "   ", false},
        module_list{"LastLineOfBlanksAlone", "ext4 1\n   ", false},
        module_list{"LineOfBlanksBefore", "   \nambad 1\n", true},
        module_list{"NoNewlineAtTheEnd", "ext4 1\nambad 1", true},
        module_list{"LineOf253BeforeIt", x(253) + "\nambad 1\n", true},
        module_list{"LineOf254BeforeIt", x(254) + "\nambad 1\n", true},
        module_list{"LineOf1000BeforeIt", x(1000) + "\nambad 1\n", true},
        module_list{"SecondPiece", x(254) + "ambad 1\n", true},
        module_list{"SecondPieceAndNewline", x(254) + "ambad\n", false},
        module_list{"AcrossTwoPieces", x(253) + "ambad 1\n", false},
        module_list{"InsideTheSecondPiece", x(255) + "ambad 1\n", false},
        module_list{"ThirdPiece", x(508) + "ambad 1\n", true},
        module_list{"UpToTheEndOfAPiece", blanks(249) + "ambad 1\n", true},
        module_list{"UpToTheEndOfAPieceWithMoreBehind", blanks(249) + "ambadx 1\n", true},
        module_list{"CutByTheEndOfAPiece", blanks(250) + "ambad 1\n", false},
        module_list{"PieceOfBlanks", blanks(254) + "ambad 1\n", true}),
    [](const auto &one) { return std::string{one.param.name}; });

// ------------------------------------------------------------------------------------------------ the lines

TEST_F(Gpio, PassesLineAndReturnsLevel) {
  expect_start();
  driver.levels = {{68, 1}, {7, 0}};
  EXPECT_EQ(gpio_get(DRAVIK_GPIO_CARD_LOCK), 1);
  EXPECT_EQ(gpio_get(7), 0);
  EXPECT_THAT(driver.calls, ElementsAre("get 68 0", "get 7 0"));
}

TEST_F(Gpio, ReturnsLevelOfDriverUnchanged) {
  expect_start();
  driver.levels = {{1, 7}, {0xFFFFFFFF, 0x80000000}};
  driver.result = 3; // not negative: no failure
  EXPECT_EQ(gpio_get(1), 7);
  EXPECT_EQ(gpio_get(0xFFFFFFFF), INT32_MIN);
  EXPECT_EQ(errors_.take(), "");
}

TEST_F(Gpio, DrivesLineToLowestBit) {
  expect_start();
  EXPECT_EQ(gpio_set(DRAVIK_GPIO_LED_RED, 1), 1);
  EXPECT_EQ(gpio_set(DRAVIK_GPIO_LED_RED, 0), 0);
  EXPECT_EQ(gpio_set(DRAVIK_GPIO_LED_GREEN, 2), 0);
  EXPECT_EQ(gpio_set(0xFFFFFFFF, 0xFFFFFFFF), 1);
  EXPECT_THAT(driver.calls, ElementsAre("set 82 1", "set 82 0", "set 83 0", "set 4294967295 1"));
  EXPECT_EQ(errors_.take(), "");
}

TEST_F(Gpio, ReportsRejectedRequests) {
  expect_start();
  driver.refused_call = 1;
  EXPECT_EQ(gpio_get(DRAVIK_GPIO_CARD_LOCK), -1);
  EXPECT_EQ(errors_.take(), "AMBA_DEBUG_IOC_GET_GPIO: Input/output error\n");
  driver.refused_call = 2;
  EXPECT_EQ(gpio_set(DRAVIK_GPIO_LED_RED, 1), -1);
  EXPECT_EQ(errors_.take(), "AMBA_DEBUG_IOC_SET_GPIO: Input/output error\n");
  EXPECT_EQ(gpio_set(DRAVIK_GPIO_LED_RED, 1), 1); // the driver is still usable
}

TEST_F(Gpio, RequestsNothingFromClosedDriver) {
  for (const int32_t descriptor : {-1, -700}) {
    gpiofd = descriptor;
    EXPECT_EQ(gpio_get(DRAVIK_GPIO_CARD_LOCK), -1);
    EXPECT_EQ(gpio_set(DRAVIK_GPIO_LED_RED, 1), -1);
    EXPECT_EQ(led_red(), -1);
    EXPECT_EQ(led_green(), -1);
    EXPECT_EQ(led_orange(), -1);
    EXPECT_EQ(led_off(), -1);
    EXPECT_EQ(gpio_exit(), descriptor);
  }
  EXPECT_THAT(driver.calls, IsEmpty());
  EXPECT_EQ(errors_.take(), "");
}

TEST_F(Gpio, ClosesSameDescriptorEachTime) {
  expect_start();
  EXPECT_EQ(gpio_exit(), 0);
  EXPECT_EQ(gpiofd, driver_descriptor);
  driver.close_result = -1;
  EXPECT_EQ(gpio_exit(), -1);
  EXPECT_EQ(gpiofd, driver_descriptor);
  EXPECT_THAT(driver.calls, ElementsAre("close", "close"));
}

// ------------------------------------------------------------------------------------------------ the LED

TEST_F(Gpio, TurnsLedRed) {
  expect_start();
  EXPECT_EQ(led_red(), 0);
  EXPECT_THAT(driver.calls, ElementsAre("set 82 1", "set 83 0"));
}

TEST_F(Gpio, TurnsLedGreen) {
  expect_start();
  EXPECT_EQ(led_green(), 1);
  EXPECT_THAT(driver.calls, ElementsAre("set 82 0", "set 83 1"));
}

TEST_F(Gpio, TurnsLedOrange) {
  expect_start();
  EXPECT_EQ(led_orange(), 1);
  EXPECT_THAT(driver.calls, ElementsAre("set 82 1", "set 83 1"));
}

TEST_F(Gpio, TurnsLedOff) {
  expect_start();
  EXPECT_EQ(led_off(), 0);
  EXPECT_THAT(driver.calls, ElementsAre("set 82 0", "set 83 0"));
}

TEST_F(Gpio, ReturnsResultOfSecondLedLine) {
  expect_start();
  driver.refused_call = 1;
  EXPECT_EQ(led_orange(), 1);
  EXPECT_THAT(driver.calls, ElementsAre("set 82 1", "set 83 1"));
  driver.refused_call = 4;
  EXPECT_EQ(led_orange(), -1);
  EXPECT_EQ(driver.levels[82], 1U);
}

} // namespace
} // namespace dravik::test
