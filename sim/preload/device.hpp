// What a simulated device answers where its plain file cannot.
#pragma once

#include <cstdint>
#include <string_view>

namespace dravik::sim {

/// A device gives its answers as the kernel does inside: a result, or a negative error number.
struct device {
  const char *path; ///< what applications call it

  /// Called with each new descriptor of it.
  void (*opened)(int descriptor);
  long (*request)(unsigned long number, uintptr_t argument);
  /// Whether `length` bytes from `offset` on may be mapped: 0, or a negative error number.
  int (*map)(uint64_t length, uint64_t offset);
};

extern const device frame_buffer;

/// The device that applications call so; null when that is no device.
const device *device_named(const char *path) noexcept;

} // namespace dravik::sim
