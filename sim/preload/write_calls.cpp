// The calls that write to open files, for files with the kernel's behaviour: an attribute holds the last
// write, a device has a fixed size.

#include "board/board_files.hpp"
#include "preload/card_room.hpp"
#include "preload/card_view.hpp"
#include "preload/device.hpp"
#include "preload/kernel_files.hpp"
#include "preload/next.hpp"
#include "preload/serial_pace.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <span>
#include <stdio_ext.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

constexpr size_t attribute_limit = 4096; ///< the kernel's limit per call

bool has_own_manner(file_kind kind) noexcept {
  return kind == file_kind::attribute || kind == file_kind::device;
}

ssize_t write_in_manner(file_kind kind, int descriptor, const void *data, size_t size,
                        off64_t offset) noexcept;

/// Return the device if it has a write function, which ignores positions.
const device *taker_of(const char *name) noexcept {
  const device *taker = device_named(name);
  return taker != nullptr && taker->write != nullptr ? taker : nullptr;
}

/// Write at the descriptor's position, and advance it.
ssize_t write_on(file_kind kind, int descriptor, const void *data, size_t size) noexcept {
  const descriptor_name name{descriptor};
  if (const int fault = injected_fault("write", name))
    return as_c_result(ssize_t{-fault});
  if (const device *taker = taker_of(name))
    return as_c_result(taker->write(descriptor, data, size));
  const off64_t position = ::lseek64(descriptor, 0, SEEK_CUR);
  const ssize_t count = write_in_manner(kind, descriptor, data, size, position);
  if (count > 0)
    ::lseek64(descriptor, position + count, SEEK_SET);
  return count;
}

ssize_t write_at(file_kind kind, int descriptor, const void *data, size_t size, off64_t offset) noexcept {
  const descriptor_name name{descriptor};
  const int fault = injected_fault("write", name);
  const int error = fault != 0 ? fault : taker_of(name) != nullptr ? ESPIPE : 0;
  return error != 0 ? as_c_result(ssize_t{-error}) : write_in_manner(kind, descriptor, data, size, offset);
}

ssize_t write_plainly(int descriptor, const char *data, size_t size) noexcept {
  const ssize_t count = ::syscall(SYS_write, descriptor, data, size);
  return count < 0 ? -errno : count;
}

ssize_t send_to_terminal(int descriptor, const void *data, size_t size) noexcept {
  return as_c_result(send_at_pace(descriptor, static_cast<const char *>(data), size, write_plainly));
}

/// Write the pieces as one, limited to the size of an attribute: the caller continues with the rest.
ssize_t write_pieces(file_kind kind, int descriptor, std::span<const iovec> pieces) noexcept {
  char joined[attribute_limit];
  size_t length = 0;
  for (const iovec &piece : pieces) {
    const size_t taken = std::min(piece.iov_len, sizeof joined - length);
    std::copy_n(static_cast<const char *>(piece.iov_base), taken, joined + length);
    length += taken;
  }
  return has_own_manner(kind) ? write_on(kind, descriptor, joined, length)
                              : send_to_terminal(descriptor, joined, length);
}

/// A device has a fixed size, and a file of the card ends with the free space; sets errno.
bool may_set_length(int descriptor, off64_t length) noexcept {
  const file_kind kind = kind_behind(descriptor);
  const auto bytes = static_cast<uint64_t>(std::max<off64_t>(length, 0));
  const bool is_device = kind == file_kind::device;
  if (is_device)
    errno = EINVAL;
  else if (const int error = kind == file_kind::plain ? write_error(descriptor) : 0; error != 0)
    errno = error;
  else if (kind == file_kind::plain && bytes_that_fit(descriptor, 0, bytes) < bytes)
    errno = ENOSPC;
  else
    return true;
  return false;
}

/// Where a write at a position goes: with O_APPEND, the kernel writes at the end.
off64_t place_of_write(int descriptor, off64_t position) noexcept {
  const int flags = ::fcntl(descriptor, F_GETFL);
  return flags >= 0 && (flags & O_APPEND) != 0 ? length_behind(descriptor) : position;
}
off64_t place_of_write(int descriptor) noexcept {
  return place_of_write(descriptor, ::lseek64(descriptor, 0, SEEK_CUR));
}

bool fits_on_card(int descriptor, std::span<const iovec> pieces) noexcept {
  uint64_t size = 0;
  for (const iovec &piece : pieces)
    size += piece.iov_len;
  return bytes_that_fit(descriptor, place_of_write(descriptor), size) == size;
}

/// Write as many bytes as fit on the card, by `next`, one of the original functions.
template <typename Next>
ssize_t write_what_fits(int descriptor, size_t size, off64_t position, Next next) noexcept {
  if (const int error = write_error(descriptor); error != 0)
    return as_c_result(ssize_t{-error});
  const uint64_t fitting = bytes_that_fit(descriptor, position, size);
  return fitting != 0 || size == 0 ? next(static_cast<size_t>(fitting)) : as_c_result(ssize_t{-ENOSPC});
}

/// Synchronize by `next`, one of the original functions, unless the card was pulled.
template <typename Next> int synchronize(int descriptor, Next next) noexcept {
  return kind_behind(descriptor) == file_kind::plain && is_on_pulled_card(descriptor) ? as_c_result(-EIO)
                                                                                      : next(descriptor);
}

} // namespace
} // namespace dravik::sim

using namespace dravik::sim;

SIM_DEFINE(ssize_t, write, (int descriptor, const void *data, size_t size)) {
  const file_kind kind = kind_behind(descriptor);
  if (has_own_manner(kind))
    return write_on(kind, descriptor, data, size);
  if (kind == file_kind::plain)
    return write_what_fits(descriptor, size, place_of_write(descriptor),
                           [=](size_t count) { return SIM_NEXT(write)(descriptor, data, count); });
  return is_paced_terminal(descriptor) ? send_to_terminal(descriptor, data, size)
                                       : SIM_NEXT(write)(descriptor, data, size);
}

SIM_DEFINE(ssize_t, writev, (int descriptor, const iovec *pieces, int count)) {
  const file_kind kind = kind_behind(descriptor);
  if (kind == file_kind::plain && count > 0 &&
      !fits_on_card(descriptor, {pieces, static_cast<size_t>(count)}))
    return sim_write(descriptor, pieces[0].iov_base, pieces[0].iov_len); // the caller continues with the rest
  return count >= 0 && (has_own_manner(kind) || is_paced_terminal(descriptor))
             ? write_pieces(kind, descriptor, {pieces, static_cast<size_t>(count)})
             : SIM_NEXT(writev)(descriptor, pieces, count);
}

SIM_DEFINE(ssize_t, pwrite, (int descriptor, const void *data, size_t size, short_offset offset)) {
  const file_kind kind = kind_behind(descriptor);
  if (kind == file_kind::plain)
    return write_what_fits(descriptor, size, place_of_write(descriptor, offset),
                           [=](size_t count) { return SIM_NEXT(pwrite)(descriptor, data, count, offset); });
  return has_own_manner(kind) ? write_at(kind, descriptor, data, size, offset)
                              : SIM_NEXT(pwrite)(descriptor, data, size, offset);
}

SIM_DEFINE(ssize_t, pwrite64, (int descriptor, const void *data, size_t size, off64_t offset)) {
  const file_kind kind = kind_behind(descriptor);
  if (kind == file_kind::plain)
    return write_what_fits(descriptor, size, place_of_write(descriptor, offset),
                           [=](size_t count) { return SIM_NEXT(pwrite64)(descriptor, data, count, offset); });
  return has_own_manner(kind) ? write_at(kind, descriptor, data, size, offset)
                              : SIM_NEXT(pwrite64)(descriptor, data, size, offset);
}

SIM_DEFINE(int, ftruncate, (int descriptor, short_offset length)) {
  return may_set_length(descriptor, length) ? SIM_NEXT(ftruncate)(descriptor, length) : -1;
}

SIM_DEFINE(int, ftruncate64, (int descriptor, off64_t length)) {
  return may_set_length(descriptor, length) ? SIM_NEXT(ftruncate64)(descriptor, length) : -1;
}

SIM_DEFINE(int, fsync, (int descriptor)) {
  return synchronize(descriptor, SIM_NEXT(fsync));
}

SIM_DEFINE(int, fdatasync, (int descriptor)) {
  return synchronize(descriptor, SIM_NEXT(fdatasync));
}

/// The C library writes streams by a function of its own.
SIM_DEFINE(size_t, fwrite, (const void *data, size_t size, size_t count, std::FILE *stream)) {
  const int descriptor = stream != nullptr ? ::fileno_unlocked(stream) : -1;
  if (size == 0 || kind_behind(descriptor) != file_kind::plain)
    return SIM_NEXT(fwrite)(data, size, count, stream);
  const off64_t position = place_of_write(descriptor) + static_cast<off64_t>(::__fpending(stream));
  const int error = write_error(descriptor);
  const uint64_t fitting = error != 0 ? 0 : bytes_that_fit(descriptor, position, uint64_t{size} * count);
  if (fitting == uint64_t{size} * count)
    return SIM_NEXT(fwrite)(data, size, count, stream);
  const size_t written = SIM_NEXT(fwrite)(data, 1, static_cast<size_t>(fitting), stream);
  stream->_flags |= _IO_ERR_SEEN;
  errno = error != 0 ? error : ENOSPC;
  return written / size;
}

namespace dravik::sim {
namespace {

ssize_t write_attribute(int descriptor, const void *data, size_t size) noexcept {
  const ssize_t count = SIM_NEXT(pwrite64)(descriptor, data, std::min(size, attribute_limit), 0);
  return count < 0 || SIM_NEXT(ftruncate64)(descriptor, count) == 0 ? count : -1;
}

ssize_t write_device(int descriptor, const void *data, size_t size, off64_t offset) noexcept {
  const off64_t room = length_behind(descriptor) - offset;
  if (room > 0 || size == 0)
    return SIM_NEXT(pwrite64)(descriptor, data, std::min(size, static_cast<size_t>(room)), offset);
  errno = ENOSPC;
  return -1;
}

ssize_t write_in_manner(file_kind kind, int descriptor, const void *data, size_t size,
                        off64_t offset) noexcept {
  if (size == 0)
    return 0;
  const device *changed = device_behind(descriptor);
  const auto *text = static_cast<const char *>(data);
  if (changed != nullptr && changed->check != nullptr)
    if (const int error = changed->check(text, size); error != 0)
      return as_c_result(ssize_t{error});
  const ssize_t count = kind == file_kind::attribute ? write_attribute(descriptor, data, size)
                                                     : write_device(descriptor, data, size, offset);
  if (count > 0 && changed != nullptr && changed->written != nullptr)
    changed->written(text, static_cast<size_t>(count));
  return count;
}

} // namespace
} // namespace dravik::sim
