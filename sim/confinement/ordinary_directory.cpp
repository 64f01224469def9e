// Directories that an application may be permitted to write in.

#include "confinement/ordinary_directory.hpp"

#include <algorithm>
#include <memory>
#include <mntent.h>
#include <string_view>

namespace dravik::sim {
namespace {

/// File systems whose files are the machine itself.
constexpr std::string_view kernel_file_systems[] = {
    "binfmt_misc", "bpf",      "cgroup",  "cgroup2", "configfs",   "debugfs", "devpts",
    "devtmpfs",    "efivarfs", "fusectl", "proc",    "securityfs", "sysfs",   "tracefs",
};

/// With all that is below them.
constexpr std::string_view system_trees[] = {
    "/bin",  "/boot",    "/etc",     "/lib",         "/lib32",    "/lib64",     "/libx32",
    "/sbin", "/usr/bin", "/usr/lib", "/usr/libexec", "/usr/sbin", "/usr/share", "/usr/include",
};

/// As a whole; what people keep below them is theirs.
constexpr std::string_view system_directories[] = {
    "/home", "/media", "/mnt", "/opt", "/run", "/srv", "/usr", "/usr/local", "/var",
};

bool is_in(std::string_view path, std::string_view directory) {
  return directory == "/" ||
         (path.starts_with(directory) && (path.size() == directory.size() || path[directory.size()] == '/'));
}

struct mounts_around {
  std::string place = {}; ///< of the mount that the directory belongs to
  std::string type = {};
  std::string kernel_mount_inside = {};
};

mounts_around find_mounts(const std::string &directory) {
  mounts_around found;
  const std::unique_ptr<FILE, int (*)(FILE *)> mounts{::setmntent("/proc/self/mounts", "r"), ::endmntent};
  while (const mntent *mount = mounts != nullptr ? ::getmntent(mounts.get()) : nullptr) {
    const std::string_view place = mount->mnt_dir;
    const std::string_view type = mount->mnt_type;
    if (is_in(directory, place) && place.size() >= found.place.size()) {
      found.place = place;
      found.type = type;
    } else if (is_in(place, directory) && std::ranges::count(kernel_file_systems, type) != 0) {
      found.kernel_mount_inside = place;
    }
  }
  return found;
}

} // namespace

std::string why_never_writable(const std::string &directory) {
  if (directory == "/")
    return "the root directory contains the whole machine";
  if (is_in(directory, "/dev") && !is_in(directory, "/dev/shm"))
    return "contains devices";
  const mounts_around mounts = find_mounts(directory);
  if (std::ranges::count(kernel_file_systems, mounts.type) != 0)
    return "belongs to the kernel";
  return mounts.kernel_mount_inside.empty() ? "" : "contains " + mounts.kernel_mount_inside;
}

std::string why_not_writable_by_default(const std::string &directory) {
  const bool is_of_system =
      std::ranges::count(system_directories, directory) != 0 ||
      std::ranges::any_of(system_trees, [&](std::string_view tree) { return is_in(directory, tree); });
  return is_of_system ? "is a directory of the system" : why_never_writable(directory);
}

} // namespace dravik::sim
