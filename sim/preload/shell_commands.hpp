// The shell commands of a board.
#pragma once

#include <span>
#include <string_view>

namespace dravik::sim {

/// Run a command on the board, or reject it. Return false if board.conf leaves it to the host's shell.
bool run_on_board(const char *command, int &status) noexcept;

/// Whether this process runs a command for another one: a reboot then terminates the application too.
inline constinit bool serves_another_process = false;

/// Whether a program of this name, in any directory, is the board's or is rejected.
bool is_board_program(std::string_view name) noexcept;

/// Whether the program of the host is preferred to the board's, if it exists.
bool is_board_program_of_host(std::string_view path) noexcept;

/// Whether a shell command is one of the board's and nothing else.
bool is_board_command(const char *command) noexcept;

/// Run such a program, or reject it; the first argument is its name. Return its status as waitpid() does.
int run_board_program(std::span<const char *const> words) noexcept;

/// Run a command in the host's shell, on the board.
int run_host_shell(const char *command) noexcept;

/// Whether a command reboots the board and does nothing else.
bool is_reboot(std::span<const char *const> words) noexcept;
bool is_reboot(const char *command) noexcept;

/// Terminate the application as a reboot of the board does.
[[noreturn]] void reboot_board(const char *requested_by) noexcept;

} // namespace dravik::sim
