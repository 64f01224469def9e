// "play": a scenario, a drive of a board that is written down.

#include "launcher/commands.hpp"
#include "launcher/run_arguments.hpp"
#include "launcher/serial_keeper.hpp"
#include "scenario/player.hpp"

namespace dravik::sim {
namespace {

constexpr std::string_view play_help =
    R"(Usage: dravik-sim play BOARD FILE [OPTION ...] [-- APP [ARGUMENT ...]]

Play a scenario on a simulated board, and check what the board does.

FILE is a text with one step per line: inputs, keys, card and faults; waits for
texts, the screen and sound; expectations. docs/scenarios.md describes them.
APP is run as 'dravik-sim run' does, again after each reboot, and requested to
end after the last step. Without APP, the scenario drives a board on which
applications run already.

The first step that fails ends the scenario, with one line that contains FILE,
the line of the step, what was expected and what came. If a picture differs,
what the screen shows and the difference are saved as PNG files.

Options:
  --update      replace the expected pictures that differ, create those that
                are missing, and print their names
  --junit FILE  report each step as a test case, in JUnit's XML
  --output DIR  save shots and differences in DIR (default: the directory of
                the scenario)
  --writable DIR, --local-sockets, --trust
                as for 'dravik-sim run'

Examples:
  dravik-sim play desk drive.scenario -- ./first
  dravik-sim play desk drive.scenario --update -- ./first
  dravik-sim play desk drive.scenario --junit drive.xml --output out -- ./first

Exit status: 0 if every expectation held; 1 on failure; 2 on a usage error, or
if FILE is not a scenario
)";

constexpr auto play_options = with_run_options({{"--update", false}, {"--junit", true}, {"--output", true}});

outcome play(const std::string &board, const command_line &given, std::string &error) {
  const scenario::play_request request = {board, given.operands()[1], given.value("--output"),
                                          given.value("--junit"), given.has("--update")};
  std::vector<scenario::step> steps;
  bool is_invalid = false;
  if (!scenario::load(request.file, steps, is_invalid, error))
    return is_invalid ? outcome::misused : outcome::failed;
  name_serial_text(board);
  run_session session{board, run_arguments(given, 2)};
  return scenario::player{request, std::move(steps), session}.play(error) ? outcome::done : outcome::failed;
}

} // namespace

extern constinit const command play_command = {.name = "play",
                                               .summary = "play a scenario, and check it",
                                               .help = play_help,
                                               .options = play_options,
                                               .operands = "BOARD FILE",
                                               .optional_operands = tools::any_number,
                                               .run = on_board<play>,
                                               .own_operands = 2};

} // namespace dravik::sim
