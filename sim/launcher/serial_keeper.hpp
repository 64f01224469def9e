// The other end of the serial port while applications run.
#pragma once

#include <string>

namespace dravik::sim {

/// Give the text of a port that is still a plain file its name, "console". Who follows the text from then on
/// does not take what was sent earlier for new.
void name_serial_text(const std::string &board);

/// Make the port of the board in DRAVIK_BOARD a terminal until this process ends, whatever program it
/// becomes. A daemon process holds the other end. If no terminal is available, the port stays a plain file.
void keep_serial_port(const std::string &board);

} // namespace dravik::sim
