// What the tool does, a function a command.
#pragma once

#include "common/tool.hpp"

namespace dravik::art {

using tools::command;
using tools::command_line;
using tools::option_rule;
using tools::outcome;

/// All commands in the order of the help text.
std::span<const command> commands() noexcept;

outcome pack(const command_line &given, std::string &error);
outcome list(const command_line &given, std::string &error);
outcome check_archive(const command_line &given, std::string &error);
outcome unpack(const command_line &given, std::string &error);
outcome preview(const command_line &given, std::string &error);

} // namespace dravik::art
