// The boundary of `dravik-sim run`: what an application may write, and a report of what is in force.
#pragma once

#include "confinement/boundary.hpp"
#include "launcher/run_request.hpp"

#include <string>
#include <vector>

namespace dravik::sim {

/// The directories that an application may write, absolute and without links.
struct run_directories {
  std::string board;
  std::vector<std::string> of_host; ///< the working directory and those that were named
  std::string working;              ///< the working directory
  std::string why_not_working;      ///< why it is not among them; empty if it is

  /// As the preload library reads them from DRAVIK_WRITABLE: separated by colons.
  std::string list_of_host() const;
};

/// On failure return false and set `error`.
[[nodiscard]] bool find_directories(const run_request &request, run_directories &directories,
                                    std::string &error);

[[nodiscard]] boundary_rules rules_for(const run_request &request, const run_directories &directories);

/// Print, item by item, what is in force.
void explain_boundary(const boundary &granted, const run_request &request,
                      const run_directories &directories);

/// Return why an application must not be started, empty if it may be. Prints
/// a warning if a part is missing.
[[nodiscard]] std::string why_not_trusted(const boundary &granted, const run_request &request);

} // namespace dravik::sim
