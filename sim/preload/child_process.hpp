// Programs of the host that implement commands of the board.
#pragma once

#include "preload/shell_words.hpp"

namespace dravik::sim {

/// Run a program to its end, with the output that the command requests. Return its status as waitpid()
/// does, or that of a shell that does not find it. `words` and `variables` end with a null.
int run_child(const char *program, const char *const *words, const char *const *variables,
              const shell_words &command) noexcept;

/// Run `dravik-sim card BOARD ACTION OTHERS...`.
int run_card_action(const char *action, const shell_words &command,
                    std::span<const char *const> others = {}) noexcept;

/// Return the status of a program that has exited, as waitpid() does.
constexpr int ended_with(int exit_status) noexcept {
  return exit_status << 8;
}

} // namespace dravik::sim
