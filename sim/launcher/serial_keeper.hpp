// The other end of the serial port while applications run.
#pragma once

#include <string>

namespace dravik::sim {

/// Make the port of the board in DRAVIK_BOARD a terminal until this process ends, whatever program it
/// becomes. A daemon process holds the other end. If no terminal is available, the port stays a plain file.
void keep_serial_port(const std::string &board);

} // namespace dravik::sim
