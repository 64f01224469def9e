// dd on a board, without a program of the host.
#pragma once

#include "preload/shell_words.hpp"

namespace dravik::sim {

/// Copy as the operands of dd specify. Return its exit status. Messages go to standard error,
/// unless the command drops them.
int copy_bytes(const shell_words &command, std::span<const char *const> operands) noexcept;

} // namespace dravik::sim
