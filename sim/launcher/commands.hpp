// The launcher's commands.
#pragma once

#include "common/tool.hpp"

#include <span>
#include <string>

namespace dravik::sim {

using tools::command;
using tools::command_line;
using tools::failed;
using tools::misused;
using tools::option_rule;
using tools::outcome;

/// All commands, in the order of the overview.
std::span<const command *const> commands() noexcept;

/// A command whose first operand is an existing board.
using board_command = outcome(const std::string &board, const command_line &given, std::string &error);

outcome run_on_board(board_command *does, const command_line &given, std::string &error);
template <board_command *Does> outcome on_board(const command_line &given, std::string &error) {
  return run_on_board(Does, given, error);
}

} // namespace dravik::sim
