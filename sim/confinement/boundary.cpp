// The boundary around an application, put together from what the kernel has.

#include "confinement/boundary.hpp"
#include "confinement/capabilities.hpp"
#include "confinement/file_access.hpp"

#include <sys/prctl.h>
#include <unistd.h>

namespace dravik::sim {

bool boundary::confines_signals() const {
  return landlock_level >= landlock_with_signals;
}

bool boundary::is_in_force() const {
  return confines_files() || calls_are_filtered || (::geteuid() == 0 && capabilities_are_dropped);
}

/// The filter comes last: it refuses nothing that the others need, but they need not know that.
boundary enter_boundary(const boundary_rules &rules) {
  boundary granted;
  granted.no_new_privileges = ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0;
  granted.landlock_level = confine_file_access(rules.writable);
  // Landlock keeps tracing inside; without it, a traced process of the host would do what this one cannot.
  granted.capabilities_are_dropped =
      drop_capabilities(granted.confines_files() ? tracing::confined : tracing::unconfined);
  granted.remaining_capabilities = permitted_capabilities();
  granted.calls_are_filtered = filter_system_calls(rules.reaction, rules.sockets);
  return granted;
}

} // namespace dravik::sim
