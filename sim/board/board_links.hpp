// Links inside a board, which may come from a stranger: none leads out of it.
#pragma once

#include "board/chosen_board.hpp"

#include <cstdint>

namespace dravik::sim {

enum class last_link : uint8_t { followed, kept };

/// Replaces a path in the board's directory, which is `board_length` long, by the one that its links lead to.
/// As on the board itself, the root of absolute links is the board's, and no `..` climbs over it. The serial
/// port alone may be a link to a terminal. False when the links lead nowhere.
bool follow_board_links(char (&path)[longest_path], size_t board_length, last_link last) noexcept;

/// Whether a file of a board is a device of the host, which a board has no use for.
bool is_host_device(const char *path) noexcept;

} // namespace dravik::sim
