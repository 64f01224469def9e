// The calls that name files without opening them. Structures that a call fills are
// forwarded as they are, in any layout.

#include "board/preserve_errno.hpp"
#include "preload/card_names.hpp"
#include "preload/card_view.hpp"
#include "preload/next.hpp"
#include "preload/path_map.hpp"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/types.h>

namespace dravik::sim {
namespace {

using at = board_path;
using link_at = link_path; ///< for calls that do not follow a link
using seen_at = seen_path; ///< for calls that change nothing

/// For calls that query a file, or a link itself, depending on their flags.
constexpr last_link by_flags(int flags) noexcept {
  return (flags & AT_SYMLINK_NOFOLLOW) != 0 ? last_link::kept : last_link::followed;
}

/// Translate a path that the C library returns to the application's name.
char *as_board_path(char *path) noexcept {
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

bool is_on_mounted_card(const board_path &path) noexcept {
  const preserve_errno unchanged;
  return is_on_card(path.name()) && card_is_mounted();
}

bool fails(bool is_refused, int error) noexcept {
  if (is_refused)
    errno = error;
  return is_refused;
}

/// For a call that creates a file or gives it a name. Return false and set errno if the card cannot have it.
bool check_name(const board_path &path) noexcept {
  return !fails(is_on_mounted_card(path) && !is_fat_name(path.name()), EINVAL);
}

/// For a call that creates a link, a pipe or a device, which the card cannot have.
bool check_kind(const board_path &path) noexcept {
  return !fails(is_on_mounted_card(path), EPERM);
}

} // namespace
} // namespace dravik::sim

#define SIM_CREATE(result, name, parameters, created, directory, check, arguments)                           \
  SIM_DEFINE(result, name, parameters) {                                                                     \
    const ::dravik::sim::link_path mapped{created, directory};                                               \
    return ::dravik::sim::check(mapped) ? SIM_NEXT(name) arguments : -1;                                     \
  }

using dravik::sim::as_board_path;
using dravik::sim::at;
using dravik::sim::by_flags;
using dravik::sim::last_link;
using dravik::sim::link_at;
using dravik::sim::may_truncate;
using dravik::sim::seen_at;
using dravik::sim::short_offset;
using timestamps = const void *;

// Status of files, for programs of older C libraries.
SIM_PASS(int, __xstat, (int layout, const char *path, void *status), (layout, seen_at{path}, status))
SIM_PASS(int, __xstat64, (int layout, const char *path, void *status), (layout, seen_at{path}, status))
SIM_PASS(int, __lxstat, (int layout, const char *path, void *status),
         (layout, seen_at{path, AT_FDCWD, last_link::kept}, status))
SIM_PASS(int, __lxstat64, (int layout, const char *path, void *status),
         (layout, seen_at{path, AT_FDCWD, last_link::kept}, status))
SIM_PASS(int, __fxstatat, (int layout, int from, const char *path, void *status, int flags),
         (layout, from, seen_at{path, from, by_flags(flags)}, status, flags))
SIM_PASS(int, __fxstatat64, (int layout, int from, const char *path, void *status, int flags),
         (layout, from, seen_at{path, from, by_flags(flags)}, status, flags))
SIM_PASS(long, pathconf, (const char *path, int name), (seen_at{path}, name))

// Permission.
SIM_PASS(int, access, (const char *path, int mode), (seen_at{path}, mode))
SIM_PASS(int, eaccess, (const char *path, int mode), (seen_at{path}, mode))
SIM_PASS(int, euidaccess, (const char *path, int mode), (seen_at{path}, mode))
SIM_PASS(int, faccessat, (int from, const char *path, int mode, int flags),
         (from, seen_at{path, from}, mode, flags))
SIM_PASS(int, chmod, (const char *path, mode_t mode), (at{path}, mode))
SIM_PASS(int, fchmodat, (int from, const char *path, mode_t mode, int flags),
         (from, at{path, from, by_flags(flags)}, mode, flags))
SIM_PASS(int, chown, (const char *path, uid_t user, gid_t group), (at{path}, user, group))
SIM_PASS(int, lchown, (const char *path, uid_t user, gid_t group), (link_at{path}, user, group))
SIM_PASS(int, fchownat, (int from, const char *path, uid_t user, gid_t group, int flags),
         (from, at{path, from, by_flags(flags)}, user, group, flags))

// Extended attributes, which listing and copying programs query.
SIM_PASS(ssize_t, getxattr, (const char *path, const char *name, void *value, size_t size),
         (seen_at{path}, name, value, size))
SIM_PASS(ssize_t, lgetxattr, (const char *path, const char *name, void *value, size_t size),
         (seen_at{path, AT_FDCWD, last_link::kept}, name, value, size))
SIM_PASS(ssize_t, listxattr, (const char *path, char *names, size_t size), (seen_at{path}, names, size))
SIM_PASS(ssize_t, llistxattr, (const char *path, char *names, size_t size),
         (seen_at{path, AT_FDCWD, last_link::kept}, names, size))
SIM_PASS(int, setxattr, (const char *path, const char *name, const void *value, size_t size, int flags),
         (at{path}, name, value, size, flags))
SIM_PASS(int, lsetxattr, (const char *path, const char *name, const void *value, size_t size, int flags),
         (link_at{path}, name, value, size, flags))
SIM_PASS(int, removexattr, (const char *path, const char *name), (at{path}, name))
SIM_PASS(int, lremovexattr, (const char *path, const char *name), (link_at{path}, name))

// Creating, moving and removing.
SIM_CREATE(int, mkdir, (const char *path, mode_t mode), path, AT_FDCWD, check_name, (mapped, mode))
SIM_CREATE(int, mkdirat, (int from, const char *path, mode_t mode), path, from, check_name,
           (from, mapped, mode))
SIM_CREATE(int, mkfifo, (const char *path, mode_t mode), path, AT_FDCWD, check_kind, (mapped, mode))
SIM_CREATE(int, mkfifoat, (int from, const char *path, mode_t mode), path, from, check_kind,
           (from, mapped, mode))
SIM_CREATE(int, mknod, (const char *path, mode_t mode, dev_t device), path, AT_FDCWD, check_kind,
           (mapped, mode, device))
SIM_CREATE(int, mknodat, (int from, const char *path, mode_t mode, dev_t device), path, from, check_kind,
           (from, mapped, mode, device))
SIM_PASS(int, rmdir, (const char *path), (link_at{path}))
SIM_PASS(int, unlink, (const char *path), (link_at{path}))
SIM_PASS(int, unlinkat, (int from, const char *path, int flags), (from, link_at{path, from}, flags))
SIM_PASS(int, remove, (const char *path), (link_at{path}))
SIM_CREATE(int, rename, (const char *path, const char *new_path), new_path, AT_FDCWD, check_name,
           (link_at{path}, mapped))
SIM_CREATE(int, renameat, (int from, const char *path, int to, const char *new_path), new_path, to,
           check_name, (from, link_at{path, from}, to, mapped))
SIM_CREATE(int, renameat2, (int from, const char *path, int to, const char *new_path, unsigned flags),
           new_path, to, check_name, (from, link_at{path, from}, to, mapped, flags))
SIM_CREATE(int, link, (const char *path, const char *new_path), new_path, AT_FDCWD, check_kind,
           (link_at{path}, mapped))
SIM_CREATE(int, linkat, (int from, const char *path, int to, const char *new_path, int flags), new_path, to,
           check_kind, (from, link_at{path, from}, to, mapped, flags))
SIM_CREATE(int, symlink, (const char *target, const char *new_path), new_path, AT_FDCWD, check_kind,
           (target, mapped))
SIM_CREATE(int, symlinkat, (const char *target, int to, const char *new_path), new_path, to, check_kind,
           (target, to, mapped))
SIM_PASS(int, utime, (const char *path, timestamps times), (at{path}, times))
SIM_PASS(int, utimes, (const char *path, timestamps times), (at{path}, times))
SIM_PASS(int, lutimes, (const char *path, timestamps times), (link_at{path}, times))
SIM_PASS(int, utimensat, (int from, const char *path, timestamps times, int flags),
         (from, at{path, from, by_flags(flags)}, times, flags))

// The same with 64-bit times, on 32-bit machines.
SIM_PASS(int, __utime64, (const char *path, timestamps times), (at{path}, times))
SIM_PASS(int, __utimes64, (const char *path, timestamps times), (at{path}, times))
SIM_PASS(int, __lutimes64, (const char *path, timestamps times), (link_at{path}, times))
SIM_PASS(int, __utimensat64, (int from, const char *path, timestamps times, int flags),
         (from, at{path, from, by_flags(flags)}, times, flags))

// Directories.
SIM_PASS(int, chdir, (const char *path), (seen_at{path}))
SIM_PASS(void *, opendir, (const char *path), (seen_at{path}))
SIM_PASS(int, scandir, (const char *path, void *list, void *filter, void *order),
         (seen_at{path}, list, filter, order))
SIM_PASS(int, scandir64, (const char *path, void *list, void *filter, void *order),
         (seen_at{path}, list, filter, order))
SIM_PASS(int, nftw, (const char *path, void *visit, int descriptors, int flags),
         (seen_at{path}, visit, descriptors, flags))
SIM_PASS(int, nftw64, (const char *path, void *visit, int descriptors, int flags),
         (seen_at{path}, visit, descriptors, flags))
SIM_PASS(int, __nftw64_time64, (const char *path, void *visit, int descriptors, int flags),
         (seen_at{path}, visit, descriptors, flags))
SIM_PASS(int, ftw, (const char *path, void *visit, int descriptors), (seen_at{path}, visit, descriptors))
SIM_PASS(int, ftw64, (const char *path, void *visit, int descriptors), (seen_at{path}, visit, descriptors))
SIM_PASS(int, __ftw64_time64, (const char *path, void *visit, int descriptors),
         (seen_at{path}, visit, descriptors))

// Length. That of a device cannot be set.
SIM_DEFINE(int, truncate, (const char *path, short_offset length)) {
  const at mapped{path};
  return may_truncate(mapped) ? SIM_NEXT(truncate)(mapped, length) : -1;
}

SIM_DEFINE(int, truncate64, (const char *path, off64_t length)) {
  const at mapped{path};
  return may_truncate(mapped) ? SIM_NEXT(truncate64)(mapped, length) : -1;
}

// Names that the C library returns.
SIM_PASS(ssize_t, readlink, (const char *path, char *text, size_t size),
         (seen_at{path, AT_FDCWD, last_link::kept}, text, size))
SIM_PASS(ssize_t, __readlink_chk, (const char *path, char *text, size_t size, size_t room),
         (seen_at{path, AT_FDCWD, last_link::kept}, text, size, room))
SIM_PASS(ssize_t, readlinkat, (int from, const char *path, char *text, size_t size),
         (from, seen_at{path, from, last_link::kept}, text, size))
SIM_PASS(ssize_t, __readlinkat_chk, (int from, const char *path, char *text, size_t size, size_t room),
         (from, seen_at{path, from, last_link::kept}, text, size, room))

SIM_DEFINE(char *, realpath, (const char *path, char *resolved)) {
  return as_board_path(SIM_NEXT(realpath)(seen_at{path}, resolved));
}

SIM_DEFINE(char *, __realpath_chk, (const char *path, char *resolved, size_t room)) {
  return as_board_path(SIM_NEXT(__realpath_chk)(seen_at{path}, resolved, room));
}

SIM_DEFINE(char *, canonicalize_file_name, (const char *path)) {
  return as_board_path(SIM_NEXT(canonicalize_file_name)(seen_at{path}));
}

SIM_DEFINE(char *, getcwd, (char *text, size_t size)) {
  return as_board_path(SIM_NEXT(getcwd)(text, size));
}

SIM_DEFINE(char *, __getcwd_chk, (char *text, size_t size, size_t room)) {
  return as_board_path(SIM_NEXT(__getcwd_chk)(text, size, room));
}

SIM_DEFINE(char *, get_current_dir_name, ()) {
  return as_board_path(SIM_NEXT(get_current_dir_name)());
}
