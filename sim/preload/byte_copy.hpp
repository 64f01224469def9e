// dd on a board, without a program of the host: from one file of the board to another.
#pragma once

#include "preload/shell_words.hpp"

namespace dravik::sim {

/// Copies as dd's operands say. Gives its exit status. What it says goes to standard error, unless the
/// command drops that.
int copy_bytes(const shell_words &command, std::span<const char *const> operands) noexcept;

} // namespace dravik::sim
