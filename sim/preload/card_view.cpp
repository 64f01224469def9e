// The board's memory card as applications see it past its files: its room, its partition, its write
// protection.

#include "preload/card_view.hpp"
#include "base/unique_fd.hpp"
#include "board/card_layout.hpp"
#include "board/settings_text.hpp"
#include "preload/board_files.hpp"
#include "preload/preserve_errno.hpp"

#include <fcntl.h>
#include <sys/mman.h>

namespace dravik::sim {
namespace {

constexpr std::string_view card_folder = "/tmp/mmcblk0p1";

/// The card's line in the list of mounts; empty when it is not mounted.
std::string_view mount_line(std::string_view mounts) noexcept {
  while (true) {
    const std::string_view line = take_line(mounts);
    std::string_view rest = line;
    if (line.empty() || take_word(rest) == card_partition)
      return line;
  }
}

uint32_t number_in(const char *inside) noexcept {
  const board_text text{inside};
  std::string_view rest = text;
  const std::string_view digits = take_line(rest);
  uint32_t number = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return number;
}

partition known_partition() noexcept {
  return {number_in("sys/block/mmcblk0/mmcblk0p1/start"), number_in("sys/block/mmcblk0/mmcblk0p1/size")};
}

unique_fd open_card() noexcept {
  return unique_fd{open_board_file("dev/mmcblk0", O_RDONLY)};
}

uint64_t used_clusters(uint32_t cluster_bytes) noexcept {
  const unique_fd folder{open_board_file("tmp/mmcblk0p1", O_RDONLY | O_DIRECTORY)};
  return folder ? clusters_of_tree(folder.get(), cluster_bytes) : 0;
}

} // namespace

card_room read_card_room() noexcept {
  const preserve_errno unchanged;
  const partition known = known_partition();
  const unique_fd card = open_card();
  if (known.length == 0 || !card || mount_line(board_text{"proc/mounts"}).empty())
    return {};
  const fat_volume volume = read_fat_volume(read_sector(card.get(), known.start));
  if (volume.clusters == 0)
    return {};
  const auto used = std::min<uint64_t>(used_clusters(volume.cluster_bytes), volume.clusters);
  return {volume.cluster_bytes, volume.clusters, volume.clusters - static_cast<uint32_t>(used)};
}

bool is_on_card(const char *name) noexcept {
  const std::string_view path = name != nullptr ? name : "";
  return path.starts_with(card_folder) &&
         (path.size() == card_folder.size() || path[card_folder.size()] == '/');
}

bool card_is_mounted() noexcept {
  return !mount_line(board_text{"proc/mounts"}).empty();
}

bool card_is_read_only() noexcept {
  const board_text mounts{"proc/mounts"};
  return mount_line(mounts).find(" vfat ro") != std::string_view::npos;
}

bool card_is_locked() noexcept {
  return number_in("gpio/68") != 0;
}

int open_partition(int descriptor, int flags) noexcept {
  const unique_fd stand_in{descriptor};
  if ((flags & O_ACCMODE) != O_RDONLY) {
    errno = EROFS;
    return -1;
  }
  const partition known = known_partition();
  const unique_fd card = open_card();
  unique_fd copy{::memfd_create("partition", (flags & O_CLOEXEC) != 0 ? MFD_CLOEXEC : 0)};
  const bool is_whole = card && copy &&
                        ::ftruncate64(copy.get(), static_cast<off64_t>(known.length_bytes())) == 0 &&
                        copy_region(card.get(), known.start_bytes(), copy.get(), 0, known.length_bytes());
  if (!is_whole)
    errno = EIO;
  return is_whole ? copy.release() : -1;
}

} // namespace dravik::sim
