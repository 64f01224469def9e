// Whether a program can run on a board.
#pragma once

#include <string>

namespace dravik::sim {

/// The path of a program: a name without a slash is searched for in PATH. Empty if it is not found.
std::string find_program(const std::string &name);

/// The reason why the preload library would not be loaded into a program; empty if it will.
/// Follows a script to the program that runs it.
std::string why_not_on_a_board(const std::string &program);

} // namespace dravik::sim
