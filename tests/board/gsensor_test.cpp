// The accelerometer, transfer by transfer. This program interposes the calls that reach the bus, and
// reports each of them on standard error, so that transfers and messages are in one text, in order.

#include "dravik.h"
#include "support/board.hpp"
#include "support/call_watcher.hpp"
#include "support/stderr_capture.hpp"

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <deque>
#include <functional>
#include <gmock/gmock.h>
#include <sstream>
#include <string>
#include <vector>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr const char *bus_path = "/dev/i2c-0";
constexpr unsigned long slave_request = 0x0703;
constexpr unsigned long ten_bit_request = 0x0704;

using register_file = std::array<uint8_t, 256>;
using register_list = std::vector<uint8_t>;
using lines = std::vector<std::string>;

/// The calls that fail, each by its number from 1 on; 0: none.
struct failures {
  int set = 0;    ///< a write of two bytes
  int select = 0; ///< a write of one byte
  int read = 0;
};

/// The bus with the sensor on it.
struct watched_bus : call_watcher {
  int descriptor = 700;
  bool is_plugged_in = false;
  int open_error = 0;
  unsigned long refused_request = 0;
  ssize_t short_count = -1; ///< the result of a failing transfer
  failures failing;
  register_file registers = {};
  std::deque<uint8_t> script; ///< values of the next reads, before those of the registers
  uint8_t selected = 0;
  failures calls; ///< made until now
  int close_result = 0;

  int open(const char *path, int flags, mode_t mode) override {
    if (std::string_view{path} != bus_path)
      return call_watcher::open(path, flags, mode);
    std::fprintf(stderr, "> open%s\n", flags == O_RDWR ? "" : " with other flags");
    errno = open_error;
    is_plugged_in = open_error == 0;
    return is_plugged_in ? descriptor : -1;
  }

  int ioctl(int asked, unsigned long request, void *argument) override {
    if (!has(asked))
      return call_watcher::ioctl(asked, request, argument);
    std::fprintf(stderr, "> request %04lx %td\n", request, reinterpret_cast<intptr_t>(argument));
    errno = EBUSY;
    return request == refused_request ? -1 : 0;
  }

  ssize_t write(int asked, const void *bytes, size_t size) override {
    if (!has(asked))
      return call_watcher::write(asked, bytes, size);
    const auto *data = static_cast<const uint8_t *>(bytes);
    if (size == 1)
      std::fprintf(stderr, "> select %02x\n", data[0]);
    else
      std::fprintf(stderr, "> set %02x %02x%s\n", data[0], data[1], size == 2 ? "" : " and more");
    const bool fails = size == 1 ? ++calls.select == failing.select : ++calls.set == failing.set;
    errno = EREMOTEIO;
    if (fails)
      return short_count;
    if (size == 1)
      selected = data[0];
    else
      registers[data[0]] = data[1];
    return static_cast<ssize_t>(size);
  }

  ssize_t read(int asked, void *data, size_t size) override {
    if (!has(asked))
      return call_watcher::read(asked, data, size);
    auto *value = static_cast<uint8_t *>(data);
    std::fprintf(stderr, size == 1 ? "> read\n" : "> read more than one\n");
    errno = EREMOTEIO;
    if (++calls.read == failing.read)
      return short_count;
    *value = registers[selected];
    if (!script.empty()) {
      *value = script.front();
      script.pop_front();
    }
    return 1;
  }

  int close(int asked) override {
    if (!has(asked))
      return call_watcher::close(asked);
    std::fprintf(stderr, "> close\n");
    return close_result;
  }

  bool has(int asked) const { return is_plugged_in && asked == descriptor; }
} bus;

/// The lines of a text. The reasons of errors are removed.
lines without_reasons(const std::string &text) {
  lines all;
  std::istringstream rest{text};
  for (std::string line; std::getline(rest, line);) {
    for (const char *reported :
         {"I2C write error", "unable to read I2C bus", "gsensor_hw_init err", "update ODR write error!",
          "gsensor_update_odr err", "update g read error", "low power mode write error",
          "normal mode write error!", "open device failed", "I2C open error : I2C_BUS_CH",
          "I2C ioctl error : I2C_TENBIT", "I2C ioctl error : I2C_SLAVE"})
      if (line.starts_with(std::string{reported} + ": "))
        line = std::string{reported} + ": ...";
    all.push_back(line);
  }
  return all;
}

/// The sensor's start-up, step by step, with the transfers and messages of each.
class start_up_model {
public:
  start_up_model(const register_file &registers, failures failing)
      : registers_(registers), failing_(failing) {}

  lines run() {
    say({"> open", "> request 0704 0", "> request 0703 24", "gsensor_open() : done!"});
    configure();
    rate();
    mode();
    scale();
    return seen_;
  }
  const register_file &registers() const { return registers_; }

private:
  void say(const lines &more) { seen_.insert(seen_.end(), more.begin(), more.end()); }

  void tell(const char *format, ...) DRAVIK_PRINTF(2, 3) {
    char text[80];
    va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    seen_.emplace_back(text);
  }

  bool set(uint8_t number, uint8_t value) {
    tell("> set %02x %02x", number, value);
    if (++calls_.set == failing_.set) {
      say({"I2C write error: ..."});
      return false;
    }
    registers_[number] = value;
    return true;
  }
  bool set_aloud(uint8_t number, uint8_t value) {
    tell("write: %02x %02x", number, value);
    return set(number, value);
  }
  uint8_t get(uint8_t number) {
    tell("> select %02x", number);
    if (++calls_.select == failing_.select)
      say({"I2C write error: ..."});
    else
      selected_ = number;
    say({"> read"});
    if (++calls_.read != failing_.read)
      return registers_[selected_];
    say({"unable to read I2C bus: ..."});
    return 0;
  }

  bool clear() {
    for (const uint8_t number : register_list{0x20, 0x1F, 0x2E})
      if (!set(number, 0))
        return false;
    for (const uint8_t number : register_list{0x21, 0x22, 0x23, 0x24, 0x25})
      if (!set_aloud(number, 0))
        return false;
    return true;
  }

  void configure() {
    say({"gsensor_hw_init()+"});
    const uint8_t id = get(0x0F);
    tell("G-Sensor ID : %02x", id);
    if (id != 0x33)
      tell("error G-Sensor ID : %02x", id);
    if (id == 0x33 && clear())
      say({"gsensor_hw_init()-", "gsensor_hw_init() done!"});
    else
      say({"gsensor_hw_init() error!", "gsensor_hw_init err: ..."});
  }

  void rate() {
    say({"gsensor_update_odr()+"});
    const uint8_t current = get(0x20);
    const auto next = static_cast<uint8_t>(current | 0x50);
    tell("odr: CTRL_REG1=0x%02x", current);
    tell("odr: ODR_100HZ=0x50, CTRL_REG1=0x%02x", next);
    if (set(0x20, next))
      say({"gsensor_update_odr()-"});
    else
      say({"update ODR write error!: ...", "gsensor_update_odr err: ..."});
  }

  void mode() {
    say({"gsensor_operation_mode()+", "opmode : Normal"});
    const uint8_t current = get(0x20), scale_now = get(0x23);
    if (!set_aloud(0x20, static_cast<uint8_t>((current | 0x07) ^ 0x08)))
      say({"normal mode write error!: ..."});
    if (!set_aloud(0x23, static_cast<uint8_t>(scale_now | 0x88)))
      say({"normal mode write error!: ..."});
    say({"gsensor_operation_mode()-"});
  }

  void scale() {
    say({"gsensor_update_g_scale()+"});
    const uint8_t current = get(0x23);
    if (!set(0x23, static_cast<uint8_t>((current & 0xC7) | 0x18)))
      say({"update g read error: ..."});
    say({"gsensor_update_g_scale()-"});
  }

  register_file registers_;
  failures failing_, calls_;
  uint8_t selected_ = 0;
  lines seen_;
};

class Gsensor : public testing::Test {
protected:
  Gsensor() {
    bus = {};
    watcher = &bus;
    bus.registers.fill(0xA5); // left by an earlier program
    bus.registers[0x0F] = 0x33;
  }
  ~Gsensor() override { bus.is_plugged_in = false; }

  /// The transfers and messages of `call`.
  static lines seen(const std::function<void()> &call) {
    stderr_capture errors;
    call();
    return without_reasons(errors.take());
  }
  static lines checked_start_messages() {
    return seen([] { EXPECT_EQ(gsensor_init(), 0); });
  }

  /// A start with these failures, next to the model's.
  static void expect_start_as_modelled(failures failing) {
    bus.failing = failing;
    start_up_model model{bus.registers, failing};
    const lines expected = model.run();
    EXPECT_THAT(checked_start_messages(), ElementsAreArray(expected));
    EXPECT_EQ(bus.registers, model.registers());
  }
};

// ------------------------------------------------------------------------------------------------ start-up

TEST_F(Gsensor, StartsCleanly) {
  EXPECT_THAT(checked_start_messages(),
              ElementsAre("> open", "> request 0704 0", "> request 0703 24", "gsensor_open() : done!",
                          "gsensor_hw_init()+", "> select 0f", "> read", "G-Sensor ID : 33", "> set 20 00",
                          "> set 1f 00", "> set 2e 00", "write: 21 00", "> set 21 00", "write: 22 00",
                          "> set 22 00", "write: 23 00", "> set 23 00", "write: 24 00", "> set 24 00",
                          "write: 25 00", "> set 25 00", "gsensor_hw_init()-", "gsensor_hw_init() done!",
                          "gsensor_update_odr()+", "> select 20", "> read", "odr: CTRL_REG1=0x00",
                          "odr: ODR_100HZ=0x50, CTRL_REG1=0x50", "> set 20 50", "gsensor_update_odr()-",
                          "gsensor_operation_mode()+", "opmode : Normal", "> select 20", "> read",
                          "> select 23", "> read", "write: 20 5f", "> set 20 5f", "write: 23 88",
                          "> set 23 88", "gsensor_operation_mode()-", "gsensor_update_g_scale()+",
                          "> select 23", "> read", "> set 23 98", "gsensor_update_g_scale()-"));
}

TEST_F(Gsensor, LeavesRegistersConfigured) {
  register_file expected = bus.registers;
  for (const size_t cleared : {0x1FU, 0x21U, 0x22U, 0x24U, 0x25U, 0x2EU})
    expected[cleared] = 0;
  expected[0x20] = 0x5F;
  expected[0x23] = 0x98;
  checked_start_messages();
  EXPECT_EQ(bus.registers, expected);
}

TEST_F(Gsensor, ReportsOtherIdentityAndConfiguresRest) {
  bus.registers[0x0F] = 0x32;
  bus.registers[0x20] = 0x0F;
  bus.registers[0x23] = 0x34;
  EXPECT_THAT(checked_start_messages(),
              ElementsAre("> open", "> request 0704 0", "> request 0703 24", "gsensor_open() : done!",
                          "gsensor_hw_init()+", "> select 0f", "> read", "G-Sensor ID : 32",
                          "error G-Sensor ID : 32", "gsensor_hw_init() error!", "gsensor_hw_init err: ...",
                          "gsensor_update_odr()+", "> select 20", "> read", "odr: CTRL_REG1=0x0f",
                          "odr: ODR_100HZ=0x50, CTRL_REG1=0x5f", "> set 20 5f", "gsensor_update_odr()-",
                          "gsensor_operation_mode()+", "opmode : Normal", "> select 20", "> read",
                          "> select 23", "> read", "write: 20 57", // the low-power bit is toggled
                          "> set 20 57", "write: 23 bc", "> set 23 bc", "gsensor_operation_mode()-",
                          "gsensor_update_g_scale()+", "> select 23", "> read", "> set 23 9c",
                          "gsensor_update_g_scale()-"));
}

TEST_F(Gsensor, ReportsEveryOtherIdentity) {
  for (const int identity : {0x00, 0x03, 0x23, 0x34, 0x73, 0xFF}) {
    bus.registers.fill(0xFF);
    bus.registers[0x0F] = static_cast<uint8_t>(identity);
    expect_start_as_modelled({});
  }
}

TEST_F(Gsensor, StopsFirstConfigurationAtFailedWrite) {
  bus.failing.set = 5;
  const lines all = checked_start_messages();
  const lines from_the_failure(all.begin() + 13, all.begin() + 19);
  EXPECT_THAT(from_the_failure,
              ElementsAre("write: 22 00", "> set 22 00", "I2C write error: ...", "gsensor_hw_init() error!",
                          "gsensor_hw_init err: ...", "gsensor_update_odr()+"));
}

TEST_F(Gsensor, ReportsFailedWriteOfModeChangeAndContinues) {
  bus.failing.set = 10;
  const lines all = checked_start_messages();
  const auto change = std::find(all.begin(), all.end(), "write: 20 5f");
  ASSERT_GE(all.end() - change, 6);
  EXPECT_THAT(lines(change, change + 6),
              ElementsAre("write: 20 5f", "> set 20 5f", "I2C write error: ...",
                          "normal mode write error!: ...", "write: 23 88", "> set 23 88"));
}

/// The one of a start's 12 register writes that fails.
class GsensorWriteFailure : public Gsensor, public testing::WithParamInterface<int> {};

TEST_P(GsensorWriteFailure, IsReported) {
  expect_start_as_modelled({GetParam(), 0, 0});
}

TEST_P(GsensorWriteFailure, TreatsHalfWriteAsFailure) {
  bus.short_count = 1;
  expect_start_as_modelled({GetParam(), 0, 0});
}

INSTANTIATE_TEST_SUITE_P(Calls, GsensorWriteFailure, testing::Range(1, 13));

/// The one of a start's 5 register reads that fails.
class GsensorReadFailure : public Gsensor, public testing::WithParamInterface<int> {};

TEST_P(GsensorReadFailure, ReportsFailedSelectAndReads) {
  expect_start_as_modelled({0, GetParam(), 0});
}

TEST_P(GsensorReadFailure, ReportsFailedRead) {
  expect_start_as_modelled({0, 0, GetParam()});
}

TEST_P(GsensorReadFailure, TreatsEmptyReadAsFailure) {
  bus.short_count = 0;
  expect_start_as_modelled({0, 0, GetParam()});
}

INSTANTIATE_TEST_SUITE_P(Calls, GsensorReadFailure, testing::Range(1, 6));

TEST_F(Gsensor, ReportsReasons) {
  bus.failing = {9, 0, 2};
  stderr_capture errors;
  EXPECT_EQ(gsensor_init(), 0);
  const std::string text = errors.take();
  EXPECT_NE(text.find("\nunable to read I2C bus: Remote I/O error\n"), std::string::npos);
  EXPECT_NE(text.find("\nI2C write error: Remote I/O error\nupdate ODR write error!: "), std::string::npos);
}

TEST_F(Gsensor, FailsIfBusIsMissing) {
  bus.open_error = ENOENT;
  stderr_capture errors;
  EXPECT_EQ(gsensor_init(), -1);
  EXPECT_THAT(errors.take(), testing::MatchesRegex("> open\nI2C open error : I2C_BUS_CH: No such file or "
                                                   "directory\nopen device failed: [^\n]*\n"));
}

TEST_F(Gsensor, FailsIfAddressingIsRejected) {
  bus.refused_request = ten_bit_request;
  stderr_capture errors;
  EXPECT_EQ(gsensor_init(), -1);
  EXPECT_THAT(errors.take(),
              testing::MatchesRegex("> open\n> request 0704 0\nI2C ioctl error : I2C_TENBIT: Device or "
                                    "resource busy\nopen device failed: [^\n]*\n"));
}

TEST_F(Gsensor, FailsIfSlaveIsRejected) {
  bus.refused_request = slave_request;
  stderr_capture errors;
  EXPECT_EQ(gsensor_init(), -1);
  EXPECT_THAT(errors.take(),
              testing::MatchesRegex("> open\n> request 0704 0\n> request 0703 24\nI2C ioctl error : "
                                    "I2C_SLAVE: Device or resource busy\nopen device failed: [^\n]*\n"));
}

// ------------------------------------------------------------------------------------------------ the data

struct axis_value {
  uint8_t low, high;
  int32_t counts;
};

class GsensorAxes : public Gsensor, public testing::WithParamInterface<axis_value> {};

TEST_P(GsensorAxes, ScalesTwelveBitsByTwo) {
  checked_start_messages();
  const auto [low, high, counts] = GetParam();
  for (size_t axis = 0; axis < 3; ++axis) {
    for (size_t number = 0x28; number <= 0x2D; ++number)
      bus.registers[number] = 0;
    bus.registers[0x28 + 2 * axis] = low;
    bus.registers[0x29 + 2 * axis] = high;
    int32_t values[3] = {-1, -1, -1};
    seen([&values] { gsensor_get_data(&values[0], &values[1], &values[2]); });
    for (size_t other = 0; other < 3; ++other)
      EXPECT_EQ(values[other], other == axis ? counts : 0) << "axis " << other;
  }
}

INSTANTIATE_TEST_SUITE_P(Values, GsensorAxes,
                         testing::Values(axis_value{0x00, 0x00, 0}, axis_value{0xF0, 0x7F, 4094},
                                         axis_value{0xFF, 0x7F, 4094}, axis_value{0x00, 0x80, -4096},
                                         axis_value{0x0F, 0x80, -4096}, axis_value{0x10, 0x80, -4094},
                                         axis_value{0x0F, 0x00, 0}, axis_value{0x10, 0x00, 2},
                                         axis_value{0x1F, 0x00, 2}, axis_value{0xF0, 0xFF, -2},
                                         axis_value{0xFF, 0xFF, -2}, axis_value{0xE0, 0xFF, -4},
                                         axis_value{0x00, 0x40, 2048}, axis_value{0x00, 0xC0, -2048},
                                         axis_value{0xA0, 0x05, 180}));

TEST_F(Gsensor, ReadsSixRegistersOneAtATime) {
  checked_start_messages();
  int32_t x, y, z;
  EXPECT_THAT(seen([&] { gsensor_get_data(&x, &y, &z); }),
              ElementsAre("> select 28", "> read", "> select 29", "> read", "> select 2a", "> read",
                          "> select 2b", "> read", "> select 2c", "> read", "> select 2d", "> read"));
}

TEST_F(Gsensor, ReportsFailedReadOfAxisAndReadsOthers) {
  checked_start_messages();
  bus.failing.read = bus.calls.read + 3;
  for (size_t number = 0x28; number <= 0x2D; ++number)
    bus.registers[number] = 0x40;
  int32_t x, y, z;
  EXPECT_THAT(seen([&] { gsensor_get_data(&x, &y, &z); }),
              ElementsAre("> select 28", "> read", "> select 29", "> read", "> select 2a", "> read",
                          "unable to read I2C bus: ...", "> select 2b", "> read", "> select 2c", "> read",
                          "> select 2d", "> read"));
  EXPECT_EQ(x, 2056);
  EXPECT_EQ(z, 2056);
}

/// Call while there is no sensor: each transfer fails, and nothing reaches any descriptor.
class GsensorAbsent : public Gsensor {
protected:
  GsensorAbsent() {
    bus.descriptor = 0; // standard input
    bus.is_plugged_in = true;
    bus.registers.fill(0x88);
  }

  static void expect_zeros_without_transfers() {
    bus.calls = {};
    int32_t x = 1, y = 2, z = 3;
    const lines all = seen([&] {
      gsensor_get_data(&x, &y, &z);
      EXPECT_EQ(gsensor_check_data_ready(), 0);
    });
    EXPECT_THAT(all, testing::Not(testing::Contains(testing::StartsWith("> "))));
    EXPECT_THAT(all, testing::SizeIs(14)); // two errors for each register
    EXPECT_EQ(x, 0);
    EXPECT_EQ(y, 0);
    EXPECT_EQ(z, 0);
  }
};

TEST_F(GsensorAbsent, ReturnsZerosBeforeTheStart) {
  expect_zeros_without_transfers();
}

TEST_F(GsensorAbsent, TouchesNoDescriptorBeforeInit) {
  lines all = seen([] { EXPECT_EQ(gsensor_exit(), 0); });
  EXPECT_THAT(all, testing::Not(testing::Contains(testing::StartsWith("> "))));
  EXPECT_EQ(all.front(), "gsensor_operation_mode()+");
  EXPECT_EQ(all.back(), "gsensor_operation_mode()-");
}

TEST_F(GsensorAbsent, ReturnsZerosAfterAFailedStart) {
  bus.open_error = ENOENT;
  seen([] { EXPECT_EQ(gsensor_init(), -1); });
  expect_zeros_without_transfers();
  bus.open_error = 0;
  for (const int descriptor : {0, 700})
    for (const unsigned long request : {ten_bit_request, slave_request}) {
      bus.descriptor = descriptor;
      bus.refused_request = request;
      seen([] { EXPECT_EQ(gsensor_init(), -1); });
      expect_zeros_without_transfers();
    }
}

TEST_F(GsensorAbsent, ReturnsZerosAfterAStartThatFailedLater) {
  bus.descriptor = 700;
  checked_start_messages();
  bus.refused_request = slave_request;
  seen([] { EXPECT_EQ(gsensor_init(), -1); });
  expect_zeros_without_transfers();
}

TEST_F(GsensorAbsent, UsesDescriptorZeroAfterInit) {
  checked_start_messages();
  int32_t x, y, z;
  bus.calls = {};
  seen([&] { gsensor_get_data(&x, &y, &z); });
  EXPECT_EQ(bus.calls.read, 6);
  EXPECT_EQ(x, -3824); // 0x8888: the upper 12 bits are -1912
}

struct poll_case {
  std::deque<uint8_t> statuses;
  size_t reads;
};

class GsensorReady : public Gsensor, public testing::WithParamInterface<poll_case> {};

TEST_P(GsensorReady, WaitsOnlyDuringAnOverrunWithoutNewData) {
  checked_start_messages();
  bus.script = GetParam().statuses;
  lines expected;
  for (size_t read = 0; read < GetParam().reads; ++read)
    expected.insert(expected.end(), {"> select 27", "> read"});
  EXPECT_THAT(seen([] { EXPECT_EQ(gsensor_check_data_ready(), 0); }), ElementsAreArray(expected));
}

INSTANTIATE_TEST_SUITE_P(Statuses, GsensorReady,
                         testing::Values(poll_case{{0x00}, 1}, poll_case{{0x08}, 1}, poll_case{{0x88}, 1},
                                         poll_case{{0x77}, 1}, poll_case{{0xFF}, 1},
                                         poll_case{{0x80, 0x00}, 2}, poll_case{{0x80, 0x88}, 2},
                                         poll_case{{0xF7, 0x80, 0x87, 0x08}, 4}));

// ------------------------------------------------------------------------------------------------ the end

TEST_F(Gsensor, LeavesLowPowerModeOnExit) {
  checked_start_messages();
  bus.close_result = 5;
  EXPECT_THAT(seen([] { EXPECT_EQ(gsensor_exit(), 5); }),
              ElementsAre("gsensor_operation_mode()+", "> select 20", "> read", "> select 23", "> read",
                          "write: 20 5f", "> set 20 5f", "write: 23 d7", "> set 23 d7",
                          "gsensor_operation_mode()-", "> close"));
  EXPECT_EQ(bus.registers[0x20], 0x5F);
  EXPECT_EQ(bus.registers[0x23], 0xD7);
}

TEST_F(Gsensor, SetsLowPowerModeInFirstRegisterOnly) {
  checked_start_messages();
  bus.registers[0x20] = 0xA0;
  bus.registers[0x23] = 0x00;
  seen([] { gsensor_exit(); });
  EXPECT_EQ(bus.registers[0x20], 0xAF);
  EXPECT_EQ(bus.registers[0x23], 0xA7);
}

TEST_F(Gsensor, ReportsFailedWritesOnExit) {
  checked_start_messages();
  bus.failing.set = 13;
  EXPECT_THAT(seen([] { gsensor_exit(); }),
              ElementsAre("gsensor_operation_mode()+", "> select 20", "> read", "> select 23", "> read",
                          "write: 20 5f", "> set 20 5f", "I2C write error: ...",
                          "low power mode write error: ...", "write: 23 d7", "> set 23 d7",
                          "gsensor_operation_mode()-", "> close"));
  bus.failing.set = 16;
  EXPECT_THAT(seen([] { gsensor_exit(); }),
              ElementsAre("gsensor_operation_mode()+", "> select 20", "> read", "> select 23", "> read",
                          "write: 20 5f", "> set 20 5f", "write: 23 d7", "> set 23 d7",
                          "I2C write error: ...", "low power mode write error: ...",
                          "gsensor_operation_mode()-", "> close"));
}

TEST_F(Gsensor, LeavesDescriptorZeroOpen) {
  bus.descriptor = 0;
  bus.close_result = 5;
  checked_start_messages();
  const lines all = seen([] { EXPECT_EQ(gsensor_exit(), 0); });
  EXPECT_EQ(all.back(), "gsensor_operation_mode()-");
}

TEST_F(Gsensor, ReportsTransfersOnExitAfterFailedInit) {
  bus.open_error = ENOENT;
  seen([] { gsensor_init(); });
  EXPECT_THAT(seen([] { EXPECT_EQ(gsensor_exit(), -1); }),
              ElementsAre("gsensor_operation_mode()+", "I2C write error: ...", "unable to read I2C bus: ...",
                          "I2C write error: ...", "unable to read I2C bus: ...", "write: 20 0f",
                          "I2C write error: ...", "low power mode write error: ...", "write: 23 87",
                          "I2C write error: ...", "low power mode write error: ...",
                          "gsensor_operation_mode()-"));
}

} // namespace
} // namespace dravik::test
