// The calls that query the status of a file, with offsets and times of the machine's plain layouts.

#include "preload/file_status.hpp"
#include "preload/next.hpp"

using dravik::sim::as_of_kernel;
using dravik::sim::descriptor_name;
using dravik::sim::last_link;
using dravik::sim::last_link_of;
using dravik::sim::names_descriptor;
using dravik::sim::seen_path;

SIM_STATUS_OF_PATH(stat, struct stat, last_link::followed)
SIM_STATUS_OF_PATH(stat64, struct stat64, last_link::followed)
SIM_STATUS_OF_PATH(lstat, struct stat, last_link::kept)
SIM_STATUS_OF_PATH(lstat64, struct stat64, last_link::kept)
SIM_STATUS_OF_DESCRIPTOR(fstat, struct stat)
SIM_STATUS_OF_DESCRIPTOR(fstat64, struct stat64)
SIM_STATUS_BELOW(fstatat, struct stat)
SIM_STATUS_BELOW(fstatat64, struct stat64)

SIM_DEFINE(int, statx, (int from, const char *path, int flags, unsigned wanted, struct statx *status)) {
  const seen_path mapped{path, from, last_link_of(flags)};
  const int result = SIM_NEXT(statx)(from, mapped, flags, wanted, status);
  return names_descriptor(path, flags) ? as_of_kernel(descriptor_name{from}, result, status)
                                       : as_of_kernel(mapped.name(), result, status);
}
