// The launcher's commands. Each takes its own arguments and gives the exit status of the program.
#pragma once

#include <span>
#include <string>

namespace dravik::sim {

using arguments = std::span<char *const>;

constexpr int failed = 1;
constexpr int wrong_usage = 2;

int card_command(arguments given);
int events_command(arguments given);
int new_command(arguments given);
int run_command(arguments given);
int set_command(arguments given);
int shot_command(arguments given);

/// One line on standard error; gives the exit status.
int fail(const std::string &message, int status = failed);

} // namespace dravik::sim
