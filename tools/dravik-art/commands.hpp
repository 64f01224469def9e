// The commands of the artwork tool.
#pragma once

#include "common/tool.hpp"

namespace dravik::art {

using tools::command;
using tools::command_line;
using tools::failed;
using tools::misused;
using tools::option_rule;
using tools::outcome;

/// All commands, in the order of the overview.
std::span<const command *const> commands() noexcept;

} // namespace dravik::art
