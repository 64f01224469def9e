// A live board, from its start to its orderly end.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace dravik::sim {

struct panel_request {
  std::string board;
  std::string ip = "127.0.0.1";
  uint16_t port = 0; ///< 0: that of the last time, or any
  bool opens_browser = false;
  std::vector<std::string> run_arguments; ///< of `dravik-sim run`; none for no application
  std::string application;                ///< its name, for the page
};

/// Serve until SIGINT or SIGTERM. Return false and set `error` on failure.
[[nodiscard]] bool serve_panel(const panel_request &request, std::string &error);

} // namespace dravik::sim
