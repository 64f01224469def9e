// Accelerometer on I2C bus 0. A failed register access is reported, and the sequence continues; only the first
// configuration ends at the first failed write.

#include "dravik.h"

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace dravik::board {
namespace {

constexpr const char *bus_path = "/dev/i2c-0";
constexpr long slave_address = 0x18;
constexpr uint8_t expected_identity = 0x33;

enum class register_number : uint8_t {
  identity = 0x0F,
  temperature_config = 0x1F,
  ctrl_reg1 = 0x20,
  ctrl_reg2 = 0x21,
  ctrl_reg4 = 0x23,
  ctrl_reg6 = 0x25,
  status = 0x27,
  first_axis = 0x28,
  fifo_control = 0x2E,
};

constexpr register_number operator+(register_number number, int count) noexcept {
  return static_cast<register_number>(static_cast<int>(number) + count);
}

constexpr uint8_t ODR_100HZ = 0x50;
constexpr uint8_t low_power_bit = 0x08;
constexpr uint8_t axis_enables = 0x07;
constexpr uint8_t high_resolution = 0x08;
constexpr uint8_t block_data_update = 0x80;
constexpr uint8_t full_scale_and_resolution = 0x38;
constexpr uint8_t full_scale_1 = 0x10;
constexpr uint8_t new_data = 0x08;
constexpr uint8_t overrun = 0x80;

enum class operation_mode { low_power, normal };

constinit int32_t gsensor_fd = 0;
constinit bool is_started = false; ///< the bus is open and the sensor's address set
constinit int32_t gsensor_sensitivity = 0;

/// Descriptor for transfers; -1 without a sensor, since descriptor 0 is standard input then, and that of a
/// failed start has no address.
int bus() noexcept {
  return is_started ? gsensor_fd : -1;
}

// ------------------------------------------------------------------------------------------------ registers

template <size_t Size> bool write_bytes(const std::array<uint8_t, Size> &bytes) noexcept {
  if (::write(bus(), bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()))
    return true;
  std::perror("I2C write error");
  return false;
}

bool set_register(register_number number, uint8_t value) noexcept {
  return write_bytes<2>({static_cast<uint8_t>(number), value});
}

/// As set_register(), after a line on standard error.
bool set_register_aloud(register_number number, uint8_t value) noexcept {
  std::fprintf(stderr, "write: %02x %02x\n", static_cast<unsigned>(number), value);
  return set_register(number, value);
}

/// Return the value of a register; 0 if it cannot be read.
uint8_t get_register(register_number number) noexcept {
  uint8_t value = 0;
  write_bytes<1>({static_cast<uint8_t>(number)});
  if (::read(bus(), &value, 1) != 1)
    std::perror("unable to read I2C bus");
  return value;
}

constexpr uint8_t byte(int value) noexcept {
  return static_cast<uint8_t>(value);
}

// ------------------------------------------------------------------------------------------------ start-up

bool open_failed(const char *step) noexcept {
  std::perror(step);
  std::perror("open device failed");
  return false;
}

bool gsensor_open() noexcept {
  is_started = false;
  gsensor_fd = ::open(bus_path, O_RDWR);
  if (gsensor_fd < 0)
    return open_failed("I2C open error : I2C_BUS_CH");
  if (::ioctl(gsensor_fd, I2C_TENBIT, 0L) < 0)
    return open_failed("I2C ioctl error : I2C_TENBIT");
  if (::ioctl(gsensor_fd, I2C_SLAVE, slave_address) < 0)
    return open_failed("I2C ioctl error : I2C_SLAVE");
  std::fprintf(stderr, "gsensor_open() : done!\n");
  is_started = true;
  return true;
}

bool clear_registers() noexcept {
  using enum register_number;
  for (const register_number number : {ctrl_reg1, temperature_config, fifo_control})
    if (!set_register(number, 0))
      return false;
  for (register_number number = ctrl_reg2; number <= ctrl_reg6; number = number + 1)
    if (!set_register_aloud(number, 0))
      return false;
  return true;
}

bool identify_and_clear() noexcept {
  std::fprintf(stderr, "gsensor_hw_init()+\n");
  const uint8_t id = get_register(register_number::identity);
  std::fprintf(stderr, "G-Sensor ID : %02x\n", id);
  if (id != expected_identity) {
    std::fprintf(stderr, "error G-Sensor ID : %02x\n", id);
    return false;
  }
  return clear_registers();
}

void gsensor_hw_init() noexcept {
  if (identify_and_clear()) {
    std::fprintf(stderr, "gsensor_hw_init()-\n");
    std::fprintf(stderr, "gsensor_hw_init() done!\n");
  } else {
    std::fprintf(stderr, "gsensor_hw_init() error!\n");
    std::perror("gsensor_hw_init err");
  }
}

void gsensor_update_odr() noexcept {
  std::fprintf(stderr, "gsensor_update_odr()+\n");
  const uint8_t current = get_register(register_number::ctrl_reg1);
  const uint8_t next = current | ODR_100HZ;
  std::fprintf(stderr, "odr: CTRL_REG1=0x%02x\n", current);
  std::fprintf(stderr, "odr: ODR_100HZ=0x%02x, CTRL_REG1=0x%02x\n", ODR_100HZ, next);
  if (set_register(register_number::ctrl_reg1, next)) {
    std::fprintf(stderr, "gsensor_update_odr()-\n");
  } else {
    std::perror("update ODR write error!");
    std::perror("gsensor_update_odr err");
  }
}

void gsensor_update_g_scale() noexcept {
  std::fprintf(stderr, "gsensor_update_g_scale()+\n");
  gsensor_sensitivity = 2;
  const uint8_t current = get_register(register_number::ctrl_reg4);
  const int next = (current & ~full_scale_and_resolution) | full_scale_1 | high_resolution;
  if (!set_register(register_number::ctrl_reg4, byte(next)))
    std::perror("update g read error");
  std::fprintf(stderr, "gsensor_update_g_scale()-\n");
}

// ------------------------------------------------------------------------------------------------ modes

void enter_low_power() noexcept {
  const uint8_t current = get_register(register_number::ctrl_reg1);
  get_register(register_number::ctrl_reg4); // Intentional: read and not used
  const uint8_t next = current | low_power_bit | axis_enables;
  if (!set_register_aloud(register_number::ctrl_reg1, next))
    std::perror("low power mode write error");
  if (!set_register_aloud(register_number::ctrl_reg4, byte((next | block_data_update) & ~high_resolution)))
    std::perror("low power mode write error");
}

void enter_normal() noexcept {
  std::fprintf(stderr, "opmode : Normal\n");
  const uint8_t current = get_register(register_number::ctrl_reg1);
  const uint8_t scale = get_register(register_number::ctrl_reg4);
  // Intentional: the low-power bit is toggled, not cleared.
  if (!set_register_aloud(register_number::ctrl_reg1, byte((current | axis_enables) ^ low_power_bit)))
    std::perror("normal mode write error!");
  if (!set_register_aloud(register_number::ctrl_reg4, scale | block_data_update | high_resolution))
    std::perror("normal mode write error!");
}

void gsensor_operation_mode(operation_mode mode) noexcept {
  std::fprintf(stderr, "gsensor_operation_mode()+\n");
  if (mode == operation_mode::low_power)
    enter_low_power();
  else
    enter_normal();
  std::fprintf(stderr, "gsensor_operation_mode()-\n");
}

/// Read one axis: 12 bits, left-justified in two registers, scaled.
int32_t read_axis(register_number number) noexcept {
  const uint8_t low = get_register(number), high = get_register(number + 1);
  const auto raw = static_cast<int16_t>(high << 8 | low);
  return static_cast<int16_t>((raw >> 4) * gsensor_sensitivity);
}

} // namespace
} // namespace dravik::board

extern "C" {

using namespace dravik::board;

int32_t gsensor_init() noexcept {
  if (!gsensor_open())
    return -1;
  gsensor_hw_init();
  gsensor_update_odr();
  gsensor_operation_mode(operation_mode::normal);
  gsensor_update_g_scale();
  return 0;
}

int32_t gsensor_check_data_ready() noexcept {
  // Intentional: waits only while an overrun is reported without new data.
  while ((get_register(register_number::status) & (new_data | overrun)) == overrun) {
  }
  return 0;
}

void gsensor_get_data(int32_t *x, int32_t *y, int32_t *z) noexcept {
  *x = read_axis(register_number::first_axis);
  *y = read_axis(register_number::first_axis + 2);
  *z = read_axis(register_number::first_axis + 4);
}

int32_t gsensor_exit() noexcept {
  gsensor_operation_mode(operation_mode::low_power);
  return gsensor_fd == 0 ? 0 : ::close(gsensor_fd);
}

} // extern "C"
