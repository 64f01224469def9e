// A tool of several commands: its table, its arguments, its help, its messages, its exit status.
#pragma once

#include "common/command_line.hpp"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace dravik::tools {

/// How a command ended: the exit status of the tool. Commands that represent a program may return any other
/// status as `outcome{status}`.
enum class outcome : int {
  done = 0,
  failed = 1,  ///< the reason is in `error`, or in findings on standard output
  misused = 2, ///< the arguments are invalid
};

/// A command, declared next to its help and its function.
struct command {
  std::string_view name;
  std::string_view summary;                  ///< in the tool's list of commands: imperative, lower case
  std::string_view help;                     ///< from "Usage:" to the exit status, 80 columns
  std::span<const option_rule> options = {}; ///< in addition to --help and the tool's own
  std::string_view operands = {};            ///< names of the required ones, separated by spaces
  size_t optional_operands = 0;
  outcome (*run)(const command_line &given, std::string &error) = nullptr;
  size_t own_operands = SIZE_MAX; ///< the next operand and all after it belong to another program
};

inline constexpr size_t any_number = SIZE_MAX; ///< of optional operands

struct tool {
  std::string_view name;
  std::string_view about;               ///< what the tool does, in complete lines
  std::string_view details;             ///< after the list of commands: options, examples, exit status
  std::span<const option_rule> options; ///< of every command, in addition to --help
  std::span<const command *const> commands;
};

/// Version of the library and its tools.
std::string_view version() noexcept;

/// Run the command that the arguments name, print one line on standard error if it fails, and return the
/// exit status.
int run_tool(const tool &which, int count, const char *const *arguments);

/// Print a warning of the running tool on standard error.
void warn(const std::string &message);

/// Set `error` and return the outcome.
inline outcome failed(std::string &error, std::string why) {
  error = std::move(why);
  return outcome::failed;
}
inline outcome misused(std::string &error, std::string why) {
  error = std::move(why);
  return outcome::misused;
}

/// `text` as part of one line: control characters become question marks.
std::string in_one_line(std::string text);

} // namespace dravik::tools
