// A simulated board, for files at fixed paths of the device.
#pragma once

#include <cstdio>
#include <string>

namespace bench {

/// The host's path of a file of the board.
std::string host_path(const std::string &board_path);

/// Open a file of the board, or ends the program.
std::FILE *open_on_board(const std::string &path, const char *mode);

/// Make a board with an empty memory card, and ends the program unless its paths lead there: nothing may
/// touch the host's.
void use_board();

} // namespace bench
