// The GPIO lines of a simulated board: by the library's functions, by plain requests, from outside.

#include "dravik.h"
#include "support/board.hpp"
#include "support/stderr_capture.hpp"

#include <cerrno>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned long get_request = 0x800464CB;
constexpr unsigned long set_request = 0x400464CB;

struct line_record {
  uint32_t line, level;
};

class SimGpio : public testing::Test {
protected:
  SimGpio() { EXPECT_EQ(gpio_init(), 0); }
  ~SimGpio() override { gpio_exit(); }
  static int ask(unsigned long request, line_record &record) { return ::ioctl(gpiofd, request, &record); }

  const board board_;
  const stderr_capture errors_;
};

TEST_F(SimGpio, HasLowLinesOnNewBoard) {
  for (const uint32_t line : {0U, 68U, 82U, 83U, 255U})
    EXPECT_EQ(gpio_get(line), 0) << line;
  EXPECT_THAT(board_.events(), IsEmpty());
}

TEST_F(SimGpio, FollowsFileOfLine) {
  board_.write("gpio/68", "1\n");
  EXPECT_EQ(gpio_get(68), 1);
  EXPECT_EQ(gpio_get(67), 0);
  board_.write("gpio/68", "0");
  EXPECT_EQ(gpio_get(68), 0);
  board_.write("gpio/68", "1 # held by hand\n");
  EXPECT_EQ(gpio_get(68), 1);
  board_.remove("gpio/68");
  EXPECT_EQ(gpio_get(68), 0);
}

TEST_F(SimGpio, WritesFileAndEventOfLine) {
  EXPECT_EQ(gpio_set(5, 1), 1);
  EXPECT_EQ(board_.read("gpio/5"), "1\n");
  EXPECT_EQ(gpio_set(5, 0), 0);
  EXPECT_EQ(board_.read("gpio/5"), "0\n");
  EXPECT_EQ(gpio_set(255, 1), 1);
  EXPECT_THAT(board_.events(), ElementsAre("gpio: 5 = 1", "gpio: 5 = 0", "gpio: 255 = 1"));
}

TEST_F(SimGpio, TreatsOtherLevelsAsHigh) {
  line_record record = {7, 0x80000000};
  EXPECT_EQ(ask(set_request, record), 0);
  EXPECT_EQ(gpio_get(7), 1);
}

TEST_F(SimGpio, ReportsTwoLinesAsStatusLed) {
  led_red();
  led_orange();
  led_green();
  led_off();
  EXPECT_THAT(board_.events(), ElementsAre("gpio: 82 = 1", "led: red", "gpio: 83 = 0",    //
                                           "gpio: 82 = 1", "gpio: 83 = 1", "led: orange", //
                                           "gpio: 82 = 0", "led: green", "gpio: 83 = 1",  //
                                           "gpio: 82 = 0", "gpio: 83 = 0", "led: off"));
}

TEST_F(SimGpio, RejectsInvalidRequests) {
  line_record record = {256, 1};
  for (const unsigned long request : {get_request, set_request}) {
    EXPECT_EQ(ask(request, record), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(::ioctl(gpiofd, request, nullptr), -1);
    EXPECT_EQ(errno, EFAULT);
  }
  EXPECT_EQ(ask(0x400464CC, record), -1);
  EXPECT_EQ(errno, ENOTTY);
  EXPECT_THAT(board_.events(), ElementsAre("gpio: request 0x400464cc refused"));
}

TEST_F(SimGpio, UsesLineNumbersOf32Bits) {
  board_.write("gpio/9", "1");
  line_record record = {9, 0};
  EXPECT_EQ(ask(static_cast<unsigned long>(static_cast<int>(get_request)), record), 0);
  EXPECT_EQ(record.level, 1U);
}

TEST_F(SimGpio, FailsIfInjected) {
  board_.set_fault("set", "/dev/ambad", "EBUSY");
  EXPECT_EQ(gpio_set(3, 1), -1);
  EXPECT_EQ(gpio_get(3), 0);
  board_.clear_faults();
  board_.set_fault("get", "/dev/ambad", "EIO");
  EXPECT_EQ(gpio_get(3), -1);
  EXPECT_EQ(gpio_set(3, 1), 1);
  EXPECT_THAT(board_.events(),
              ElementsAre("gpio: set fails (injected)", "gpio: get fails (injected)", "gpio: 3 = 1"));
}

TEST_F(SimGpio, ReportsLineThatCannotBeWritten) {
  board_.remove("gpio");
  EXPECT_EQ(gpio_set(3, 1), -1);
  EXPECT_THAT(board_.events(), IsEmpty());
}

TEST_F(SimGpio, HasNoMemoryToMap) {
  EXPECT_EQ(::mmap(nullptr, 4096, PROT_READ, MAP_SHARED, gpiofd, 0), MAP_FAILED);
  EXPECT_EQ(errno, ENODEV);
}

class SimGpioStart : public testing::Test {
protected:
  const board board_;
  const stderr_capture errors_;
};

TEST_F(SimGpioStart, FailsWithoutTheModule) {
  board_.write("proc/modules", "other 1 0\n");
  EXPECT_EQ(gpio_init(), -1);
}

TEST_F(SimGpioStart, FailsAsOrdered) {
  board_.set_fault("open", "/dev/ambad", "ENODEV");
  EXPECT_EQ(gpio_init(), -1);
  board_.clear_faults();
  EXPECT_EQ(gpio_init(), 0);
  gpio_exit();
}

TEST_F(SimGpioStart, ReturnsDescriptorZeroAsOrdered) {
  board_.set_fault("descriptor-0", "/dev/ambad");
  EXPECT_EQ(gpio_init(), 0);
  EXPECT_EQ(gpiofd, 0);
  EXPECT_EQ(gpio_set(1, 1), 1);
  gpio_exit();
}

} // namespace
} // namespace dravik::test
