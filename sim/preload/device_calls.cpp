// The calls that devices serve: requests and mappings.

#include "board/board_files.hpp"
#include "preload/device.hpp"
#include "preload/next.hpp"
#include "preload/path_map.hpp"

#include <algorithm>
#include <cstring>
#include <sys/mman.h>

namespace dravik::sim {
namespace {

constexpr const device *devices[] = {
    &backlight_brightness, &backlight_power, &frame_buffer, &gpio_driver, &i2c_bus,
    &serial_port,          &sound_control,
};

static_assert(std::ssize(devices) == std::ranges::count_if(board_table, has_device),
              "each entry of board_table with a path and a prefix of events has a device here");

/// The kernel uses 32 bits of a request's number.
long serve_request(const device &target, int descriptor, unsigned long request, uintptr_t argument) noexcept {
  const auto known =
      std::ranges::find(target.requests, static_cast<uint32_t>(request), &request_kind::number);
  if (known == target.requests.end()) {
    record_event("%s: request 0x%lx refused", target.entry.event, request & UINT32_MAX);
    return -ENOTTY;
  }
  const int fault = injected_fault(known->name, target.entry.path);
  if (fault == 0)
    return known->serve(descriptor, argument);
  record_event("%s: %s fails (injected)", target.entry.event, known->name.text);
  return -fault;
}

/// Whether a mapping is permitted; sets errno if not.
bool may_map(int descriptor, int flags, size_t length, uint64_t offset) noexcept {
  if (descriptor < 0 || (flags & MAP_ANONYMOUS) != 0)
    return true;
  const device *mapped = device_behind(descriptor);
  if (mapped == nullptr)
    return true;
  const int fault = injected_fault("mmap", mapped->entry.path);
  const int error = fault != 0 ? -fault : mapped->map != nullptr ? mapped->map(length, offset) : -ENODEV;
  return as_c_result(error) == 0;
}

} // namespace

const device *device_named(const char *path) noexcept {
  for (const device *candidate : devices)
    if (path != nullptr && candidate->entry.path == path)
      return candidate;
  return nullptr;
}

const device *device_behind(int descriptor) noexcept {
  return device_named(descriptor_name{descriptor});
}

} // namespace dravik::sim

using dravik::sim::as_c_result;
using dravik::sim::device;
using dravik::sim::device_behind;
using dravik::sim::serve_request;
using dravik::sim::short_offset;

// The optional argument is always read and forwarded. If the caller passed none, it is unspecified and not used.
#define SIM_IOCTL(name)                                                                                      \
  SIM_DEFINE(int, name, (int descriptor, unsigned long request, uintptr_t argument)) {                       \
    const device *target = device_behind(descriptor);                                                        \
    return target != nullptr                                                                                 \
               ? static_cast<int>(as_c_result(serve_request(*target, descriptor, request, argument)))        \
               : SIM_NEXT(name)(descriptor, request, argument);                                              \
  }

SIM_IOCTL(ioctl)
SIM_IOCTL(__ioctl_time64)

SIM_DEFINE(void *, mmap,
           (void *address, size_t length, int protection, int flags, int descriptor, short_offset offset)) {
  return dravik::sim::may_map(descriptor, flags, length, static_cast<uint64_t>(offset))
             ? SIM_NEXT(mmap)(address, length, protection, flags, descriptor, offset)
             : MAP_FAILED;
}

SIM_DEFINE(void *, mmap64,
           (void *address, size_t length, int protection, int flags, int descriptor, off64_t offset)) {
  return dravik::sim::may_map(descriptor, flags, length, static_cast<uint64_t>(offset))
             ? SIM_NEXT(mmap64)(address, length, protection, flags, descriptor, offset)
             : MAP_FAILED;
}
