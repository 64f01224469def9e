// "set": input values of a board, also while an application runs.

#include "host/inputs.hpp"
#include "launcher/commands.hpp"

#include <algorithm>
#include <array>
#include <span>

namespace dravik::sim {
namespace {

constexpr std::string_view before_keys =
    R"(Usage: dravik-sim set BOARD KEY=VALUE ...

Set input values of a simulated board.

A change takes effect at the application's next read. If any value is
invalid, nothing is changed. If the memory card cannot be moved, the other
values are changed nevertheless.

Keys:
)";

constexpr std::string_view after_keys = R"(
Examples:
  dravik-sim set desk temperature=41.5
  dravik-sim set desk gpio.68=1 accel=0,2500,1000

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

struct help_text {
  constexpr void append(std::string_view part) {
    std::ranges::copy(part, text.begin() + length);
    length += static_cast<std::ptrdiff_t>(part.size());
  }

  std::array<char, 2048> text = {};
  std::ptrdiff_t length = 0;
};

constexpr help_text joined_help = [] {
  help_text help;
  help.append(before_keys);
  for (const input &known : inputs)
    help.append(known.help);
  help.append(after_keys);
  return help;
}();

constexpr std::string_view set_help{joined_help.text.data(), static_cast<size_t>(joined_help.length)};

outcome set(const std::string &board, const command_line &given, std::string &error) {
  switch (set_inputs(board, std::span{given.operands()}.subspan(1), error)) {
  case inputs_result::done:
    return outcome::done;
  case inputs_result::failed:
    return outcome::failed;
  case inputs_result::invalid:
    return outcome::misused;
  }
  return outcome::failed;
}

} // namespace

extern constinit const command set_command = {.name = "set",
                                              .summary = "set input values",
                                              .help = set_help,
                                              .operands = "BOARD KEY=VALUE",
                                              .optional_operands = tools::any_number,
                                              .run = on_board<set>};

} // namespace dravik::sim
