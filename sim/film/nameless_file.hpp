// A file without a name, which is gone when it is closed.
#pragma once

#include "base/unique_fd.hpp"

#include <string>

namespace dravik::sim {

/// Create one on the file system of a directory. On failure it is not open, and `error` is set.
[[nodiscard]] unique_fd make_nameless_file(const std::string &directory, std::string &error);

/// A path for this process and its children.
inline std::string path_of(const unique_fd &file) {
  return "/dev/fd/" + std::to_string(file.get());
}

} // namespace dravik::sim
