// The commands of the board tool.
#pragma once

#include "common/tool.hpp"
#include "dravik-ctl/value.hpp"

namespace dravik::ctl {

using tools::command;
using tools::command_line;
using tools::failed;
using tools::misused;
using tools::option_rule;
using tools::outcome;

/// All commands, in the order of the overview.
std::span<const command *const> commands() noexcept;

/// Run a command: fill in the report, or set `error`.
using reporter = outcome(const command_line &given, value::fields &report, std::string &error);

/// Print a report on standard output in the requested form.
void print_report(const command_line &given, const value::fields &report);

/// Make a command of a reporter: its report is printed when it has returned.
outcome run_and_print(reporter *does, const command_line &given, std::string &error);
template <reporter *Does> outcome reporting(const command_line &given, std::string &error) {
  return run_and_print(Does, given, error);
}

} // namespace dravik::ctl
