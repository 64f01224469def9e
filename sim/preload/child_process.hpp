// Programs of the host that do the work of the board's commands.
#pragma once

#include "preload/shell_words.hpp"

namespace dravik::sim {

/// Runs a program, to its end and with the output that the command wants: its status as waitpid() gives it,
/// or that of a shell that cannot find it. `words` and `variables` end with a null.
int run_child(const char *program, const char *const *words, const char *const *variables,
              const shell_words &command) noexcept;

/// Lets the launcher do something with the board's card: `dravik-sim card BOARD action others...`.
int run_card_action(const char *action, const shell_words &command,
                    std::span<const char *const> others = {}) noexcept;

/// The status of a program that ended by itself, as waitpid() gives it.
constexpr int ended_with(int exit_status) noexcept {
  return exit_status << 8;
}

} // namespace dravik::sim
