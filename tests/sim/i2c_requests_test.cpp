// Requests to the I2C bus that i2c-tools make: functionality, combined transfers and SMBus transfers. Expected answers
// are those of the kernel's i2c-dev for a bus with I2C_FUNC_I2C, which emulates SMBus.

#include "base/unique_fd.hpp"
#include "support/board.hpp"

#include <cerrno>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>

namespace dravik::test {
namespace {

using testing::ElementsAre;

class SimI2cRequest : public testing::Test {
protected:
  SimI2cRequest() {
    registers_.replace(0x30, 4, "\x11\x22\x33\x44");
    board_.write("i2c/0x50", registers_);
    EXPECT_EQ(::ioctl(bus_.get(), I2C_SLAVE, 0x50), 0);
  }

  int smbus(uint8_t direction, uint8_t command, uint32_t size, i2c_smbus_data *data) const {
    i2c_smbus_ioctl_data wanted = {direction, command, size, data};
    return ::ioctl(bus_.get(), I2C_SMBUS, &wanted);
  }
  int combined(std::vector<i2c_msg> messages) const {
    i2c_rdwr_ioctl_data wanted = {messages.data(), static_cast<uint32_t>(messages.size())};
    return ::ioctl(bus_.get(), I2C_RDWR, &wanted);
  }
  /// The result of a request that fails.
  static int error_of(int result) {
    EXPECT_EQ(result, -1);
    return errno;
  }
  uint8_t kept(size_t number) const { return static_cast<uint8_t>(board_.read("i2c/0x50").at(number)); }

  const board board_;
  std::string registers_ = std::string(128, '\0');
  const unique_fd bus_{::open("/dev/i2c-0", O_RDWR)};
};

TEST_F(SimI2cRequest, ReportsFunctionality) {
  unsigned long functions = 0;
  EXPECT_EQ(::ioctl(bus_.get(), I2C_FUNCS, &functions), 0);
  constexpr unsigned long wanted = I2C_FUNC_I2C | I2C_FUNC_SMBUS_QUICK | I2C_FUNC_SMBUS_BYTE |
                                   I2C_FUNC_SMBUS_BYTE_DATA | I2C_FUNC_SMBUS_WORD_DATA |
                                   I2C_FUNC_SMBUS_I2C_BLOCK;
  EXPECT_EQ(functions & wanted, wanted);
  EXPECT_EQ(functions & I2C_FUNC_SMBUS_READ_BLOCK_DATA, 0U);
  EXPECT_EQ(error_of(::ioctl(bus_.get(), I2C_FUNCS, nullptr)), EFAULT);
}

TEST_F(SimI2cRequest, ReadsBytesAndWords) {
  i2c_smbus_data data = {};
  EXPECT_EQ(smbus(I2C_SMBUS_READ, 0x31, I2C_SMBUS_BYTE_DATA, &data), 0);
  EXPECT_EQ(data.byte, 0x22);
  EXPECT_EQ(smbus(I2C_SMBUS_READ, 0x32 | 0x80, I2C_SMBUS_WORD_DATA, &data), 0);
  EXPECT_EQ(data.word, 0x4433); // low byte first
}

TEST_F(SimI2cRequest, WritesBytesAndWords) {
  i2c_smbus_data data = {.byte = 0x5A};
  EXPECT_EQ(smbus(I2C_SMBUS_WRITE, 0x40, I2C_SMBUS_BYTE_DATA, &data), 0);
  data.word = 0xBEEF;
  EXPECT_EQ(smbus(I2C_SMBUS_WRITE, 0x41 | 0x80, I2C_SMBUS_WORD_DATA, &data), 0);
  EXPECT_EQ(kept(0x40), 0x5A);
  EXPECT_EQ(kept(0x41), 0xEF);
  EXPECT_EQ(kept(0x42), 0xBE);
  EXPECT_THAT(board_.events(),
              ElementsAre("i2c-0: 0x50 register 0x40 = 0x5a", "i2c-0: 0x50 register 0x41 = 0xef",
                          "i2c-0: 0x50 register 0x42 = 0xbe"));
}

TEST_F(SimI2cRequest, SelectsRegisterByByteWithoutData) {
  EXPECT_EQ(smbus(I2C_SMBUS_WRITE, 0x33, I2C_SMBUS_BYTE, nullptr), 0);
  i2c_smbus_data data = {};
  EXPECT_EQ(smbus(I2C_SMBUS_READ, 0, I2C_SMBUS_BYTE, &data), 0);
  EXPECT_EQ(data.byte, 0x44);
  EXPECT_TRUE(board_.events().empty());
}

TEST_F(SimI2cRequest, TransfersBlocks) {
  i2c_smbus_data data = {};
  data.block[0] = 3;
  EXPECT_EQ(smbus(I2C_SMBUS_READ, 0x30 | 0x80, I2C_SMBUS_I2C_BLOCK_DATA, &data), 0);
  EXPECT_EQ(data.block[0], 3);
  EXPECT_EQ(data.block[1], 0x11);
  EXPECT_EQ(data.block[3], 0x33);
  data.block[0] = 2;
  EXPECT_EQ(smbus(I2C_SMBUS_WRITE, 0x60 | 0x80, I2C_SMBUS_I2C_BLOCK_DATA, &data), 0);
  EXPECT_EQ(kept(0x60), 0x11);
  EXPECT_EQ(kept(0x61), 0x22);
  EXPECT_EQ(smbus(I2C_SMBUS_WRITE, 0x68 | 0x80, I2C_SMBUS_BLOCK_DATA, &data), 0);
  EXPECT_EQ(kept(0x68), 2); // this kind of block sends its length
  EXPECT_EQ(kept(0x69), 0x11);
  data.block[0] = 32;
  EXPECT_EQ(smbus(I2C_SMBUS_READ, 0x30 | 0x80, I2C_SMBUS_I2C_BLOCK_DATA, &data), 0);
  data.block[0] = 33;
  EXPECT_EQ(error_of(smbus(I2C_SMBUS_READ, 0x30, I2C_SMBUS_I2C_BLOCK_DATA, &data)), EINVAL);
  EXPECT_EQ(error_of(smbus(I2C_SMBUS_WRITE, 0x30, I2C_SMBUS_BLOCK_DATA, &data)), EINVAL);
}

TEST_F(SimI2cRequest, FindsDevicesByQuickTransfer) {
  EXPECT_EQ(smbus(I2C_SMBUS_WRITE, 0, I2C_SMBUS_QUICK, nullptr), 0);
  EXPECT_EQ(smbus(I2C_SMBUS_READ, 0, I2C_SMBUS_QUICK, nullptr), 0);
  ASSERT_EQ(::ioctl(bus_.get(), I2C_SLAVE, 0x51), 0);
  EXPECT_EQ(error_of(smbus(I2C_SMBUS_WRITE, 0, I2C_SMBUS_QUICK, nullptr)), ENXIO);
  EXPECT_EQ(error_of(smbus(I2C_SMBUS_READ, 0, I2C_SMBUS_QUICK, nullptr)), ENXIO);
}

TEST_F(SimI2cRequest, RejectsInvalidSmbusTransfers) {
  i2c_smbus_data data = {};
  EXPECT_EQ(error_of(smbus(2, 0, I2C_SMBUS_BYTE, &data)), EINVAL);
  EXPECT_EQ(error_of(smbus(I2C_SMBUS_READ, 0, 99, &data)), EINVAL);
  EXPECT_EQ(error_of(smbus(I2C_SMBUS_READ, 0, I2C_SMBUS_BYTE_DATA, nullptr)), EINVAL);
  EXPECT_EQ(error_of(smbus(I2C_SMBUS_READ, 0, I2C_SMBUS_BYTE, nullptr)), EINVAL);
  EXPECT_EQ(error_of(::ioctl(bus_.get(), I2C_SMBUS, nullptr)), EFAULT);
}

TEST_F(SimI2cRequest, CombinesMessages) {
  uint8_t number = 0x30 | 0x80;
  uint8_t values[3] = {};
  EXPECT_EQ(combined({{0x50, 0, 1, &number}, {0x50, I2C_M_RD, 3, values}}), 2);
  EXPECT_THAT(values, ElementsAre(0x11, 0x22, 0x33));
  uint8_t identity = 0x0F;
  EXPECT_EQ(combined({{0x18, 0, 1, &identity}, {0x18, I2C_M_RD, 1, values}}), 2); // not the chosen slave
  EXPECT_EQ(values[0], 0x33);
}

TEST_F(SimI2cRequest, RejectsInvalidCombinedTransfers) {
  uint8_t byte = 0;
  EXPECT_EQ(error_of(combined({{0x51, 0, 1, &byte}})), ENXIO);
  EXPECT_EQ(error_of(combined({{0x50, I2C_M_TEN, 1, &byte}})), ENXIO);
  EXPECT_EQ(error_of(combined({{0x50, 0, 8193, &byte}})), EINVAL);
  EXPECT_EQ(error_of(combined({})), EINVAL);
  EXPECT_EQ(error_of(combined(std::vector<i2c_msg>(43, {0x50, 0, 1, &byte}))), EINVAL);
  EXPECT_EQ(combined(std::vector<i2c_msg>(42, {0x50, 0, 1, &byte})), 42);
  EXPECT_EQ(error_of(::ioctl(bus_.get(), I2C_RDWR, nullptr)), EFAULT);
}

TEST_F(SimI2cRequest, AcceptsAddressesOfTenBitsThatNoDeviceHas) {
  EXPECT_EQ(error_of(::ioctl(bus_.get(), I2C_SLAVE, 0x80)), EINVAL);
  EXPECT_EQ(::ioctl(bus_.get(), I2C_TENBIT, 1), 0);
  EXPECT_EQ(::ioctl(bus_.get(), I2C_SLAVE, 0x3FF), 0);
  EXPECT_EQ(error_of(::ioctl(bus_.get(), I2C_SLAVE, 0x400)), EINVAL);
  EXPECT_EQ(::ioctl(bus_.get(), I2C_SLAVE, 0x50), 0);
  uint8_t byte = 0;
  EXPECT_EQ(error_of(static_cast<int>(::read(bus_.get(), &byte, 1))), ENXIO);
  EXPECT_EQ(::ioctl(bus_.get(), I2C_TENBIT, 0), 0);
  EXPECT_EQ(::read(bus_.get(), &byte, 1), 1);
}

TEST_F(SimI2cRequest, FailsIfInjected) {
  unsigned long functions = 0;
  uint8_t byte = 0;
  board_.set_fault("funcs", "/dev/i2c-0", "EIO");
  EXPECT_EQ(error_of(::ioctl(bus_.get(), I2C_FUNCS, &functions)), EIO);
  board_.clear_faults();
  board_.set_fault("transfer", "/dev/i2c-0", "EREMOTEIO");
  EXPECT_EQ(error_of(combined({{0x50, 0, 1, &byte}})), EREMOTEIO);
  board_.clear_faults();
  board_.set_fault("smbus", "/dev/i2c-0", "EREMOTEIO");
  EXPECT_EQ(error_of(smbus(I2C_SMBUS_WRITE, 0, I2C_SMBUS_QUICK, nullptr)), EREMOTEIO);
}

} // namespace
} // namespace dravik::test
