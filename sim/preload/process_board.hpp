// What a process with the simulator in charge keeps of its start: its board, the directories that stay the
// host's, the files of the simulator, and the environment by which its children get all that.
#pragma once

#include "board/chosen_board.hpp"

#include <string_view>

namespace dravik::sim {

constexpr size_t longest_list = 4096; ///< of directories or libraries, with its NUL

/// Whether a tidy, absolute path lies in a directory below /tmp that stays the host's.
bool is_left_to_host(std::string_view path) noexcept;

/// What runs the board's commands for other programs, and what looks after the card; empty when it is not
/// there.
const char *command_runner() noexcept;
const char *launcher() noexcept;

/// Whether the loader can be told of this library: it takes no path with a blank or a colon.
bool can_be_preloaded() noexcept;

/// Where the board really is, free of links; false when that is not the directory that was chosen.
bool find_board(char (&path)[longest_path]) noexcept;

/// Room for the variables of a child that are put together for it.
struct child_variables {
  char preload[longest_list];
};

/// How many variables a child of the board may have beyond those that it is given, the null at the end
/// included.
constexpr size_t most_added_variables = 7;

/// Fills `into` with the variables of an environment, those of the simulator in the place of what the caller
/// has in their names. Allocates nothing and takes no lock: the child of a vfork() may call it.
void add_board_variables(char *const *given, char **into, child_variables &texts) noexcept;

/// The same without anything of the simulator.
void drop_board_variables(char *const *given, char **into) noexcept;

size_t count_variables(char *const *given) noexcept;

/// Ends the application, the first process on the board, as a restart ends it, unless this is the
/// application itself.
void end_application() noexcept;

} // namespace dravik::sim
