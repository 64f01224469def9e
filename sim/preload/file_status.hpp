// Status of files as the kernel reports it for the files of a board.
#pragma once

#include "board/preserve_errno.hpp"
#include "preload/card_view.hpp"
#include "preload/path_map.hpp"

#include <algorithm>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace dravik::sim {

constexpr unsigned attribute_size = 4096; ///< of each file below /sys, whatever it contains
constexpr unsigned card_major = 179;
constexpr unsigned card_minor = 1;

/// Return the time of a change as a FAT file system keeps it: in steps of two seconds, from 1980 to 2107.
template <typename Seconds> Seconds fat_time(Seconds time) noexcept {
  constexpr int64_t first = 315532800, last = 4354819198;
  return static_cast<Seconds>(std::clamp<int64_t>(time & ~Seconds{1}, first, last));
}

inline bool is_attribute(const char *name, unsigned mode) noexcept {
  return S_ISREG(mode) && kind_of(name) == file_kind::attribute;
}

inline bool is_on_mounted_card(const char *name) noexcept {
  const preserve_errno unchanged;
  return is_on_card(name) && card_is_mounted();
}

/// Adapt the result of a call to a file's name on the board; null for a file of the host.
template <typename Status> int as_of_kernel(const char *name, int result, Status *status) noexcept {
  if (result != 0 || name == nullptr)
    return result;
  if (is_attribute(name, status->st_mode))
    status->st_size = attribute_size;
  if (is_on_mounted_card(name)) {
    status->st_dev = makedev(card_major, card_minor);
    status->st_mtim.tv_sec = fat_time(status->st_mtim.tv_sec);
    status->st_mtim.tv_nsec = 0;
  }
  return result;
}

inline int as_of_kernel(const char *name, int result, struct statx *status) noexcept {
  if (result != 0 || name == nullptr)
    return result;
  if (is_attribute(name, status->stx_mode))
    status->stx_size = attribute_size;
  if (is_on_mounted_card(name)) {
    status->stx_dev_major = card_major;
    status->stx_dev_minor = card_minor;
    status->stx_mtime.tv_sec = fat_time(status->stx_mtime.tv_sec);
    status->stx_mtime.tv_nsec = 0;
  }
  return result;
}

/// Whether a call to an open directory and a path refers to the descriptor itself.
inline bool names_descriptor(const char *path, int flags) noexcept {
  return (flags & AT_EMPTY_PATH) != 0 && path != nullptr && *path == '\0';
}

/// For calls that query a file, or a link itself, depending on their flags.
constexpr last_link last_link_of(int flags) noexcept {
  return (flags & AT_SYMLINK_NOFOLLOW) != 0 ? last_link::kept : last_link::followed;
}

} // namespace dravik::sim

// Definitions of the calls. The layout of a record depends on the sizes of offsets and times in its source file.

#define SIM_STATUS_OF_PATH(call, record, last)                                                               \
  SIM_DEFINE(int, call, (const char *path, record *status)) {                                                \
    const ::dravik::sim::seen_path mapped{path, AT_FDCWD, last};                                             \
    return ::dravik::sim::as_of_kernel(mapped.name(), SIM_NEXT(call)(mapped, status), status);               \
  }

#define SIM_STATUS_OF_DESCRIPTOR(call, record)                                                               \
  SIM_DEFINE(int, call, (int descriptor, record *status)) {                                                  \
    const int result = SIM_NEXT(call)(descriptor, status);                                                   \
    return ::dravik::sim::as_of_kernel(::dravik::sim::descriptor_name{descriptor}, result, status);          \
  }

#define SIM_STATUS_BELOW(call, record)                                                                       \
  SIM_DEFINE(int, call, (int from, const char *path, record *status, int flags)) {                           \
    const ::dravik::sim::seen_path mapped{path, from, ::dravik::sim::last_link_of(flags)};                   \
    const int result = SIM_NEXT(call)(from, mapped, status, flags);                                          \
    return ::dravik::sim::names_descriptor(path, flags)                                                      \
               ? ::dravik::sim::as_of_kernel(::dravik::sim::descriptor_name{from}, result, status)           \
               : ::dravik::sim::as_of_kernel(mapped.name(), result, status);                                 \
  }
