// The serial port, as the calls for terminals ask it.
#pragma once

#include <termios.h>

namespace dravik::sim {

bool is_serial_port(int descriptor) noexcept;
/// Whether it is of the terminal that the board has for its port, which does itself what it is asked.
bool is_serial_terminal(int descriptor) noexcept;

/// Each gives 0, or a negative error number.
int read_line_settings(termios &settings) noexcept;
int change_line_settings(const termios &settings) noexcept;
int discard_input(int descriptor) noexcept;

} // namespace dravik::sim
