// Protection of the host against test programs: the kernel first, then a check for the simulator.
#pragma once

#include <string>

namespace dravik::test {

/// Enter the boundary that applications on a simulated board have, for this program and all that it starts;
/// but a call that acts on the whole machine ends the process by SIGSYS, and files can be written
/// everywhere except below /dev, /proc and /sys: tests have their own temporary directories. Terminates the
/// program with a message and exit status 1 if the kernel cannot stop such calls.
void guard_host();

/// Terminate the program with a message and exit status 1 unless the simulator answers for the paths of a
/// board and for each call that can do harm. ALSA's card `default` becomes that of the board.
void require_simulator();

/// Why a call of this name would not come to the simulator, or to the program's own recorder; empty if
/// it would.
[[nodiscard]] std::string why_not_simulated(const char *call);

} // namespace dravik::test
