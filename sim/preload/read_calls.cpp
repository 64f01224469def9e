// The calls that read from devices.

#include "board/board_files.hpp"
#include "preload/card_view.hpp"
#include "preload/device.hpp"
#include "preload/kernel_files.hpp"
#include "preload/next.hpp"

namespace dravik::sim {
namespace {

/// Nothing is read from a card that was pulled, and a file of the card may have a broken chain of clusters.
template <typename Next>
ssize_t read_plain(int descriptor, off64_t position, size_t size, Next next) noexcept {
  const ssize_t count = bytes_to_read(descriptor, position, size);
  return count < 0 ? as_c_result(count) : next(static_cast<size_t>(count));
}

/// Read by the device's function, if it has one, else by the original, `next`.
template <typename Next> ssize_t read_from(int descriptor, void *data, size_t size, Next next) noexcept {
  const file_kind kind = kind_behind(descriptor);
  if (kind == file_kind::plain)
    return read_plain(descriptor, ::lseek64(descriptor, 0, SEEK_CUR), size, next);
  if (kind != file_kind::device)
    return next(size);
  const descriptor_name name{descriptor};
  if (const int fault = injected_fault("read", name))
    return as_c_result(ssize_t{-fault});
  const device *source = device_named(name);
  return source != nullptr && source->read != nullptr ? as_c_result(source->read(descriptor, data, size))
                                                      : next(size);
}

template <typename Next> ssize_t read_at(int descriptor, off64_t position, size_t size, Next next) noexcept {
  return card_was_opened() && kind_behind(descriptor) == file_kind::plain
             ? read_plain(descriptor, position, size, next)
             : next(size);
}

} // namespace
} // namespace dravik::sim

using dravik::sim::read_at;
using dravik::sim::read_from;
using dravik::sim::short_offset;

SIM_DEFINE(ssize_t, read, (int descriptor, void *data, size_t size)) {
  return read_from(descriptor, data, size,
                   [=](size_t count) { return SIM_NEXT(read)(descriptor, data, count); });
}

SIM_DEFINE(ssize_t, __read_chk, (int descriptor, void *data, size_t size, size_t room)) {
  return read_from(descriptor, data, size < room ? size : room,
                   [=](size_t count) { return SIM_NEXT(__read_chk)(descriptor, data, count, room); });
}

SIM_DEFINE(ssize_t, pread, (int descriptor, void *data, size_t size, short_offset offset)) {
  return read_at(descriptor, offset, size,
                 [=](size_t count) { return SIM_NEXT(pread)(descriptor, data, count, offset); });
}

SIM_DEFINE(ssize_t, pread64, (int descriptor, void *data, size_t size, off64_t offset)) {
  return read_at(descriptor, offset, size,
                 [=](size_t count) { return SIM_NEXT(pread64)(descriptor, data, count, offset); });
}
