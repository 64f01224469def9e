// The calls that open files.

#include "base/unique_fd.hpp"
#include "board/board_files.hpp"
#include "preload/card_names.hpp"
#include "preload/card_view.hpp"
#include "preload/device.hpp"
#include "preload/kernel_files.hpp"
#include "preload/next.hpp"
#include "preload/path_map.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>

namespace dravik::sim {
namespace {

bool opens_for_writing(int flags) noexcept {
  return (flags & O_ACCMODE) != O_RDONLY || (flags & (O_CREAT | O_TRUNC)) != 0;
}

/// An open can fail by an injected fault, or because the card is mounted read-only; sets errno.
bool may_open(const board_path &path, int flags) noexcept {
  if (path.kind() == file_kind::none)
    return true;
  int fault = injected_fault("open", path.name());
  const bool is_of_card = is_on_card(path.name());
  if (is_of_card)
    note_opened_card();
  if (fault == 0 && is_of_card && opens_for_writing(flags) && card_is_read_only())
    fault = EROFS;
  if (fault == 0 && is_of_card && (flags & O_CREAT) != 0 && !is_fat_name(path.name()) && card_is_mounted())
    fault = EINVAL;
  if (fault == 0 && is_host_device(path))
    fault = EACCES; // a device node in the board's directory
  if (fault != 0)
    errno = fault;
  return fault == 0;
}

/// Move a descriptor to number 0, as in an application that has closed its standard input.
int moved_to_zero(int descriptor) noexcept {
  const unique_fd old{descriptor};
  return ::dup2(old.get(), 0);
}

int finish_open(const board_path &path, int flags, int descriptor) noexcept {
  if (descriptor < 0)
    return descriptor;
  if (path.kind() == file_kind::report)
    return snapshot_of(descriptor, flags);
  if (path.kind() == file_kind::device && path.name() == card_partition)
    return open_partition(descriptor, flags);
  const device *opened = path.kind() == file_kind::device ? device_named(path.name()) : nullptr;
  if (opened == nullptr)
    return descriptor;
  const int given = opened->opened != nullptr ? opened->opened(descriptor, flags) : descriptor;
  return given > 0 && injected_fault("descriptor-0", opened->entry.path) != 0 ? moved_to_zero(given) : given;
}

/// Open by `next`, one of the original functions, which requires a path and flags.
template <typename Next> int open_path(const board_path &path, int flags, Next next) noexcept {
  return may_open(path, flags) ? finish_open(path, flags, next(path, kernel_flags(path.kind(), flags))) : -1;
}

bool follows_link(int flags) noexcept {
  return (flags & O_NOFOLLOW) == 0 && (flags & (O_CREAT | O_EXCL)) != (O_CREAT | O_EXCL);
}

template <typename Next> int open_mapped(const char *name, int directory, int flags, Next next) noexcept {
  const last_link last = follows_link(flags) ? last_link::followed : last_link::kept;
  return opens_for_writing(flags) ? open_path(board_path{name, directory, last}, flags, next)
                                  : open_path(seen_path{name, directory, last}, flags, next);
}

} // namespace
} // namespace dravik::sim

using dravik::sim::open_mapped;

// The optional mode is always read and forwarded. If the caller passed none,
// it is unspecified and not used.
#define SIM_OPEN(name, parameters, directory, arguments)                                                     \
  SIM_DEFINE(int, name, parameters) {                                                                        \
    return open_mapped(path, directory, flags,                                                               \
                       [&](const char *mapped, int kept_flags) { return SIM_NEXT(name) arguments; });        \
  }

SIM_OPEN(open, (const char *path, int flags, mode_t mode), AT_FDCWD, (mapped, kept_flags, mode))
SIM_OPEN(open64, (const char *path, int flags, mode_t mode), AT_FDCWD, (mapped, kept_flags, mode))
SIM_OPEN(__open_2, (const char *path, int flags), AT_FDCWD, (mapped, kept_flags))
SIM_OPEN(__open64_2, (const char *path, int flags), AT_FDCWD, (mapped, kept_flags))
SIM_OPEN(openat, (int at, const char *path, int flags, mode_t mode), at, (at, mapped, kept_flags, mode))
SIM_OPEN(openat64, (int at, const char *path, int flags, mode_t mode), at, (at, mapped, kept_flags, mode))
SIM_OPEN(__openat_2, (int at, const char *path, int flags), at, (at, mapped, kept_flags))
SIM_OPEN(__openat64_2, (int at, const char *path, int flags), at, (at, mapped, kept_flags))

SIM_DEFINE(int, creat, (const char *path, mode_t mode)) {
  return sim_open(path, O_WRONLY | O_CREAT | O_TRUNC, mode);
}

SIM_DEFINE(int, creat64, (const char *path, mode_t mode)) {
  return sim_open64(path, O_WRONLY | O_CREAT | O_TRUNC, mode);
}

namespace dravik::sim {
namespace {

/// Return the flags of a stream's mode.
int flags_of_mode(const char *mode) noexcept {
  const bool both_ways = std::strchr(mode, '+') != nullptr;
  const int one_way = *mode == 'r' ? O_RDONLY : O_WRONLY;
  const int disposition = *mode == 'w' ? O_CREAT | O_TRUNC : *mode == 'a' ? O_CREAT | O_APPEND : 0;
  const int on_exec = std::strchr(mode, 'e') != nullptr ? O_CLOEXEC : 0;
  return (both_ways ? O_RDWR : one_way) | disposition | on_exec;
}

/// A stream on a device or a report uses a descriptor that behaves as the kernel's. On
/// a terminal it is line-buffered.
std::FILE *stream_over_descriptor(const char *path, const char *mode) noexcept {
  const int descriptor = sim_open(path, flags_of_mode(mode), 0666);
  std::FILE *stream = descriptor >= 0 ? ::fdopen(descriptor, mode) : nullptr;
  if (stream != nullptr && ::isatty(descriptor) != 0)
    std::setvbuf(stream, nullptr, _IOLBF, 0);
  return stream;
}

/// The C library opens other files itself, by `next`, one of its functions. It also truncates an attribute
/// that is opened for writing, which has the effect of replacing its contents at the first write.
template <typename Next>
std::FILE *open_mapped_stream(const char *path, const board_path &mapped, const char *mode,
                              Next next) noexcept {
  if (mapped.kind() == file_kind::device || mapped.kind() == file_kind::report)
    return stream_over_descriptor(path, mode);
  return may_open(mapped, flags_of_mode(mode)) ? next(mapped, mode) : nullptr;
}

template <typename Next> std::FILE *open_stream(const char *path, const char *mode, Next next) noexcept {
  return opens_for_writing(flags_of_mode(mode)) ? open_mapped_stream(path, board_path{path}, mode, next)
                                                : open_mapped_stream(path, seen_path{path}, mode, next);
}

/// Reopening does not truncate a device, and output to a port continues after the previous output.
const char *mode_of_reopened(const board_path &path, const char *mode) noexcept {
  if (path.kind() != file_kind::device || *mode == 'r')
    return mode;
  return device_named(path.name()) == &serial_port ? "a" : "r+";
}

} // namespace
} // namespace dravik::sim

using dravik::sim::board_path;
using dravik::sim::mode_of_reopened;
using dravik::sim::open_stream;

SIM_DEFINE(std::FILE *, fopen, (const char *path, const char *mode)) {
  return open_stream(path, mode, SIM_NEXT(fopen));
}

SIM_DEFINE(std::FILE *, fopen64, (const char *path, const char *mode)) {
  return open_stream(path, mode, SIM_NEXT(fopen64));
}

SIM_DEFINE(std::FILE *, freopen, (const char *path, const char *mode, std::FILE *stream)) {
  const board_path mapped{path};
  return SIM_NEXT(freopen)(mapped, mode_of_reopened(mapped, mode), stream);
}

SIM_DEFINE(std::FILE *, freopen64, (const char *path, const char *mode, std::FILE *stream)) {
  const board_path mapped{path};
  return SIM_NEXT(freopen64)(mapped, mode_of_reopened(mapped, mode), stream);
}

SIM_DEFINE(std::FILE *, setmntent, (const char *path, const char *mode)) {
  return SIM_NEXT(setmntent)(board_path{path}, mode);
}
