// The far end of the serial port, while applications run.
#pragma once

#include <string>

namespace dravik::sim {

/// Makes the port of a board, the one that DRAVIK_BOARD names, a terminal until this process ends, whatever
/// program it becomes. A small process of its own keeps the far end; it is nobody's child. Where there can be
/// no terminal, the port stays the plain file that it is.
void keep_serial_port(const std::string &board);

} // namespace dravik::sim
