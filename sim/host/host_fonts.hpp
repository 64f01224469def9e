// Fonts of the host, copied to a board under the names that applications expect.
#pragma once

#include <string>

namespace dravik::sim {

/// Expected files that the host does not have, with their Debian packages; empty if it has all of them.
struct missing_fonts {
  std::string console;
  std::string smooth;
};

/// Copy the fonts of the host whose root directory is `host_root`. Missing fonts are no failure. On failure
/// returns false and sets `error`.
[[nodiscard]] bool add_fonts(const std::string &host_root, const std::string &board, missing_fonts &missing,
                             std::string &error);

} // namespace dravik::sim
