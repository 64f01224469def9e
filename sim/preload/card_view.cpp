// The memory card as applications see it beyond its files: space, partition, write protection.

#include "preload/card_view.hpp"
#include "base/unique_fd.hpp"
#include "board/board_files.hpp"
#include "board/preserve_errno.hpp"
#include "board/settings_text.hpp"
#include "preload/child_process.hpp"
#include "preload/kernel_files.hpp"
#include "preload/path_map.hpp"
#include "preload/shell_words.hpp"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>

namespace dravik::sim {
namespace {

constinit std::atomic<bool> was_opened = false;

/// One text at a time: each takes 8 KiB of the stack.
uint32_t number_in(const char *inside) noexcept {
  return first_number(board_text{inside});
}

partition known_partition() noexcept {
  return {number_in(card_texts::partition_start), number_in(card_texts::partition_size)};
}

mount_state state_of_mount() noexcept {
  return mount_state_of(board_text{card_texts::mounts});
}

unique_fd open_card() noexcept {
  return unique_fd{open_board_file("dev/mmcblk0", O_RDONLY)};
}

/// Return where the readable part of a file with a broken chain ends, -1 for other files.
off64_t readable_end(const char *name) noexcept {
  const std::string_view path = std::string_view{name}.substr(card_mount_point.size());
  const board_text list{card_texts::broken};
  for (std::string_view rest = list; !rest.empty();) {
    std::string_view line = take_until(rest, '\n');
    const std::string_view end = take_until(line, ' ');
    uint32_t number = 0;
    if (path.size() == line.size() + 1 && path.ends_with(line) && read_number(end, number))
      return number;
  }
  return -1;
}

/// As the kernel does when it finds an error in a FAT file system.
void make_mount_read_only() noexcept {
  constexpr const char *options[] = {"-o", "remount,ro"};
  run_card_action("mount", shell_words{""}, options);
}

uint64_t used_clusters(uint32_t cluster_bytes) noexcept {
  const unique_fd folder{open_board_file("tmp/mmcblk0p1", O_RDONLY | O_DIRECTORY)};
  return folder ? clusters_of_tree(folder.get(), cluster_bytes) : 0;
}

} // namespace

card_space read_card_space() noexcept {
  const preserve_errno unchanged;
  const partition known = known_partition();
  const unique_fd card = open_card();
  if (known.length == 0 || !card || !card_is_mounted())
    return {};
  const fat_volume volume = read_fat_volume(read_sector(card.get(), known.start));
  if (volume.clusters == 0)
    return {};
  const auto used = std::min<uint64_t>(used_clusters(volume.cluster_bytes), volume.clusters);
  return {volume.cluster_bytes, volume.clusters, volume.clusters - static_cast<uint32_t>(used)};
}

bool is_on_card(const char *name) noexcept {
  const std::string_view path = name != nullptr ? name : "";
  return path.starts_with(card_mount_point) &&
         (path.size() == card_mount_point.size() || path[card_mount_point.size()] == '/');
}

bool card_was_opened() noexcept {
  return was_opened.load(std::memory_order_relaxed);
}

void note_opened_card() noexcept {
  was_opened.store(true, std::memory_order_relaxed);
}

bool card_is_mounted() noexcept {
  return state_of_mount() != mount_state::none;
}

bool card_is_read_only() noexcept {
  return state_of_mount() == mount_state::read_only;
}

bool card_is_pulled() noexcept {
  const preserve_errno unchanged;
  return unique_fd{open_board_file(card_texts::pulled, O_PATH)}.get() >= 0;
}

bool is_on_pulled_card(int descriptor) noexcept {
  return is_on_card(descriptor_name{descriptor}) && card_is_pulled();
}

int write_error(int descriptor) noexcept {
  if (!is_on_card(descriptor_name{descriptor}))
    return 0;
  const preserve_errno unchanged;
  return card_is_pulled() ? EIO : card_is_read_only() ? EROFS : 0;
}

ssize_t bytes_to_read(int descriptor, off64_t position, size_t size) noexcept {
  const descriptor_name name{descriptor};
  if (!is_on_card(name))
    return static_cast<ssize_t>(size);
  if (card_is_pulled())
    return -EIO;
  const preserve_errno unchanged;
  const off64_t end = readable_end(name);
  if (end < 0 || size == 0 || position + static_cast<off64_t>(size) <= end ||
      position >= length_behind(descriptor))
    return static_cast<ssize_t>(size);
  if (position < end)
    return static_cast<ssize_t>(end - position);
  if (!card_is_read_only())
    make_mount_read_only();
  return -EIO;
}

bool card_is_locked() noexcept {
  return number_in(card_texts::locked_line) != 0;
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
