// The errors that a line of `faults` can name.
#pragma once

#include <array>
#include <cerrno>
#include <string_view>

namespace dravik::sim {

struct fault_error {
  std::string_view name;
  int number;
};

constexpr std::array<fault_error, 16> fault_errors = {{
    {"EACCES", EACCES},
    {"EBUSY", EBUSY},
    {"EFAULT", EFAULT},
    {"EINTR", EINTR},
    {"EINVAL", EINVAL},
    {"EIO", EIO},
    {"EMFILE", EMFILE},
    {"ENODEV", ENODEV},
    {"ENOENT", ENOENT},
    {"ENOMEM", ENOMEM},
    {"ENOSPC", ENOSPC},
    {"ENOTTY", ENOTTY},
    {"ENXIO", ENXIO},
    {"EPERM", EPERM},
    {"EREMOTEIO", EREMOTEIO},
    {"EROFS", EROFS},
}};

} // namespace dravik::sim
