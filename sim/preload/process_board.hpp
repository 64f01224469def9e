// State of a simulated process from its start: its board, the directories that are the host's, the
// simulator's files, and the environment of its children.
#pragma once

#include "board/chosen_board.hpp"

#include <string_view>

namespace dravik::sim {

constexpr size_t longest_list = 4096; ///< of directories or libraries, with its NUL

/// Whether an absolute path, without `//`, `.` and `..`, is in a directory below /tmp that is the host's.
bool is_left_to_host(std::string_view path) noexcept;

/// Paths of the program that runs the board's commands for other programs, and of the
/// launcher; empty if they do not exist.
const char *command_runner() noexcept;
const char *launcher() noexcept;

/// Whether the loader accepts the path of this library, which must not contain a space or colon.
bool can_be_preloaded() noexcept;

/// Read the path of the board, free of links. Return false if it is not the directory that was chosen.
bool find_board(char (&path)[longest_path]) noexcept;

/// Buffer for variables of a child.
struct child_variables {
  char preload[longest_list];
};

/// Maximum number of variables that a child gets in addition, including the null at the end.
constexpr size_t most_added_variables = 7;

/// Copy the variables of an environment to `into`, replacing those of the simulator. Allocates nothing and
/// takes no lock: the child of a vfork() may call it.
void add_board_variables(char *const *given, char **into, child_variables &texts) noexcept;

/// The same without the variables of the simulator.
void drop_board_variables(char *const *given, char **into) noexcept;

size_t count_variables(char *const *given) noexcept;

/// Terminate the application, the first process on the board, for a reboot, unless it is this process.
void end_application() noexcept;

} // namespace dravik::sim
