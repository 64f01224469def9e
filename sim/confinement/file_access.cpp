// Landlock by its system calls: headers may be older than the kernel, and there is no library to link.

#include "confinement/file_access.hpp"
#include "base/unique_fd.hpp"

#include <cstdint>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

// ---------------------------------------------------------------------------------- interface of the kernel

constexpr long call_create_ruleset = 444; // the same on every machine
constexpr long call_add_rule = 445;
constexpr long call_restrict_self = 446;
constexpr unsigned query_version = 1;
constexpr int rule_for_path = 1;

struct ruleset_attributes {
  uint64_t handled_access_fs;
  uint64_t handled_access_net;
  uint64_t scoped;
};

struct [[gnu::packed]] path_attributes {
  uint64_t allowed_access;
  int32_t parent;
};

// Rights, as the kernel numbers them.
constexpr uint64_t execute = 1U << 0;
constexpr uint64_t write_file = 1U << 1;
constexpr uint64_t read_file = 1U << 2;
constexpr uint64_t read_directory = 1U << 3;
constexpr uint64_t make_character_device = 1U << 6;
constexpr uint64_t make_block_device = 1U << 11;
constexpr uint64_t move_between_directories = 1U << 13;
constexpr uint64_t truncate_file = 1U << 14;
constexpr uint64_t control_device = 1U << 15;

constexpr uint64_t rights_until(uint64_t last) {
  return last | (last - 1);
}

constexpr uint64_t everything = rights_until(control_device);
constexpr uint64_t rights_to_files = execute | write_file | read_file | truncate_file | control_device;
constexpr uint64_t looking = execute | read_file | read_directory;
constexpr uint64_t writing = everything & ~(make_character_device | make_block_device | control_device);
constexpr uint64_t using_device = read_file | write_file | truncate_file | control_device;

/// The first level does not let anyone move files between directories, not even inside the board.
constexpr int least_level = 2;

uint64_t rights_of_level(int level) {
  if (level >= 5)
    return rights_until(control_device);
  return rights_until(level >= 3 ? truncate_file : move_between_directories);
}

uint64_t scopes_of_level(int level) {
  constexpr uint64_t abstract_sockets = 1U << 0;
  constexpr uint64_t signals = 1U << 1;
  return level >= landlock_with_signals ? abstract_sockets | signals : 0;
}

class ruleset {
public:
  explicit ruleset(int level) : handled_(rights_of_level(level)) {
    const ruleset_attributes attributes = {handled_, 0, scopes_of_level(level)};
    descriptor_.reset(static_cast<int>(::syscall(call_create_ruleset, &attributes, sizeof attributes, 0)));
  }

  bool is_open() const { return static_cast<bool>(descriptor_); }

  void allow(int file, uint64_t rights) const {
    struct stat status;
    if (::fstat(file, &status) != 0)
      return;
    const uint64_t possible = S_ISDIR(status.st_mode) ? handled_ : handled_ & rights_to_files;
    const path_attributes attributes = {rights & possible, file};
    ::syscall(call_add_rule, descriptor_.get(), rule_for_path, &attributes, 0);
  }

  /// A path that does not exist needs no right.
  void allow(const char *path, uint64_t rights, int directory = AT_FDCWD) const {
    const unique_fd file{::openat(directory, path, O_PATH | O_CLOEXEC)};
    if (file)
      allow(file.get(), rights);
  }

  bool enforce() const { return ::syscall(call_restrict_self, descriptor_.get(), 0) == 0; }

private:
  uint64_t handled_;
  unique_fd descriptor_;
};

// ------------------------------------------------------------------------------------------- the rules

constexpr const char *harmless_devices[] = {
    "/dev/null", "/dev/zero", "/dev/full", "/dev/random", "/dev/urandom", "/dev/tty", "/dev/ptmx", "/dev/pts",
};

/// A rule holds for all that is below its directory: so /dev is left out, not forbidden.
bool allow_looking(const ruleset &rules) {
  const std::unique_ptr<DIR, int (*)(DIR *)> root{::opendir("/"), ::closedir};
  if (root == nullptr)
    return false;
  rules.allow("/", read_directory);
  while (const dirent *entry = ::readdir(root.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != ".." && name != "dev")
      rules.allow(entry->d_name, looking, ::dirfd(root.get()));
  }
  return true;
}

/// For programs that open /dev/stdout and its like: the file of the output, or a terminal outside /dev/pts.
void allow_standard_files(const ruleset &rules) {
  for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    struct stat status;
    const int flags = ::fcntl(file, F_GETFL);
    const bool is_written = flags >= 0 && (flags & O_ACCMODE) != O_RDONLY;
    if (::isatty(file) == 1)
      rules.allow(file, using_device);
    else if (is_written && ::fstat(file, &status) == 0 && S_ISREG(status.st_mode))
      rules.allow(file, read_file | write_file | truncate_file);
  }
}

int level_of_kernel() {
  return static_cast<int>(::syscall(call_create_ruleset, nullptr, 0, query_version));
}

} // namespace

int confine_file_access(const std::vector<std::string> &writable) {
  const int level = level_of_kernel();
  if (level < least_level)
    return 0;
  const ruleset rules{level};
  if (!rules.is_open() || !allow_looking(rules))
    return 0;
  for (const char *device : harmless_devices)
    rules.allow(device, using_device | read_directory);
  rules.allow("/dev/shm", writing);
  allow_standard_files(rules);
  for (const std::string &directory : writable)
    rules.allow(directory.c_str(), writing);
  return rules.enforce() ? level : 0;
}

} // namespace dravik::sim
