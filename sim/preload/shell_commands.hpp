// The shell commands of a board.
#pragma once

namespace dravik::sim {

/// The exit status of an application that restarts the board.
constexpr int restart_status = 75;

/// Runs a command on the board, or refuses it. Gives false when the
/// board's settings leave it to the host's shell.
bool run_on_board(const char *command, int &status) noexcept;

/// Ends the application as a restart of the board ends it.
[[noreturn]] void restart_board(const char *asked_by) noexcept;

} // namespace dravik::sim
