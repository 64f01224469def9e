// The boundary around an application: what it cannot do to the machine, whatever it calls.
#pragma once

#include "confinement/system_call_filter.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace dravik::sim {

struct boundary_rules {
  std::vector<std::string> writable; ///< directories, absolute and without links
  forbidden_call reaction = forbidden_call::fails;
  local_sockets sockets = local_sockets::refused;
};

/// What the kernel granted.
struct boundary {
  bool no_new_privileges = false;
  bool capabilities_are_dropped = false;
  bool calls_are_filtered = false;
  int landlock_level = 0;              ///< 0 if it is not in force
  uint64_t remaining_capabilities = 0; ///< one bit each

  bool confines_files() const { return landlock_level != 0; }
  bool confines_signals() const;
  /// Whether any of it keeps this user from anything.
  bool is_in_force() const;
};

/// Enter the boundary, permanently, for this thread and all that it starts.
[[nodiscard]] boundary enter_boundary(const boundary_rules &rules);

} // namespace dravik::sim
