// "panel": a board as a page in the browser.

#include "launcher/commands.hpp"
#include "launcher/run_arguments.hpp"
#include "panel/request_rules.hpp"
#include "panel/serve_panel.hpp"

#include <filesystem>

namespace dravik::sim {
namespace {

constexpr std::string_view panel_help =
    R"(Usage: dravik-sim panel BOARD [OPTION ...] [-- APP [ARGUMENT ...]]

Serve a simulated board as a page for the browser, and run an application.

The page shows the screen as it changes, plays the sound, follows the console,
the log and the events, and has the keys, the sensors and the faults of the
board. APP is run as 'dravik-sim run' does, and again after each reboot. Ctrl-C
stops APP, then the server.

The first line of output is the address of the page. It contains a secret, which
is stored in BOARD/panel.access; whoever has the address can change the board.

Options:
  --listen IP[:PORT]  listen on an IP address of this machine (default:
                      127.0.0.1, and the port of the previous run or a free one)
  --open              open the page in the browser
  --writable DIR, --local-sockets, --trust
                      as for 'dravik-sim run'

Examples:
  dravik-sim panel desk
  dravik-sim panel desk --open -- ./first
  dravik-sim panel desk --listen 127.0.0.1:8080 -- ./first

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr auto panel_options = with_run_options({{"--listen", true}, {"--open", false}});

outcome serve(const std::string &board, const command_line &given, std::string &error) {
  panel_request request;
  request.board = board;
  const std::string listen = given.value("--listen", request.ip);
  if (!parse_address(listen, request.ip, request.port))
    return misused(error, "invalid --listen '" + listen + "'; must be an IP address, or IP:PORT");
  request.opens_browser = given.has("--open");
  request.run_arguments = run_arguments(given, 1);
  if (given.operands().size() > 1)
    request.application = std::filesystem::path{given.operands()[1]}.filename();
  return serve_panel(request, error) ? outcome::done : outcome::failed;
}

} // namespace

extern constinit const command panel_command = {.name = "panel",
                                                .summary = "serve a board as a page for the browser",
                                                .help = panel_help,
                                                .options = panel_options,
                                                .operands = "BOARD",
                                                .optional_operands = tools::any_number,
                                                .run = on_board<serve>,
                                                .own_operands = 1};

} // namespace dravik::sim
