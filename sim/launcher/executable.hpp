// Whether a program can be run on a board at all.
#pragma once

#include <string>

namespace dravik::sim {

/// Where a program lies: a name without a slash is looked for in PATH. Empty when there is none.
std::string find_program(const std::string &name);

/// Why the preload library would not reach into a program, in words that follow its name; empty when it will.
/// Follows a script to the program that runs it.
std::string why_not_on_a_board(const std::string &program);

} // namespace dravik::sim
