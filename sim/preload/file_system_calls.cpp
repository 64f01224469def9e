// The calls that query a file system: on the memory card they report the card, not the disk of the host.

#include "preload/card_view.hpp"
#include "preload/next.hpp"
#include "preload/path_map.hpp"

#include <linux/magic.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>

namespace dravik::sim {
namespace {

constexpr int longest_fat_name = 1530; ///< in bytes, as in the kernel

void tell_kind(struct statfs &status) noexcept {
  status.f_type = MSDOS_SUPER_MAGIC;
  status.f_namelen = longest_fat_name;
}
void tell_kind(struct statfs64 &status) noexcept {
  status.f_type = MSDOS_SUPER_MAGIC;
  status.f_namelen = longest_fat_name;
}
void tell_kind(struct statvfs &status) noexcept {
  status.f_favail = 0;
  status.f_namemax = longest_fat_name;
}
void tell_kind(struct statvfs64 &status) noexcept {
  status.f_favail = 0;
  status.f_namemax = longest_fat_name;
}

/// Replace the figures of the host by those of the card if `name` is on a mounted card.
template <typename Status> int tell_of_card(const char *name, int result, Status *status) noexcept {
  const card_room room = result == 0 && is_on_card(name) ? read_card_room() : card_room{};
  if (room.clusters == 0)
    return result;
  status->f_bsize = status->f_frsize = room.cluster_bytes;
  status->f_blocks = room.clusters;
  status->f_bfree = status->f_bavail = room.free_clusters;
  status->f_files = status->f_ffree = 0;
  tell_kind(*status);
  return result;
}

} // namespace
} // namespace dravik::sim

using dravik::sim::descriptor_name;
using dravik::sim::seen_path;
using dravik::sim::tell_of_card;

#define SIM_OF_PATH(call, record)                                                                            \
  SIM_DEFINE(int, call, (const char *path, struct record *status)) {                                         \
    const seen_path mapped{path};                                                                            \
    return tell_of_card(mapped.name(), SIM_NEXT(call)(mapped, status), status);                              \
  }

#define SIM_OF_DESCRIPTOR(call, record)                                                                      \
  SIM_DEFINE(int, call, (int descriptor, struct record *status)) {                                           \
    return tell_of_card(descriptor_name{descriptor}, SIM_NEXT(call)(descriptor, status), status);            \
  }

SIM_OF_PATH(statfs, statfs)
SIM_OF_PATH(statfs64, statfs64)
SIM_OF_PATH(statvfs, statvfs)
SIM_OF_PATH(statvfs64, statvfs64)
SIM_OF_DESCRIPTOR(fstatfs, statfs)
SIM_OF_DESCRIPTOR(fstatfs64, statfs64)
SIM_OF_DESCRIPTOR(fstatvfs, statvfs)
SIM_OF_DESCRIPTOR(fstatvfs64, statvfs64)
