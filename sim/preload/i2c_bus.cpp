// The I2C bus and its devices: the registers of a device are a file of the board, i2c/0x18, one byte each.
//
// The state of an open descriptor, its slave address and the selected register, is its position in the
// bus's own empty file: the kernel hands that on to copies and children.

#include "board/accelerometer.hpp"
#include "board/board_files.hpp"
#include "preload/device.hpp"

#include <cstdio>
#include <linux/i2c-dev.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

constexpr uintptr_t last_address = 0x7F;
constexpr size_t longest_transfer = 8192; ///< the kernel's limit per call
constexpr uint8_t accelerometer_address = 0x18;
constexpr uint8_t go_on = 0x80; ///< added to a register number: further bytes go to the next registers

/// State of an open descriptor.
struct conversation {
  uint8_t address;
  uint8_t chosen; ///< a register's number, perhaps with go_on
};

conversation conversation_of(int descriptor) noexcept {
  const off_t position = ::lseek(descriptor, 0, SEEK_CUR);
  return {static_cast<uint8_t>(position >> 8 & last_address), static_cast<uint8_t>(position)};
}

void keep(int descriptor, conversation state) noexcept {
  ::lseek(descriptor, state.address << 8 | state.chosen, SEEK_SET);
}

/// The registers of the device at an address.
class register_file {
public:
  explicit register_file(uint8_t address) noexcept : address_(address) {
    std::snprintf(path_, sizeof path_, "i2c/0x%02x", address);
  }

  bool is_there() const noexcept {
    uint8_t first;
    return read_board_bytes(path_, 0, &first, 1) >= 0;
  }

  uint8_t get(uint8_t number) const noexcept {
    return address_ == accelerometer_address && accelerometer::follows_movement(number) ? moving(number)
                                                                                        : kept(number);
  }

  bool set(uint8_t number, uint8_t value) const noexcept {
    record_event("i2c-0: 0x%02x register 0x%02x = 0x%02x", address_, number, value);
    return write_board_bytes(path_, number, &value, 1);
  }

private:
  uint8_t kept(uint8_t number) const noexcept {
    uint8_t value = 0;
    read_board_bytes(path_, number, &value, 1);
    return value;
  }

  uint8_t moving(uint8_t number) const noexcept {
    using namespace accelerometer;
    movement now;
    if (!read_movement(value_of(board_text{"board.conf"}, "accel"), now))
      now = at_rest;
    return moving_register(number, kept(rate_and_axes), kept(full_scale), now);
  }

  uint8_t address_;
  char path_[16];
};

/// The register of the next byte.
uint8_t step(uint8_t &chosen) noexcept {
  const uint8_t number = chosen & (go_on - 1);
  if ((chosen & go_on) != 0)
    chosen = static_cast<uint8_t>(go_on | (number + 1));
  return number;
}

ssize_t read_registers(int descriptor, void *data, size_t wanted) noexcept {
  const size_t size = std::min(wanted, longest_transfer);
  conversation state = conversation_of(descriptor);
  const register_file registers{state.address};
  if (!registers.is_there())
    return -ENXIO;
  auto *bytes = static_cast<uint8_t *>(data);
  for (size_t i = 0; i < size; ++i)
    bytes[i] = registers.get(step(state.chosen));
  keep(descriptor, state);
  return static_cast<ssize_t>(size);
}

/// The first byte selects a register; the others are its new value and those of the next ones.
ssize_t write_registers(int descriptor, const void *data, size_t offered) noexcept {
  const size_t size = std::min(offered, longest_transfer);
  conversation state = conversation_of(descriptor);
  const register_file registers{state.address};
  if (!registers.is_there())
    return -ENXIO;
  const auto *bytes = static_cast<const uint8_t *>(data);
  if (size > 0)
    state.chosen = bytes[0];
  for (size_t i = 1; i < size; ++i)
    if (!registers.set(step(state.chosen), bytes[i]))
      return -EIO;
  keep(descriptor, state);
  return static_cast<ssize_t>(size);
}

long choose_slave(int descriptor, uintptr_t address) noexcept {
  if (address > last_address)
    return -EINVAL;
  keep(descriptor, {static_cast<uint8_t>(address), conversation_of(descriptor).chosen});
  return 0;
}

/// This bus has only 7-bit addresses.
long choose_address_length(int, uintptr_t ten_bits) noexcept {
  return ten_bits == 0 ? 0 : -EINVAL;
}

constexpr request_kind requests[] = {
    {I2C_SLAVE, "slave", choose_slave},
    {I2C_SLAVE_FORCE, "slave", choose_slave},
    {I2C_TENBIT, "tenbit", choose_address_length},
};

} // namespace

constinit const device i2c_bus = checked({.entry = entry_of("/dev/i2c-0"),
                                          .requests = requests,
                                          .read = read_registers,
                                          .write = write_registers});

} // namespace dravik::sim
