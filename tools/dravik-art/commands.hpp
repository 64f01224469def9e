// What the tool does, a function a command.
#pragma once

#include "dravik-art/command_line.hpp"

#include <cstdint>

namespace dravik::art {

/// How a command ended; the exit status of the tool.
enum class outcome {
  done = 0,
  failed = 1,  ///< `error` says why, unless findings on standard output do
  misused = 2, ///< the command line is wrong
};

struct command {
  std::string_view name;
  std::string_view help;
  std::span<const option_rule> options; ///< besides --help
  size_t fewest_operands;
  size_t most_operands;
  outcome (*run)(const command_line &given, std::string &error);
};

/// All commands in the order of the help text.
std::span<const command> commands() noexcept;

outcome pack(const command_line &given, std::string &error);
outcome list(const command_line &given, std::string &error);
outcome check_archive(const command_line &given, std::string &error);
outcome unpack(const command_line &given, std::string &error);
outcome preview(const command_line &given, std::string &error);

} // namespace dravik::art
