// Space that files take on a memory card.

#include "base/unique_fd.hpp"
#include "board/card_layout.hpp"

#include <algorithm>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>

namespace dravik::sim {
namespace {

constexpr uint64_t entry_bytes = 32;
constexpr size_t characters_of_an_entry = 13; ///< of a long name
constexpr uint64_t own_entries = 2;           ///< of a directory: itself and the one above

struct close_directory {
  void operator()(DIR *directory) const noexcept { ::closedir(directory); }
};
using unique_directory = std::unique_ptr<DIR, close_directory>;

bool is_of_short_names(char c) noexcept {
  constexpr std::string_view others = "$%'-_@~`!(){}^#&";
  return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || others.find(c) != others.npos;
}

/// Whether a name fits into one directory entry: eight characters, a point, three.
bool is_short(std::string_view name) noexcept {
  const size_t point = std::min(name.find('.'), name.size());
  const std::string_view base = name.substr(0, point);
  const std::string_view extension = name.substr(std::min(point + 1, name.size()));
  return !base.empty() && base.size() <= 8 && extension.size() <= 3 &&
         (point == name.size() || !extension.empty()) && std::ranges::all_of(base, is_of_short_names) &&
         std::ranges::all_of(extension, is_of_short_names);
}

/// Return the length of UTF-8 text in the 16-bit units of long names.
size_t characters(std::string_view name) noexcept {
  size_t count = 0;
  for (const char c : name) {
    const auto byte = static_cast<uint8_t>(c);
    count += byte >= 0xF0 ? 2 : (byte & 0xC0) != 0x80 ? 1 : 0;
  }
  return count;
}

uint64_t entries_of(std::string_view name) noexcept {
  const size_t long_entries =
      is_short(name) ? 0 : (characters(name) + characters_of_an_entry - 1) / characters_of_an_entry;
  return 1 + long_entries;
}

/// Counts the entries below a directory; opens one directory at a time per level.
class tree_count {
public:
  explicit tree_count(uint32_t cluster_bytes) noexcept : cluster_bytes_(cluster_bytes) {}

  void add_directory(int descriptor, uint64_t entries) noexcept { // NOLINT(misc-no-recursion)
    const unique_directory directory{::fdopendir(descriptor)};
    while (const dirent *entry = directory != nullptr ? ::readdir(directory.get()) : nullptr) {
      const std::string_view name{entry->d_name};
      if (name == "." || name == "..")
        continue;
      entries += entries_of(name);
      add(::dirfd(directory.get()), entry->d_name);
    }
    add_bytes(std::max<uint64_t>(entries * entry_bytes, 1)); // at least one cluster
  }
  uint64_t clusters() const noexcept { return clusters_; }

private:
  void add(int directory, const char *name) noexcept { // NOLINT(misc-no-recursion)
    struct stat64 status;
    if (::fstatat64(directory, name, &status, AT_SYMLINK_NOFOLLOW) != 0)
      return;
    if (S_ISREG(status.st_mode))
      add_bytes(static_cast<uint64_t>(status.st_size));
    unique_fd below{S_ISDIR(status.st_mode) ? ::openat(directory, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC)
                                            : -1};
    if (below)
      add_directory(below.release(), own_entries);
  }
  void add_bytes(uint64_t bytes) noexcept { clusters_ += (bytes + cluster_bytes_ - 1) / cluster_bytes_; }

  uint32_t cluster_bytes_;
  uint64_t clusters_ = 0;
};

} // namespace

uint64_t clusters_of_tree(int directory, uint32_t cluster_bytes) noexcept {
  tree_count count{cluster_bytes};
  unique_fd own{::openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
  if (own)
    count.add_directory(own.release(), 0);
  return count.clusters();
}

} // namespace dravik::sim
