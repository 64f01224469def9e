// "film": the screen and the sound of a run as a film.

#include "common/numbers.hpp"
#include "film/film.hpp"
#include "launcher/commands.hpp"
#include "launcher/executable.hpp"
#include "launcher/run_arguments.hpp"

namespace dravik::sim {
namespace {

constexpr std::string_view film_help =
    R"(Usage: dravik-sim film BOARD FILE [OPTION ...] [-- APP [ARGUMENT ...]]

Record the screen and the sound of a simulated board as a film.

FILE ends in .mp4, .webm or .gif; a GIF has no sound. APP is run as
'dravik-sim run' does, again after each reboot. The film lasts until APP ends,
the scenario ends, or Ctrl-C; then APP is requested to end. Each frame has the
time at which the screen showed it, and each sound the time at which it was
played. Requires the Debian package ffmpeg.

Options:
  --seconds N      end the film after N seconds, 1 to 3600
  --scenario PLAY  play the scenario PLAY, as 'dravik-sim play' does
  --writable DIR, --local-sockets, --trust
                   as for 'dravik-sim run'

Examples:
  dravik-sim film desk first.mp4 --seconds 10 -- ./first
  dravik-sim film desk tour.webm --scenario tour.scenario -- ./first
  dravik-sim film desk running.gif --seconds 5

Exit status: 0 on success; 1 on failure, also of the scenario; 2 on a usage
error, or if PLAY is not a scenario
)";

constexpr auto film_options = with_run_options({{"--seconds", true}, {"--scenario", true}});

constexpr uint32_t longest_seconds = 3600;

outcome film_scenario(const film_request &request, const std::string &file, std::string &error) {
  const scenario::play_request played = {.board = request.board, .file = file, .output = {}, .junit = {}};
  std::vector<scenario::step> steps;
  bool is_invalid = false;
  if (!scenario::load(file, steps, is_invalid, error))
    return is_invalid ? outcome::misused : outcome::failed;
  return make_film(request, played, std::move(steps), error) ? outcome::done : outcome::failed;
}

outcome film(const std::string &board, const command_line &given, std::string &error) {
  film_request request = {board, given.operands()[1],    {}, find_program("ffmpeg"),
                          {},    run_arguments(given, 2)};
  if (!find_film_format(request.file, request.format))
    return misused(error, "invalid FILE '" + request.file + "'; must end in .mp4, .webm or .gif");
  if (given.has("--seconds") && given.has("--scenario"))
    return misused(error, "--seconds and --scenario exclude each other");
  const std::string seconds = given.value("--seconds", "1");
  const auto number = tools::number_of(seconds, 1, longest_seconds);
  if (!number)
    return misused(error, "invalid --seconds '" + seconds + "'; must be 1 to 3600");
  if (given.has("--seconds"))
    request.length = std::chrono::seconds{*number};
  if (request.ffmpeg.empty())
    return failed(error, "film: ffmpeg not found; install the package ffmpeg");
  if (given.has("--scenario"))
    return film_scenario(request, given.value("--scenario"), error);
  return make_film(request, error) ? outcome::done : outcome::failed;
}

} // namespace

extern constinit const command film_command = {.name = "film",
                                               .summary = "record screen and sound as a film",
                                               .help = film_help,
                                               .options = film_options,
                                               .operands = "BOARD FILE",
                                               .optional_operands = tools::any_number,
                                               .run = on_board<film>,
                                               .own_operands = 2};

} // namespace dravik::sim
