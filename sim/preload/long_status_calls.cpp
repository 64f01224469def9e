// The calls that query the status of a file, with 64-bit times on 32-bit machines.

#include "preload/file_status.hpp"
#include "preload/next.hpp"

using dravik::sim::last_link;

SIM_STATUS_OF_PATH(__stat64_time64, struct stat, last_link::followed)
SIM_STATUS_OF_PATH(__lstat64_time64, struct stat, last_link::kept)
SIM_STATUS_OF_DESCRIPTOR(__fstat64_time64, struct stat)
SIM_STATUS_BELOW(__fstatat64_time64, struct stat)
