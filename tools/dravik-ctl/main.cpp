// dravik-ctl: query and control a board, over its serial line for example.

#include "dravik-ctl/commands.hpp"

#include <csignal>

namespace {

constexpr std::string_view about =
    R"(Query and control a board through libdravik.
)";

constexpr std::string_view details =
    R"(Options of every command:
  --json     print one JSON object on one line; keys have underscores instead of
             spaces, and a missing value is null instead of -
  --verbose  copy the library's output to standard error

Examples:
  dravik-ctl info
  dravik-ctl gpio get 68 --json
  dravik-ctl text 20 20 'hello board'

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr dravik::tools::option_rule common_options[] = {{"--json", false}, {"--verbose", false}};

} // namespace

int main(int argc, char **argv) {
  using namespace dravik;
  std::signal(SIGPIPE, SIG_IGN); // a reader that has gone is lost output, and reported as such
  return tools::run_tool({"dravik-ctl", about, details, common_options, ctl::commands()}, argc, argv);
}
