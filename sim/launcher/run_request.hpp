// The command line of `dravik-sim run`.
#pragma once

#include "launcher/commands.hpp"

#include <vector>

namespace dravik::sim {

struct run_request {
  std::string board;
  std::vector<std::string> writable; ///< as on the command line
  bool explains = false;
  bool trusts = false;
  bool has_local_sockets = false;
  arguments application; ///< with its arguments; empty if there is none
};

/// On failure return false and set `error`, a usage error.
[[nodiscard]] bool read_request(arguments given, run_request &request, std::string &error);

} // namespace dravik::sim
