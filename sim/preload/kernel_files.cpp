// Behaviour of the kernel's files below /dev, /sys and /proc, for the plain files of a board.

#include "preload/kernel_files.hpp"
#include "base/unique_fd.hpp"
#include "board/preserve_errno.hpp"

#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/stat.h>

namespace dravik::sim {
namespace {

bool is_plain_file(int descriptor) noexcept {
  struct stat status;
  return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

/// The host's devices, directories and sockets are not: their names need no check.
bool may_be_of_the_board(int descriptor) noexcept {
  struct stat status;
  return ::fstat(descriptor, &status) == 0 && (S_ISREG(status.st_mode) || S_ISFIFO(status.st_mode));
}

constexpr size_t longest_report = 1 << 20; ///< the rest is ignored

bool copy_report(int from, int to) noexcept {
  size_t left = longest_report;
  ssize_t count = 1;
  while (left > 0 && (count = ::sendfile(to, from, nullptr, left)) > 0)
    left -= static_cast<size_t>(count);
  return count >= 0 && ::lseek(to, 0, SEEK_SET) == 0;
}

} // namespace

int kernel_flags(file_kind kind, int flags) noexcept {
  switch (kind) {
  case file_kind::none:
  case file_kind::plain:
    return flags;
  case file_kind::attribute:
    return flags & ~(O_CREAT | O_EXCL | O_TRUNC | O_APPEND);
  case file_kind::device:
  case file_kind::report:
    return flags & ~(O_CREAT | O_EXCL | O_TRUNC);
  }
  return flags;
}

int snapshot_of(int descriptor, int flags) noexcept {
  if ((flags & (O_ACCMODE | O_PATH | O_DIRECTORY)) != O_RDONLY || !is_plain_file(descriptor))
    return descriptor;
  unique_fd file{descriptor};
  unique_fd copy{::memfd_create("report", (flags & O_CLOEXEC) != 0 ? MFD_CLOEXEC : 0)};
  return copy && copy_report(file.get(), copy.get()) ? copy.release() : file.release();
}

file_kind kind_behind(int descriptor) noexcept {
  if (board_directory() == nullptr)
    return file_kind::none;
  const preserve_errno unchanged;
  if (!may_be_of_the_board(descriptor))
    return file_kind::none;
  const descriptor_name name{descriptor};
  return name != nullptr ? kind_of(name) : file_kind::none;
}

off64_t length_behind(int descriptor) noexcept {
  struct stat64 status;
  return ::fstat64(descriptor, &status) == 0 ? status.st_size : 0;
}

} // namespace dravik::sim
