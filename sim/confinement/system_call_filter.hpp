// A filter of system calls, for this process and its children.
#pragma once

namespace dravik::sim {

/// What a call does that acts on the whole machine: fail with EPERM, or end the process by SIGSYS.
enum class forbidden_call { fails, kills };

enum class local_sockets : bool { refused, allowed };

/// Install the filter, permanently. Requires no_new_privs. Return whether the kernel enforces it.
bool filter_system_calls(forbidden_call reaction, local_sockets sockets);

} // namespace dravik::sim
