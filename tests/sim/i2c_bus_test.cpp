// The I2C bus of a simulated board and its accelerometer: by the library's functions, by plain reads and
// writes, from outside.

#include "base/unique_fd.hpp"
#include "dravik.h"
#include "support/board.hpp"
#include "support/stderr_capture.hpp"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/i2c-dev.h>
#include <sys/ioctl.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char *registers_file = "i2c/0x18";
constexpr const char *bus_path = "/dev/i2c-0";

using axes = std::array<int32_t, 3>;

axes measured() {
  axes now = {};
  gsensor_get_data(&now[0], &now[1], &now[2]);
  return now;
}

// ------------------------------------------------------------------------------------------- the library

class SimAccelerometer : public testing::Test {
protected:
  ~SimAccelerometer() override { gsensor_exit(); }
  void expect_start() {
    ASSERT_EQ(gsensor_init(), 0);
    EXPECT_THAT(errors_.take(), HasSubstr("gsensor_hw_init() done!"));
  }
  uint8_t kept(size_t number) const { return static_cast<uint8_t>(board_.read(registers_file).at(number)); }

  const board board_;
  stderr_capture errors_;
};

TEST_F(SimAccelerometer, IsAtRestOnNewBoard) {
  expect_start();
  EXPECT_EQ(gsensor_check_data_ready(), 0);
  EXPECT_EQ(measured(), (axes{0, 0, 1000}));
}

TEST_F(SimAccelerometer, LeavesRegistersInFileOfBoard) {
  expect_start();
  EXPECT_EQ(board_.read(registers_file).size(), 128U);
  EXPECT_EQ(kept(0x0F), 0x33);
  EXPECT_EQ(kept(0x20), 0x5F);
  EXPECT_EQ(kept(0x23), 0x98);
}

TEST_F(SimAccelerometer, FollowsTheSettingWhileItIsOpen) {
  expect_start();
  // Steps of 2 at this scale; the end of the scale is 2047 steps.
  const std::pair<const char *, axes> cases[] = {
      {"2500,-1000,8", {2500, -1000, 8}},
      {" 1 , -1 , 3 ", {2, -2, 4}},
      {"4094,4095,16000", {4094, 4094, 4094}},
      {"-4094,-4096,-16000", {-4094, -4096, -4096}},
  };
  for (const auto &[setting, expected] : cases) {
    board_.set("accel", setting);
    EXPECT_EQ(measured(), expected) << setting;
  }
}

TEST_F(SimAccelerometer, TreatsInvalidSettingAsRest) {
  expect_start();
  for (const char *setting : {"", "1,2", "1,2,3,4", "1,2,x", "0,0,16001", "-16001,0,0", "1.5,0,0"}) {
    board_.set("accel", setting);
    EXPECT_EQ(measured(), (axes{0, 0, 1000})) << setting;
  }
}

TEST_F(SimAccelerometer, ReadsIdentityFromFile) {
  std::string registers = board_.read(registers_file);
  registers[0x0F] = 0x32;
  board_.write(registers_file, registers);
  EXPECT_EQ(gsensor_init(), 0);
  EXPECT_THAT(errors_.take(), HasSubstr("error G-Sensor ID : 32\n"));
}

TEST_F(SimAccelerometer, RecordsConfiguration) {
  expect_start();
  const auto events = board_.events();
  ASSERT_EQ(events.size(), 12U);
  EXPECT_EQ(events.front(), "i2c-0: 0x18 register 0x20 = 0x00");
  EXPECT_EQ(events.back(), "i2c-0: 0x18 register 0x23 = 0x98");
}

TEST_F(SimAccelerometer, FailsToStartIfInjected) {
  for (const char *request : {"open", "tenbit", "slave"}) {
    board_.set_fault(request, bus_path, "EBUSY");
    EXPECT_EQ(gsensor_init(), -1) << request;
    EXPECT_THAT(errors_.take(), HasSubstr(": Device or resource busy\n")) << request;
    board_.clear_faults();
  }
}

TEST_F(SimAccelerometer, TransfersFailAsOrdered) {
  expect_start();
  board_.set_fault("read", bus_path, "EIO");
  EXPECT_EQ(measured(), (axes{0, 0, 0}));
  EXPECT_THAT(errors_.take(), HasSubstr("unable to read I2C bus: Input/output error\n"));
  board_.clear_faults();
  board_.set_fault("write", bus_path, "EREMOTEIO");
  measured();
  EXPECT_THAT(errors_.take(), HasSubstr("I2C write error: Remote I/O error\n"));
  board_.clear_faults();
  EXPECT_EQ(measured(), (axes{0, 0, 1000}));
}

// ------------------------------------------------------------------------------------------- the bus itself

using bytes = std::vector<uint8_t>;

class SimI2c : public testing::Test {
protected:
  SimI2c() { EXPECT_EQ(::ioctl(bus_.get(), I2C_SLAVE, 0x18), 0); }

  void expect_written(bytes transfer) const {
    EXPECT_EQ(::write(bus_.get(), transfer.data(), transfer.size()), static_cast<ssize_t>(transfer.size()));
  }
  bytes get(uint8_t number, size_t count = 1) const {
    expect_written({number});
    return checked_read(count);
  }
  bytes checked_read(size_t count) const {
    bytes values(count, 0xEE);
    EXPECT_EQ(::read(bus_.get(), values.data(), count), static_cast<ssize_t>(count));
    return values;
  }
  /// The first axis at a full scale, in 16 bits.
  int16_t first_axis(uint8_t scale) const {
    expect_written({0x23, scale});
    const bytes data = get(0x28 | 0x80, 2);
    return static_cast<int16_t>(data[1] << 8 | data[0]);
  }

  const board board_;
  const unique_fd bus_{::open(bus_path, O_RDWR)};
};

TEST_F(SimI2c, HasNoNewDataInPowerDown) {
  board_.set("accel", "1000,1000,1000");
  expect_written({0x20, 0x07});
  EXPECT_EQ(get(0x27), bytes{0});
  EXPECT_EQ(get(0x28 | 0x80, 6), bytes(6, 0));
}

TEST_F(SimI2c, HasNewDataInOperation) {
  expect_written({0x20, 0x17});
  EXPECT_EQ(get(0x27), bytes{0x0F});
}

TEST_F(SimI2c, ReturnsZeroForDisabledAxes) {
  board_.set("accel", "1000,1000,1000");
  expect_written({0x20, 0x52});                                    // Y alone
  EXPECT_EQ(get(0x28 | 0x80, 6), (bytes{0, 0, 0x80, 0x3E, 0, 0})); // 1000 steps, four bits up: 0x3E80
}

TEST_F(SimI2c, ScalesByFullScale) {
  expect_written({0x20, 0x57});
  board_.set("accel", "1200,0,0");
  EXPECT_EQ(first_axis(0x00), 1200 * 16);
  EXPECT_EQ(first_axis(0x10), 600 * 16);
  EXPECT_EQ(first_axis(0x20), 300 * 16);
  EXPECT_EQ(first_axis(0x30), 100 * 16);
  board_.set("accel", "-2500,0,0");
  EXPECT_EQ(first_axis(0x00), -2048 * 16);
  EXPECT_EQ(first_axis(0x30), -208 * 16);
}

TEST_F(SimI2c, KeepsRegisterUnlessAutoIncremented) {
  expect_written({0x30 | 0x80, 1, 2, 3});
  EXPECT_EQ(board_.read(registers_file).substr(0x30, 4), std::string("\1\2\3\0", 4));
  EXPECT_EQ(get(0x30, 3), (bytes{1, 1, 1}));
  EXPECT_EQ(get(0x30 | 0x80, 2), (bytes{1, 2}));
  EXPECT_EQ(checked_read(2), (bytes{3, 0}));
  expect_written({0x30, 7, 8});
  EXPECT_EQ(get(0x30 | 0x80, 2), (bytes{8, 2}));
  expect_written({0x7F | 0x80, 9, 5});
  EXPECT_EQ(get(0x7F | 0x80, 2), (bytes{9, 5})); // the first follows the last
  EXPECT_EQ(get(0x00), bytes{5});
}

TEST_F(SimI2c, ReadsRegistersChangedOutside) {
  std::string registers = board_.read(registers_file);
  registers[0x31] = 0x40;
  board_.write(registers_file, registers);
  EXPECT_EQ(get(0x31), bytes{0x40});
}

TEST_F(SimI2c, WritesAreRecorded) {
  expect_written({0x32, 0x10});
  expect_written({0x32});
  EXPECT_THAT(board_.events(), ElementsAre("i2c-0: 0x18 register 0x32 = 0x10"));
}

TEST_F(SimI2c, JoinsPiecesOfWrite) {
  uint8_t number = 0x33, value = 0x44;
  const iovec pieces[] = {{&number, 1}, {&value, 1}};
  EXPECT_EQ(::writev(bus_.get(), pieces, 2), 2);
  EXPECT_EQ(get(0x33), bytes{0x44});
}

TEST_F(SimI2c, RejectsOtherAddress) {
  uint8_t value = 0;
  ASSERT_EQ(::ioctl(bus_.get(), I2C_SLAVE, 0x19), 0);
  EXPECT_EQ(::write(bus_.get(), &value, 1), -1);
  EXPECT_EQ(errno, ENXIO);
  EXPECT_EQ(::read(bus_.get(), &value, 1), -1);
  EXPECT_EQ(errno, ENXIO);
  board_.write("i2c/0x19", "\x2A");
  EXPECT_EQ(get(0x00), bytes{0x2A});
  EXPECT_EQ(get(0x28), bytes{0}); // no acceleration
}

TEST_F(SimI2c, AddressesThatAreNoneAreRefused) {
  EXPECT_EQ(::ioctl(bus_.get(), I2C_SLAVE, 0x80), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(::ioctl(bus_.get(), I2C_TENBIT, 0), 0);
  EXPECT_EQ(get(0x0F), bytes{0x33});
}

TEST_F(SimI2c, HasNoPlacesToWriteAt) {
  EXPECT_EQ(::pwrite(bus_.get(), "x", 1, 0), -1);
  EXPECT_EQ(errno, ESPIPE);
}

TEST_F(SimI2c, KeepsAddressPerDescriptor) {
  const unique_fd other{::open(bus_path, O_RDWR)};
  ASSERT_EQ(::ioctl(other.get(), I2C_SLAVE, 0x18), 0);
  expect_written({0x0F});
  const uint8_t number = 0x20;
  EXPECT_EQ(::write(other.get(), &number, 1), 1);
  EXPECT_EQ(checked_read(1), bytes{0x33});
}

TEST_F(SimI2c, CopiesAndChildrenSpeakOn) {
  expect_written({0x0F});
  const pid_t child = ::fork();
  if (child == 0) {
    uint8_t value = 0;
    const unique_fd copy{::dup(bus_.get())};
    ::_exit(::read(copy.get(), &value, 1) == 1 ? value : 0);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 0x33);
}

} // namespace
} // namespace dravik::test
