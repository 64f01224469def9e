// The calls that read from devices.

#include "board/board_files.hpp"
#include "preload/card_view.hpp"
#include "preload/device.hpp"
#include "preload/kernel_files.hpp"
#include "preload/next.hpp"

namespace dravik::sim {
namespace {

/// Read by the device's function, if it has one, else by the original, `next`. Nothing is read from a card that
/// was pulled.
template <typename Next> ssize_t read_from(int descriptor, void *data, size_t size, Next next) noexcept {
  const file_kind kind = kind_behind(descriptor);
  if (kind == file_kind::plain && is_on_pulled_card(descriptor))
    return as_c_result(ssize_t{-EIO});
  if (kind != file_kind::device)
    return next();
  const descriptor_name name{descriptor};
  if (const int fault = injected_fault("read", name))
    return as_c_result(ssize_t{-fault});
  const device *source = device_named(name);
  return source != nullptr && source->read != nullptr ? as_c_result(source->read(descriptor, data, size))
                                                      : next();
}

} // namespace
} // namespace dravik::sim

using dravik::sim::read_from;

SIM_DEFINE(ssize_t, read, (int descriptor, void *data, size_t size)) {
  return read_from(descriptor, data, size, [=] { return SIM_NEXT(read)(descriptor, data, size); });
}

SIM_DEFINE(ssize_t, __read_chk, (int descriptor, void *data, size_t size, size_t room)) {
  return read_from(descriptor, data, size < room ? size : room,
                   [=] { return SIM_NEXT(__read_chk)(descriptor, data, size, room); });
}
