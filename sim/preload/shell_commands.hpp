// The shell commands of a board.
#pragma once

#include <span>
#include <string_view>

namespace dravik::sim {

/// The exit status of an application that restarts the board.
constexpr int restart_status = 75;

/// Runs a command on the board, or refuses it. Gives false when the
/// board's settings leave it to the host's shell.
bool run_on_board(const char *command, int &status) noexcept;

/// Whether this process runs a command for another one: a restart then ends the application too.
inline constinit bool serves_another_process = false;

/// Whether a program of this name is the board's, or is not run at all: its directory does not matter.
bool is_board_program(std::string_view name) noexcept;

/// Whether a command of the shell is one of the board's and nothing else.
bool is_board_command(const char *command) noexcept;

/// Runs such a program with its arguments, the first of which names it, or refuses it. Gives its status as
/// waitpid() does.
int run_board_program(std::span<const char *const> words) noexcept;

/// Runs a command in the host's shell, which is on the board with all that it starts.
int run_host_shell(const char *command) noexcept;

/// Whether a command restarts the board and does nothing else.
bool is_restart(std::span<const char *const> words) noexcept;
bool is_restart(const char *command) noexcept;

/// Ends the application as a restart of the board ends it.
[[noreturn]] void restart_board(const char *asked_by) noexcept;

} // namespace dravik::sim
