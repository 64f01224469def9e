// Symbolic links inside a board, which is untrusted: none leads out of it.
#pragma once

#include "board/chosen_board.hpp"

#include <cstdint>

namespace dravik::sim {

enum class last_link : uint8_t { followed, kept };

/// Resolve the links of a path in the directory of a board, which is `board_length` long. As on the board,
/// the root of absolute links is the board's, and `..` does not leave it. Only the serial port may be a
/// link to a terminal. Return false if the links lead nowhere.
bool follow_board_links(char (&path)[longest_path], size_t board_length, last_link last) noexcept;

/// Whether a file of a board is a device node, which is not opened.
bool is_host_device(const char *path) noexcept;

} // namespace dravik::sim
