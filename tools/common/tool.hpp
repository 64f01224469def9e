// A tool of several commands: its table, its words, its messages, its status.
#pragma once

#include "common/command_line.hpp"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace dravik::tools {

/// How a command ended; the exit status of the tool.
enum class outcome {
  done = 0,
  failed = 1,  ///< `error` says why, unless findings on standard output do
  misused = 2, ///< the command line is wrong
};

struct command {
  std::string_view name;
  std::string_view help;
  std::span<const option_rule> options; ///< besides --help and those of the tool
  size_t fewest_operands;
  size_t most_operands;
  outcome (*run)(const command_line &given, std::string &error);
};

struct tool {
  std::string_view name;
  std::string_view version;
  std::string_view help;
  std::span<const option_rule> options; ///< that every command takes, besides --help
  std::span<const command> commands;
};

/// Runs the command that the words name, complains in one line of what went wrong, and gives the exit status.
int run_tool(const tool &which, int count, const char *const *words);

/// `text` as part of one line, whatever the names of files hold: control characters become question marks.
std::string in_one_line(std::string text);

} // namespace dravik::tools
