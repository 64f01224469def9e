// Free space of the mounted memory card for writes. Counting the files of the card takes long, so that each process has
// a reserve that it uses up first: half of the free space, and none on a card that is almost full.

#include "preload/card_room.hpp"
#include "board/chosen_board.hpp"
#include "board/preserve_errno.hpp"
#include "preload/card_view.hpp"
#include "preload/kernel_files.hpp"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

constexpr uint32_t least_shared = 1024; ///< clusters; below, every write counts the files of the card

constinit std::atomic<uint32_t> known_mount = 0;
constinit std::atomic<uint32_t> cluster_bytes = 0;
constinit std::atomic<uint32_t> reserve = 0; ///< in clusters

/// Return a number that differs from mount to mount: the list of mounts is a new file then.
uint32_t current_mount() noexcept {
  char path[longest_path];
  struct statx status = {};
  std::snprintf(path, sizeof path, "%s/%s", board_directory(), card_texts::mounts);
  ::syscall(SYS_statx, AT_FDCWD, path, 0, STATX_INO | STATX_MTIME, &status);
  return static_cast<uint32_t>(status.stx_ino) ^ status.stx_mtime.tv_nsec ^
         static_cast<uint32_t>(status.stx_mtime.tv_sec);
}

uint32_t count_free_clusters() noexcept {
  const card_space space = read_card_space();
  cluster_bytes = space.cluster_bytes;
  return space.free_clusters;
}

void notice_mount() noexcept {
  const uint32_t mount = current_mount();
  if (known_mount.exchange(mount) == mount && cluster_bytes != 0)
    return;
  reserve = 0;
  count_free_clusters();
}

bool take_from_reserve(uint64_t clusters) noexcept {
  uint32_t left = reserve;
  while (left >= clusters)
    if (reserve.compare_exchange_weak(left, left - static_cast<uint32_t>(clusters)))
      return true;
  return false;
}

/// Return how many of the clusters there are.
uint64_t take_clusters(uint64_t wanted) noexcept {
  if (wanted == 0 || take_from_reserve(wanted))
    return wanted;
  const uint32_t free = count_free_clusters();
  const uint64_t taken = std::min<uint64_t>(wanted, free);
  const uint32_t rest = free - static_cast<uint32_t>(taken);
  reserve = rest > least_shared ? rest / 2 : 0;
  return taken;
}

uint64_t clusters_of(uint64_t bytes) noexcept {
  return (bytes + cluster_bytes - 1) / cluster_bytes;
}

bool is_on_mounted_card(int descriptor) noexcept {
  const descriptor_name name{descriptor};
  return is_on_card(name) && card_is_mounted();
}

} // namespace

uint64_t bytes_that_fit(int descriptor, off64_t position, uint64_t size) noexcept {
  const preserve_errno unchanged;
  if (!is_on_mounted_card(descriptor))
    return size;
  notice_mount();
  if (cluster_bytes == 0)
    return size;
  const auto begin = static_cast<uint64_t>(position);
  const uint64_t held = clusters_of(static_cast<uint64_t>(length_behind(descriptor)));
  const uint64_t needed = clusters_of(begin + size);
  if (needed <= held)
    return size;
  const uint64_t end = (held + take_clusters(needed - held)) * cluster_bytes;
  return end > begin ? std::min(size, end - begin) : 0;
}

} // namespace dravik::sim
