// The I2C bus and its devices: the registers of a device are a file of the board, i2c/0x18, one byte each.
//
// The state of an open descriptor, its slave address and the selected register, is its position in the
// bus's own empty file: the kernel hands that on to copies and children. SMBus transfers are messages on the
// bus, as in the kernel.

#include "board/accelerometer.hpp"
#include "board/board_files.hpp"
#include "preload/device.hpp"

#include <cstdio>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <span>
#include <unistd.h>

namespace dravik::sim {
namespace {

constexpr uintptr_t last_address = 0x7F;
constexpr uintptr_t last_ten_bit_address = 0x3FF;
constexpr size_t longest_transfer = 8192; ///< the kernel's limit per call and per message
constexpr uint8_t accelerometer_address = 0x18;
constexpr uint8_t go_on = 0x80; ///< added to a register number: further bytes go to the next registers

/// State of an open descriptor.
struct conversation {
  uint16_t address;
  uint8_t chosen; ///< a register's number, perhaps with go_on
  bool has_ten_bits;
};

constexpr off_t ten_bits = off_t{1} << 18;

conversation conversation_of(int descriptor) noexcept {
  const off_t position = ::lseek(descriptor, 0, SEEK_CUR);
  return {static_cast<uint16_t>(position >> 8 & static_cast<off_t>(last_ten_bit_address)),
          static_cast<uint8_t>(position), (position & ten_bits) != 0};
}

void keep(int descriptor, const conversation &state) noexcept {
  const off_t kind = state.has_ten_bits ? ten_bits : 0;
  ::lseek(descriptor, kind | off_t{state.address} << 8 | state.chosen, SEEK_SET);
}

/// The registers of the device at an address.
class register_file {
public:
  explicit register_file(uint16_t address) noexcept : address_(address) {
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

  uint16_t address_;
  char path_[16];
};

/// The register of the next byte.
uint8_t step(uint8_t &chosen) noexcept {
  const uint8_t number = chosen & (go_on - 1);
  if ((chosen & go_on) != 0)
    chosen = static_cast<uint8_t>(go_on | (number + 1));
  return number;
}

void read_bytes(const register_file &registers, uint8_t &chosen, std::span<uint8_t> bytes) noexcept {
  for (uint8_t &byte : bytes)
    byte = registers.get(step(chosen));
}

/// The first byte selects a register; the others are its new value and those of the next ones.
bool write_bytes(const register_file &registers, uint8_t &chosen, std::span<const uint8_t> bytes) noexcept {
  if (!bytes.empty())
    chosen = bytes[0];
  for (size_t i = 1; i < bytes.size(); ++i)
    if (!registers.set(step(chosen), bytes[i]))
      return false;
  return true;
}

/// Devices have addresses of seven bits. Return 0 or a negative error number.
int transfer_message(const i2c_msg &message, uint8_t &chosen) noexcept {
  const register_file registers{message.addr};
  if ((message.flags & I2C_M_TEN) != 0 || !registers.is_there())
    return -ENXIO;
  const std::span bytes{message.buf, message.len};
  if ((message.flags & I2C_M_RD) == 0)
    return write_bytes(registers, chosen, bytes) ? 0 : -EIO;
  read_bytes(registers, chosen, bytes);
  return 0;
}

int transfer(int descriptor, std::span<const i2c_msg> messages) noexcept {
  conversation state = conversation_of(descriptor);
  for (const i2c_msg &message : messages)
    if (const int error = transfer_message(message, state.chosen); error != 0)
      return error;
  keep(descriptor, state);
  return 0;
}

/// A message to or from the slave of a descriptor.
i2c_msg message_of(const conversation &state, uint16_t direction, uint8_t *bytes, size_t size) noexcept {
  const uint16_t kind = state.has_ten_bits ? I2C_M_TEN : 0;
  return {.addr = state.address,
          .flags = static_cast<uint16_t>(kind | direction),
          .len = static_cast<uint16_t>(size),
          .buf = bytes};
}

ssize_t transfer_to_slave(int descriptor, uint16_t direction, void *data, size_t offered) noexcept {
  const size_t size = std::min(offered, longest_transfer);
  const i2c_msg message[] = {
      message_of(conversation_of(descriptor), direction, static_cast<uint8_t *>(data), size)};
  const int error = transfer(descriptor, message);
  return error != 0 ? error : static_cast<ssize_t>(size);
}

ssize_t read_registers(int descriptor, void *data, size_t wanted) noexcept {
  return transfer_to_slave(descriptor, I2C_M_RD, data, wanted);
}

ssize_t write_registers(int descriptor, const void *data, size_t offered) noexcept {
  return transfer_to_slave(descriptor, 0, const_cast<void *>(data), offered);
}

// ------------------------------------------------------------------------------------------------ requests

long choose_slave(int descriptor, uintptr_t address) noexcept {
  conversation state = conversation_of(descriptor);
  if (address > (state.has_ten_bits ? last_ten_bit_address : last_address))
    return -EINVAL;
  state.address = static_cast<uint16_t>(address);
  keep(descriptor, state);
  return 0;
}

long choose_address_length(int descriptor, uintptr_t has_ten_bits) noexcept {
  conversation state = conversation_of(descriptor);
  state.has_ten_bits = has_ten_bits != 0;
  keep(descriptor, state);
  return 0;
}

long report_functions(int, uintptr_t into) noexcept {
  if (into == 0)
    return -EFAULT;
  *reinterpret_cast<unsigned long *>(into) = I2C_FUNC_I2C | (I2C_FUNC_SMBUS_EMUL & ~I2C_FUNC_SMBUS_PEC);
  return 0;
}

long transfer_messages(int descriptor, uintptr_t argument) noexcept {
  const auto *wanted = reinterpret_cast<const i2c_rdwr_ioctl_data *>(argument);
  if (wanted == nullptr)
    return -EFAULT;
  if (wanted->msgs == nullptr || wanted->nmsgs == 0 || wanted->nmsgs > I2C_RDWR_IOCTL_MAX_MSGS)
    return -EINVAL;
  const std::span messages{wanted->msgs, wanted->nmsgs};
  for (const i2c_msg &message : messages)
    if (message.len > longest_transfer || (message.flags & I2C_M_RECV_LEN) != 0)
      return -EINVAL;
  const int error = transfer(descriptor, messages);
  return error != 0 ? error : static_cast<long>(messages.size());
}

// ------------------------------------------------------------------------------------------------ SMBus

/// Sizes of a transfer's two messages: the command with what is written after it, and what is read. A message
/// that is not sent has the size `none`.
struct smbus_sizes {
  size_t written;
  size_t read;
};
constexpr size_t none = SIZE_MAX;
constexpr smbus_sizes invalid = {none, none};

smbus_sizes sizes_of_block(const i2c_smbus_ioctl_data &given, bool reads, size_t count_bytes) noexcept {
  const size_t count = given.data->block[0];
  if (count > I2C_SMBUS_BLOCK_MAX)
    return invalid;
  return reads ? smbus_sizes{1, count} : smbus_sizes{1 + count_bytes + count, none};
}

smbus_sizes sizes_of(const i2c_smbus_ioctl_data &given) noexcept {
  const bool reads = given.read_write == I2C_SMBUS_READ;
  switch (given.size) {
  case I2C_SMBUS_QUICK:
    return reads ? smbus_sizes{none, 0} : smbus_sizes{0, none};
  case I2C_SMBUS_BYTE:
    return reads ? smbus_sizes{none, 1} : smbus_sizes{1, none};
  case I2C_SMBUS_BYTE_DATA:
    return reads ? smbus_sizes{1, 1} : smbus_sizes{2, none};
  case I2C_SMBUS_WORD_DATA:
    return reads ? smbus_sizes{1, 2} : smbus_sizes{3, none};
  case I2C_SMBUS_PROC_CALL:
    return {3, 2};
  case I2C_SMBUS_BLOCK_DATA:
    return reads ? invalid : sizes_of_block(given, reads, 1);
  case I2C_SMBUS_I2C_BLOCK_DATA:
    return sizes_of_block(given, reads, 0);
  default:
    return invalid;
  }
}

bool has_data(const i2c_smbus_ioctl_data &given) noexcept {
  return given.size != I2C_SMBUS_QUICK &&
         (given.size != I2C_SMBUS_BYTE || given.read_write != I2C_SMBUS_WRITE);
}

/// Bytes of a transfer: words have their low byte first; the count of a block is sent by SMBus blocks only.
constexpr size_t longest_smbus = I2C_SMBUS_BLOCK_MAX + 2;

void take_data(const i2c_smbus_ioctl_data &given, size_t written, uint8_t *bytes) noexcept {
  bytes[0] = given.command;
  const bool is_i2c_block = given.size == I2C_SMBUS_I2C_BLOCK_DATA;
  for (size_t i = 1; i < written && written != none; ++i)
    bytes[i] = given.data->block[is_i2c_block ? i : i - 1];
}

void give_data(const i2c_smbus_ioctl_data &given, std::span<const uint8_t> bytes) noexcept {
  const bool is_block = given.size == I2C_SMBUS_I2C_BLOCK_DATA;
  std::copy(bytes.begin(), bytes.end(), given.data->block + (is_block ? 1 : 0));
}

int transfer_smbus(int descriptor, const i2c_smbus_ioctl_data &given, const smbus_sizes &sizes) noexcept {
  const conversation state = conversation_of(descriptor);
  uint8_t written[longest_smbus];
  uint8_t read[longest_smbus];
  i2c_msg messages[2];
  size_t count = 0;
  take_data(given, sizes.written, written);
  if (sizes.written != none)
    messages[count++] = message_of(state, 0, written, sizes.written);
  if (sizes.read != none)
    messages[count++] = message_of(state, I2C_M_RD, read, sizes.read);
  const int error = transfer(descriptor, {messages, count});
  if (error == 0 && sizes.read != none && sizes.read != 0)
    give_data(given, {read, sizes.read});
  return error;
}

long serve_smbus(int descriptor, uintptr_t argument) noexcept {
  const auto *given = reinterpret_cast<const i2c_smbus_ioctl_data *>(argument);
  if (given == nullptr)
    return -EFAULT;
  if (given->read_write > I2C_SMBUS_READ || (has_data(*given) && given->data == nullptr))
    return -EINVAL;
  const smbus_sizes sizes = sizes_of(*given);
  return sizes.written == none && sizes.read == none ? -EINVAL : transfer_smbus(descriptor, *given, sizes);
}

constexpr request_kind requests[] = {
    {I2C_SLAVE, "slave", choose_slave},
    {I2C_SLAVE_FORCE, "slave", choose_slave},
    {I2C_TENBIT, "tenbit", choose_address_length},
    {I2C_FUNCS, "funcs", report_functions},
    {I2C_RDWR, "transfer", transfer_messages},
    {I2C_SMBUS, "smbus", serve_smbus},
};

} // namespace

constinit const device i2c_bus = checked({.entry = entry_of("/dev/i2c-0"),
                                          .requests = requests,
                                          .read = read_registers,
                                          .write = write_registers});

} // namespace dravik::sim
