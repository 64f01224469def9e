// The port and the token of a board's page, kept so that a page finds a server that was started again.
#pragma once

#include <cstdint>
#include <string>

namespace dravik::sim {

struct panel_access {
  uint16_t port = 0; ///< 0 if any is as good
  std::string token; ///< 32 hexadecimal digits
};

/// What BOARD/panel.access holds, or a fresh token. Only a file that this user alone can read and that was
/// written for this very directory is used: a board from somebody else brings no token.
[[nodiscard]] bool load_access(const std::string &board, panel_access &access, std::string &error);

[[nodiscard]] bool save_access(const std::string &board, const panel_access &access, std::string &error);

} // namespace dravik::sim
