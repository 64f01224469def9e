// The serial port for the calls that query terminals.
#pragma once

#include <termios.h>

namespace dravik::sim {

bool is_serial_port(int descriptor) noexcept;
/// Whether a descriptor is the terminal that is the board's port. The kernel serves its requests.
bool is_serial_terminal(int descriptor) noexcept;

/// Return 0 or a negative error number.
int read_line_settings(termios &settings) noexcept;
int change_line_settings(const termios &settings) noexcept;
int discard_input(int descriptor) noexcept;

} // namespace dravik::sim
