// Arguments of `dravik-sim run`.
#pragma once

#include <string>
#include <vector>

namespace dravik::sim {

struct run_request {
  std::string board;
  std::vector<std::string> writable; ///< as on the command line
  bool explains = false;
  bool trusts = false;
  bool has_local_sockets = false;
  std::vector<std::string> application; ///< with its arguments; empty if there is none
};

} // namespace dravik::sim
