// What a simulated device answers where its plain file cannot.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <span>
#include <sys/types.h>

namespace dravik::sim {

struct request_kind {
  uint32_t number;
  const char *name; ///< by which a fault is ordered
  long (*serve)(int descriptor, uintptr_t argument);
};

/// A device gives its answers as the kernel does inside: a result, or a negative error number. Where it has
/// none of its own, its plain file answers.
struct device {
  const char *path; ///< what applications call it
  std::span<const request_kind> requests = {};

  /// Called with each new descriptor of it; gives the one that the application gets.
  int (*opened)(int descriptor, int flags) = nullptr;
  ssize_t (*read)(int descriptor, void *data, size_t size) = nullptr;
  ssize_t (*write)(int descriptor, const void *data, size_t size) = nullptr;
  /// Told what its plain file has taken.
  void (*written)(const char *text, size_t size) = nullptr;
  /// Whether `length` bytes from `offset` on may be mapped.
  int (*map)(uint64_t length, uint64_t offset) = nullptr;
};

extern const device backlight_brightness;
extern const device backlight_power;
extern const device frame_buffer;
extern const device gpio_driver;
extern const device i2c_bus;
extern const device serial_port;

/// The device that applications call so; null when that is no device.
const device *device_named(const char *path) noexcept;

/// The device behind an open descriptor; null when there is none.
const device *device_behind(int descriptor) noexcept;

/// A device's answer as the C library gives it: -1 for an error, which errno tells.
template <typename Result> Result as_told(Result answer) noexcept {
  if (answer >= 0)
    return answer;
  errno = static_cast<int>(-answer);
  return -1;
}

} // namespace dravik::sim
