// Behaviour of simulated devices that plain files do not have.
#pragma once

#include "board/board_table.hpp"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <span>
#include <sys/types.h>

namespace dravik::sim {

struct request_kind {
  uint32_t number;
  request_name name;
  long (*serve)(int descriptor, uintptr_t argument);
};

/// Its functions return a result or a negative error number, as in the kernel. The plain file serves the calls for
/// which a device has no function.
struct device {
  const board_entry &entry;
  std::span<const request_kind> requests = {};

  /// Called with each new descriptor. Returns the one for the application.
  int (*opened)(int descriptor, int flags) = nullptr;
  ssize_t (*read)(int descriptor, void *data, size_t size) = nullptr;
  ssize_t (*write)(int descriptor, const void *data, size_t size) = nullptr;
  /// Called with the bytes before they are written to the plain file. Returns 0, or the error of the write.
  int (*check)(const char *text, size_t size) = nullptr;
  /// Called with the bytes that were written to the plain file.
  void (*written)(const char *text, size_t size) = nullptr;
  /// Check whether `length` bytes from `offset` on may be mapped.
  int (*map)(uint64_t length, uint64_t offset) = nullptr;
};

/// Return a device whose requests are in its entry. Others do not compile.
consteval device checked(device given) {
  for (const request_kind &request : given.requests)
    if (!contains_word(given.entry.requests, request.name.text))
      request_is_missing_in_board_table();
  return given;
}

extern const device backlight_brightness;
extern const device backlight_power;
extern const device frame_buffer;
extern const device gpio_driver;
extern const device i2c_bus;
extern const device serial_port;
extern const device sound_control;

/// Return the device with a path, null if there is none.
const device *device_named(const char *path) noexcept;

/// Return the device of an open descriptor, null if there is none.
const device *device_behind(int descriptor) noexcept;

/// Return the result of a device as the C library does: -1 with errno for an error.
template <typename Result> Result as_c_result(Result result) noexcept {
  if (result >= 0)
    return result;
  errno = static_cast<int>(-result);
  return -1;
}

} // namespace dravik::sim
