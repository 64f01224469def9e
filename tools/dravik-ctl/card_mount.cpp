// Unmounting the memory card before it is changed, and the programs that prevent it.

#include "dravik-ctl/card_mount.hpp"
#include "base/unique_fd.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <string_view>
#include <sys/mount.h>
#include <unistd.h>
#include <vector>

namespace dravik::ctl {
namespace {

constexpr const char *mount_point = "/tmp/mmcblk0p1";

std::string target_of(const std::string &link) {
  std::array<char, PATH_MAX> target;
  const ssize_t length = ::readlink(link.c_str(), target.data(), target.size());
  return {target.data(), static_cast<size_t>(std::max<ssize_t>(length, 0))};
}

/// The name under which the kernel lists the mount point: a directory above it may be a link.
std::string real_mount_point() {
  const unique_fd directory{::open(mount_point, O_PATH | O_DIRECTORY | O_CLOEXEC)};
  return target_of("/proc/self/fd/" + std::to_string(directory.get()));
}

std::vector<std::string> names_in(const std::string &directory) {
  std::vector<std::string> names;
  DIR *open = ::opendir(directory.c_str());
  if (open == nullptr)
    return names;
  while (const dirent *entry = ::readdir(open))
    if (entry->d_name[0] != '.')
      names.emplace_back(entry->d_name);
  ::closedir(open);
  return names;
}

bool leads_below(const std::string &link, const std::string &directory) {
  const std::string target = target_of(link);
  return target.starts_with(directory) &&
         (target.size() == directory.size() || target[directory.size()] == '/');
}

/// `process` is a directory of /proc.
bool uses(const std::string &process, const std::string &directory) {
  for (const char *link : {"/cwd", "/root", "/exe"})
    if (leads_below(process + link, directory))
      return true;
  const std::string descriptors = process + "/fd/";
  const std::vector<std::string> numbers = names_in(descriptors);
  return std::ranges::any_of(
      numbers, [&](const std::string &number) { return leads_below(descriptors + number, directory); });
}

std::string program_of(const std::string &process) {
  std::array<char, 64> name;
  const unique_fd file{::open((process + "/comm").c_str(), O_RDONLY | O_CLOEXEC)};
  const ssize_t length = ::read(file.get(), name.data(), name.size());
  const std::string_view text{name.data(), static_cast<size_t>(std::max<ssize_t>(length, 0))};
  return std::string{text.substr(0, text.find('\n'))};
}

/// "sleep (4711), sh (4712)"; empty if none is found.
std::string users_of(const std::string &directory) {
  std::string users;
  for (const std::string &number : names_in("/proc")) {
    const std::string process = "/proc/" + number;
    if (number.find_first_not_of("0123456789") == std::string::npos && uses(process, directory))
      users += (users.empty() ? "" : ", ") + program_of(process) + " (" + number + ")";
  }
  return users;
}

} // namespace

bool unmount_card(std::string &error) {
  if (::umount2(mount_point, 0) == 0)
    return true;
  if (errno != EBUSY) {
    error = std::string{"card: cannot be unmounted: "} + std::strerror(errno);
    return false;
  }
  const std::string directory = real_mount_point();
  const std::string users = directory.empty() ? "" : users_of(directory);
  error =
      users.empty() ? "card: busy; nothing changed" : "card: busy, in use by " + users + "; nothing changed";
  return false;
}

} // namespace dravik::ctl
