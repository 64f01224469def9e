// "press": keys of a board, one after the other.

#include "board/settings_text.hpp"
#include "host/keys.hpp"
#include "launcher/commands.hpp"

#include <chrono>
#include <thread>
#include <vector>

namespace dravik::sim {
namespace {

constexpr std::string_view press_help =
    R"(Usage: dravik-sim press BOARD [--hold MS] KEY ...

Press keys of a simulated board, one after the other.

The GPIO line of each key is high for the hold time, then low for as long.

Keys:
  next  line 61
  ok    line 62
  LINE  any other GPIO line, 0 to 255

Options:
  --hold MS  hold each key for MS milliseconds, 1 to 60000 (default: 150)

Examples:
  dravik-sim press desk next next ok
  dravik-sim press desk --hold 2000 60

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr option_rule press_options[] = {{"--hold", true}};
constexpr uint32_t longest_hold_ms = 60000;

outcome set_line(const std::string &board, uint32_t line, bool is_high, std::string &error) {
  return set_gpio_line(board, line, is_high, error) ? outcome::done : outcome::failed;
}

outcome press_line(const std::string &board, uint32_t line, std::chrono::milliseconds hold,
                   std::string &error) {
  if (set_line(board, line, true, error) != outcome::done)
    return outcome::failed;
  std::this_thread::sleep_for(hold);
  return set_line(board, line, false, error);
}

outcome press_lines(const std::string &board, const std::vector<uint32_t> &lines,
                    std::chrono::milliseconds hold, std::string &error) {
  for (size_t i = 0; i < lines.size(); ++i) {
    if (i > 0)
      std::this_thread::sleep_for(hold);
    if (press_line(board, lines[i], hold, error) != outcome::done)
      return outcome::failed;
  }
  return outcome::done;
}

outcome press(const std::string &board, const command_line &given, std::string &error) {
  uint32_t hold_ms = 0;
  const std::string hold = given.value("--hold", "150");
  if (!read_number(hold, hold_ms) || hold_ms == 0 || hold_ms > longest_hold_ms)
    return misused(error, "invalid --hold '" + hold + "'; must be 1 to 60000");
  std::vector<uint32_t> lines;
  for (const std::string &name : std::span{given.operands()}.subspan(1))
    if (!find_key_line(name, lines.emplace_back()))
      return misused(error, "invalid key '" + name + "'; must be next, ok or 0 to 255");
  return press_lines(board, lines, std::chrono::milliseconds{hold_ms}, error);
}

} // namespace

extern constinit const command press_command = {.name = "press",
                                                .summary = "press keys",
                                                .help = press_help,
                                                .options = press_options,
                                                .operands = "BOARD KEY",
                                                .optional_operands = tools::any_number,
                                                .run = on_board<press>};

} // namespace dravik::sim
