// The calls that are answered by devices: requests and mappings.

#include "preload/board_files.hpp"
#include "preload/device.hpp"
#include "preload/next.hpp"
#include "preload/path_map.hpp"

#include <cerrno>
#include <cstring>
#include <sys/mman.h>

namespace dravik::sim {
namespace {

constexpr const device *devices[] = {&frame_buffer};

const device *device_behind(int descriptor) noexcept {
  const descriptor_name name{descriptor};
  return name != nullptr ? device_named(name) : nullptr;
}

/// Whether a mapping may go on to the file behind the device; errno says why not.
bool may_map(int descriptor, int flags, size_t length, uint64_t offset) noexcept {
  if (descriptor < 0 || (flags & MAP_ANONYMOUS) != 0)
    return true;
  const device *mapped = device_behind(descriptor);
  if (mapped == nullptr)
    return true;
  const int fault = ordered_fault("mmap", mapped->path);
  const int error = fault != 0 ? fault : -mapped->map(length, offset);
  if (error != 0)
    errno = error;
  return error == 0;
}

} // namespace

const device *device_named(const char *path) noexcept {
  for (const device *candidate : devices)
    if (std::strcmp(candidate->path, path) == 0)
      return candidate;
  return nullptr;
}

} // namespace dravik::sim

using dravik::sim::device;

// The optional argument is always taken and handed on. Where
// the caller gave none it holds nothing that matters.
SIM_DEFINE(int, ioctl, (int descriptor, unsigned long request, uintptr_t argument)) {
  const device *asked = dravik::sim::device_behind(descriptor);
  if (asked == nullptr)
    return SIM_NEXT(ioctl)(descriptor, request, argument);
  const long result = asked->request(request, argument);
  if (result >= 0)
    return static_cast<int>(result);
  errno = static_cast<int>(-result);
  return -1;
}

SIM_DEFINE(void *, mmap,
           (void *address, size_t length, int protection, int flags, int descriptor, off_t offset)) {
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
