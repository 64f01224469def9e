// The arguments by which another command of the launcher starts an application as `dravik-sim run` does.
#pragma once

#include "common/command_line.hpp"

#include <array>
#include <string>
#include <vector>

namespace dravik::sim {

/// Of `dravik-sim run`, which such a command also accepts.
inline constexpr std::array<tools::option_rule, 3> run_options_of_others = {
    {{"--writable", true, true}, {"--local-sockets", false}, {"--trust", false}}};

/// Options of a command, followed by those of `dravik-sim run`.
template <size_t Count>
constexpr std::array<tools::option_rule, Count + 3> with_run_options(const tools::option_rule (&own)[Count]) {
  std::array<tools::option_rule, Count + 3> all{};
  for (size_t i = 0; i < all.size(); ++i)
    all[i] = i < Count ? own[i] : run_options_of_others[i - Count];
  return all;
}

/// Those of an application that begins at an operand; the board is the first operand. None if there is none.
std::vector<std::string> run_arguments(const tools::command_line &given, size_t first_of_application);

} // namespace dravik::sim
