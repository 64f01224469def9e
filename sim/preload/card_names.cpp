// Names of files on the mounted memory card, as a FAT file system has them.

#include "preload/card_names.hpp"
#include "base/unique_fd.hpp"
#include "board/preserve_errno.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

/// Ends a text at a position while it exists.
class cut_text {
public:
  explicit cut_text(char *at) noexcept : at_(at), character_(*at) { *at_ = '\0'; }
  ~cut_text() { *at_ = character_; }
  cut_text(const cut_text &) = delete;
  cut_text &operator=(const cut_text &) = delete;

private:
  char *at_;
  char character_;
};

bool exists(const char *path) noexcept {
  struct statx status = {};
  return ::syscall(SYS_statx, AT_FDCWD, path, AT_SYMLINK_NOFOLLOW, STATX_TYPE, &status) == 0;
}

char lower(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool is_same_name(std::string_view one, std::string_view other) noexcept {
  return std::ranges::equal(one, other, {}, lower, lower);
}

/// An entry as the kernel lists it.
struct directory_entry {
  uint64_t inode;
  int64_t next;
  uint16_t length;
  uint8_t type;
  char name[1];
};

/// Replace a name by the same one in a list of entries. Return whether there is one.
bool find_among(const char *entries, const char *end, std::string_view name, char *into) noexcept {
  while (entries < end) {
    uint16_t length;
    std::memcpy(&length, entries + offsetof(directory_entry, length), sizeof length);
    const std::string_view stored{entries + offsetof(directory_entry, name)};
    if (is_same_name(stored, name)) {
      std::copy(stored.begin(), stored.end(), into);
      return true;
    }
    entries += length;
  }
  return false;
}

bool find_in_directory(const char *directory, std::string_view name, char *into) noexcept {
  const unique_fd listed{static_cast<int>(
      ::syscall(SYS_openat, AT_FDCWD, directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW, 0))};
  alignas(directory_entry) char entries[4096];
  long count = 0;
  while (listed && (count = ::syscall(SYS_getdents64, listed.get(), entries, sizeof entries)) > 0)
    if (find_among(entries, entries + count, name, into))
      return true;
  return false;
}

/// Return false if the directory has no such name.
bool use_stored_name(char *path, char *name, char *end) noexcept {
  const cut_text to_name{end};
  if (name == end || exists(path))
    return true;
  const std::string_view wanted{name, static_cast<size_t>(end - name)};
  const cut_text above{name - 1};
  return find_in_directory(path, wanted, name);
}

} // namespace

void use_stored_names(char *path, char *names) noexcept {
  const preserve_errno unchanged;
  char *name = names;
  while (*name == '/') {
    ++name;
    char *end = name + std::strcspn(name, "/");
    if (!use_stored_name(path, name, end))
      return;
    name = end;
  }
}

bool is_fat_name(const char *name) noexcept {
  return std::ranges::none_of(std::string_view{name}, [](char c) {
    return static_cast<uint8_t>(c) < ' ' || std::string_view{"*?<>|\":\\"}.find(c) != std::string_view::npos;
  });
}

} // namespace dravik::sim
