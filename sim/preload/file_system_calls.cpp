// The calls that query a file system: on the memory card they report the card, not the disk of the host.

#include "preload/card_view.hpp"
#include "preload/next.hpp"
#include "preload/path_map.hpp"

#include <cerrno>
#include <linux/magic.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>

namespace dravik::sim {
namespace {

constexpr int longest_fat_name = 1530; ///< in bytes, as in the kernel

/// Flags of the mount. The kernel adds one that tells that they are valid, which the C library removes.
unsigned long mount_flags() noexcept {
  return ST_RELATIME | (card_is_read_only() ? static_cast<unsigned long>(ST_RDONLY) : 0);
}
constexpr unsigned long flags_are_valid = 0x20;

void set_fat_fields(struct statfs &status) noexcept {
  status.f_type = MSDOS_SUPER_MAGIC;
  status.f_namelen = longest_fat_name;
  status.f_flags = static_cast<decltype(status.f_flags)>(mount_flags() | flags_are_valid);
}
void set_fat_fields(struct statfs64 &status) noexcept {
  status.f_type = MSDOS_SUPER_MAGIC;
  status.f_namelen = longest_fat_name;
  status.f_flags = static_cast<decltype(status.f_flags)>(mount_flags() | flags_are_valid);
}
void set_fat_fields(struct statvfs &status) noexcept {
  status.f_favail = 0;
  status.f_namemax = longest_fat_name;
  status.f_flag = mount_flags();
}
void set_fat_fields(struct statvfs64 &status) noexcept {
  status.f_favail = 0;
  status.f_namemax = longest_fat_name;
  status.f_flag = mount_flags();
}

/// Without the card, nothing is known of its space; sets errno.
bool has_file_system(const char *name) noexcept {
  const bool is_gone = is_on_card(name) && card_is_pulled();
  if (is_gone)
    errno = EIO;
  return !is_gone;
}

/// Replace the figures of the host by those of the card if `name` is on a mounted card.
template <typename Status> int report_card_space(const char *name, int result, Status *status) noexcept {
  const card_space space = result == 0 && is_on_card(name) ? read_card_space() : card_space{};
  if (space.clusters == 0)
    return result;
  status->f_bsize = status->f_frsize = space.cluster_bytes;
  status->f_blocks = space.clusters;
  status->f_bfree = status->f_bavail = space.free_clusters;
  status->f_files = status->f_ffree = 0;
  set_fat_fields(*status);
  return result;
}

} // namespace
} // namespace dravik::sim

using dravik::sim::descriptor_name;
using dravik::sim::has_file_system;
using dravik::sim::report_card_space;
using dravik::sim::seen_path;

#define SIM_OF_PATH(call, record)                                                                            \
  SIM_DEFINE(int, call, (const char *path, struct record *status)) {                                         \
    const seen_path mapped{path};                                                                            \
    return has_file_system(mapped.name())                                                                    \
               ? report_card_space(mapped.name(), SIM_NEXT(call)(mapped, status), status)                    \
               : -1;                                                                                         \
  }

#define SIM_OF_DESCRIPTOR(call, record)                                                                      \
  SIM_DEFINE(int, call, (int descriptor, struct record *status)) {                                           \
    const descriptor_name name{descriptor};                                                                  \
    return has_file_system(name) ? report_card_space(name, SIM_NEXT(call)(descriptor, status), status) : -1; \
  }

SIM_OF_PATH(statfs, statfs)
SIM_OF_PATH(statfs64, statfs64)
SIM_OF_PATH(statvfs, statvfs)
SIM_OF_PATH(statvfs64, statvfs64)
SIM_OF_DESCRIPTOR(fstatfs, statfs)
SIM_OF_DESCRIPTOR(fstatfs64, statfs64)
SIM_OF_DESCRIPTOR(fstatvfs, statvfs)
SIM_OF_DESCRIPTOR(fstatvfs64, statvfs64)
