// The calls that name files without opening them. Records that a call fills are passed on as they are, so
// that one line does for every layout of them.

#include "preload/next.hpp"
#include "preload/path_map.hpp"

#include <cerrno>
#include <cstring>
#include <sys/types.h>

namespace dravik::sim {
namespace {

using at = board_path;

/// A path that the C library gives back, as the application knows it.
char *as_known(char *path) noexcept {
  const char *name = path != nullptr ? name_on_board(path) : nullptr;
  if (name != nullptr)
    std::memmove(path, name, std::strlen(name) + 1);
  return path;
}

bool may_truncate(const board_path &path) noexcept {
  const bool refused = path.kind() == file_kind::device;
  if (refused)
    errno = EINVAL;
  return !refused;
}

} // namespace
} // namespace dravik::sim

using dravik::sim::as_known;
using dravik::sim::at;
using dravik::sim::may_truncate;
using timestamps = const void *;

// Status of files.
SIM_PASS(int, stat, (const char *path, void *status), (at{path}, status))
SIM_PASS(int, stat64, (const char *path, void *status), (at{path}, status))
SIM_PASS(int, lstat, (const char *path, void *status), (at{path}, status))
SIM_PASS(int, lstat64, (const char *path, void *status), (at{path}, status))
SIM_PASS(int, fstatat, (int from, const char *path, void *status, int flags),
         (from, at{path, from}, status, flags))
SIM_PASS(int, fstatat64, (int from, const char *path, void *status, int flags),
         (from, at{path, from}, status, flags))
SIM_PASS(int, statx, (int from, const char *path, int flags, unsigned wanted, void *status),
         (from, at{path, from}, flags, wanted, status))
SIM_PASS(int, __xstat, (int layout, const char *path, void *status), (layout, at{path}, status))
SIM_PASS(int, __xstat64, (int layout, const char *path, void *status), (layout, at{path}, status))
SIM_PASS(int, __lxstat, (int layout, const char *path, void *status), (layout, at{path}, status))
SIM_PASS(int, __lxstat64, (int layout, const char *path, void *status), (layout, at{path}, status))
SIM_PASS(int, __fxstatat, (int layout, int from, const char *path, void *status, int flags),
         (layout, from, at{path, from}, status, flags))
SIM_PASS(int, __fxstatat64, (int layout, int from, const char *path, void *status, int flags),
         (layout, from, at{path, from}, status, flags))
SIM_PASS(long, pathconf, (const char *path, int name), (at{path}, name))

// Permission.
SIM_PASS(int, access, (const char *path, int mode), (at{path}, mode))
SIM_PASS(int, eaccess, (const char *path, int mode), (at{path}, mode))
SIM_PASS(int, euidaccess, (const char *path, int mode), (at{path}, mode))
SIM_PASS(int, faccessat, (int from, const char *path, int mode, int flags),
         (from, at{path, from}, mode, flags))
SIM_PASS(int, chmod, (const char *path, mode_t mode), (at{path}, mode))
SIM_PASS(int, fchmodat, (int from, const char *path, mode_t mode, int flags),
         (from, at{path, from}, mode, flags))
SIM_PASS(int, chown, (const char *path, uid_t user, gid_t group), (at{path}, user, group))
SIM_PASS(int, lchown, (const char *path, uid_t user, gid_t group), (at{path}, user, group))
SIM_PASS(int, fchownat, (int from, const char *path, uid_t user, gid_t group, int flags),
         (from, at{path, from}, user, group, flags))

// Attributes beyond those, which listing and copying programs look for.
SIM_PASS(ssize_t, getxattr, (const char *path, const char *name, void *value, size_t size),
         (at{path}, name, value, size))
SIM_PASS(ssize_t, lgetxattr, (const char *path, const char *name, void *value, size_t size),
         (at{path}, name, value, size))
SIM_PASS(ssize_t, listxattr, (const char *path, char *names, size_t size), (at{path}, names, size))
SIM_PASS(ssize_t, llistxattr, (const char *path, char *names, size_t size), (at{path}, names, size))
SIM_PASS(int, setxattr, (const char *path, const char *name, const void *value, size_t size, int flags),
         (at{path}, name, value, size, flags))
SIM_PASS(int, lsetxattr, (const char *path, const char *name, const void *value, size_t size, int flags),
         (at{path}, name, value, size, flags))
SIM_PASS(int, removexattr, (const char *path, const char *name), (at{path}, name))
SIM_PASS(int, lremovexattr, (const char *path, const char *name), (at{path}, name))

// Making, moving and removing.
SIM_PASS(int, mkdir, (const char *path, mode_t mode), (at{path}, mode))
SIM_PASS(int, mkdirat, (int from, const char *path, mode_t mode), (from, at{path, from}, mode))
SIM_PASS(int, mkfifo, (const char *path, mode_t mode), (at{path}, mode))
SIM_PASS(int, mkfifoat, (int from, const char *path, mode_t mode), (from, at{path, from}, mode))
SIM_PASS(int, mknod, (const char *path, mode_t mode, dev_t device), (at{path}, mode, device))
SIM_PASS(int, mknodat, (int from, const char *path, mode_t mode, dev_t device),
         (from, at{path, from}, mode, device))
SIM_PASS(int, rmdir, (const char *path), (at{path}))
SIM_PASS(int, unlink, (const char *path), (at{path}))
SIM_PASS(int, unlinkat, (int from, const char *path, int flags), (from, at{path, from}, flags))
SIM_PASS(int, remove, (const char *path), (at{path}))
SIM_PASS(int, rename, (const char *path, const char *new_path), (at{path}, at{new_path}))
SIM_PASS(int, renameat, (int from, const char *path, int to, const char *new_path),
         (from, at{path, from}, to, at{new_path, to}))
SIM_PASS(int, renameat2, (int from, const char *path, int to, const char *new_path, unsigned flags),
         (from, at{path, from}, to, at{new_path, to}, flags))
SIM_PASS(int, link, (const char *path, const char *new_path), (at{path}, at{new_path}))
SIM_PASS(int, linkat, (int from, const char *path, int to, const char *new_path, int flags),
         (from, at{path, from}, to, at{new_path, to}, flags))
SIM_PASS(int, symlink, (const char *target, const char *new_path), (target, at{new_path}))
SIM_PASS(int, symlinkat, (const char *target, int to, const char *new_path), (target, to, at{new_path, to}))
SIM_PASS(int, utime, (const char *path, timestamps times), (at{path}, times))
SIM_PASS(int, utimes, (const char *path, timestamps times), (at{path}, times))
SIM_PASS(int, lutimes, (const char *path, timestamps times), (at{path}, times))
SIM_PASS(int, utimensat, (int from, const char *path, timestamps times, int flags),
         (from, at{path, from}, times, flags))

// Directories.
SIM_PASS(int, chdir, (const char *path), (at{path}))
SIM_PASS(void *, opendir, (const char *path), (at{path}))
SIM_PASS(int, scandir, (const char *path, void *list, void *filter, void *order),
         (at{path}, list, filter, order))
SIM_PASS(int, scandir64, (const char *path, void *list, void *filter, void *order),
         (at{path}, list, filter, order))
SIM_PASS(int, nftw, (const char *path, void *visit, int descriptors, int flags),
         (at{path}, visit, descriptors, flags))
SIM_PASS(int, nftw64, (const char *path, void *visit, int descriptors, int flags),
         (at{path}, visit, descriptors, flags))
SIM_PASS(int, ftw, (const char *path, void *visit, int descriptors), (at{path}, visit, descriptors))
SIM_PASS(int, ftw64, (const char *path, void *visit, int descriptors), (at{path}, visit, descriptors))

// Length. No device has one that could be set.
SIM_DEFINE(int, truncate, (const char *path, off_t length)) {
  const at mapped{path};
  return may_truncate(mapped) ? SIM_NEXT(truncate)(mapped, length) : -1;
}

SIM_DEFINE(int, truncate64, (const char *path, off64_t length)) {
  const at mapped{path};
  return may_truncate(mapped) ? SIM_NEXT(truncate64)(mapped, length) : -1;
}

// Names that the C library gives back.
SIM_PASS(ssize_t, readlink, (const char *path, char *text, size_t size), (at{path}, text, size))
SIM_PASS(ssize_t, __readlink_chk, (const char *path, char *text, size_t size, size_t room),
         (at{path}, text, size, room))
SIM_PASS(ssize_t, readlinkat, (int from, const char *path, char *text, size_t size),
         (from, at{path, from}, text, size))
SIM_PASS(ssize_t, __readlinkat_chk, (int from, const char *path, char *text, size_t size, size_t room),
         (from, at{path, from}, text, size, room))

SIM_DEFINE(char *, realpath, (const char *path, char *resolved)) {
  return as_known(SIM_NEXT(realpath)(at{path}, resolved));
}

SIM_DEFINE(char *, __realpath_chk, (const char *path, char *resolved, size_t room)) {
  return as_known(SIM_NEXT(__realpath_chk)(at{path}, resolved, room));
}

SIM_DEFINE(char *, canonicalize_file_name, (const char *path)) {
  return as_known(SIM_NEXT(canonicalize_file_name)(at{path}));
}

SIM_DEFINE(char *, getcwd, (char *text, size_t size)) {
  return as_known(SIM_NEXT(getcwd)(text, size));
}

SIM_DEFINE(char *, __getcwd_chk, (char *text, size_t size, size_t room)) {
  return as_known(SIM_NEXT(__getcwd_chk)(text, size, room));
}

SIM_DEFINE(char *, get_current_dir_name, ()) {
  return as_known(SIM_NEXT(get_current_dir_name)());
}
