// dravik-sim: create simulated boards, run applications on them, show their screens, set their inputs.

#include "launcher/commands.hpp"

namespace {

constexpr std::string_view about =
    R"(Create simulated boards and run applications on them.

A simulated board is a directory that contains the files of a board. An
application that runs on it finds /dev/fb0, /tmp/dravik.log, /usr/local/dravik
and the other paths of the board there, and a sound card. It requires neither
hardware nor special permissions.
)";

constexpr std::string_view details =
    R"(Examples:
  dravik-sim new desk
  dravik-sim run desk -- ./first
  dravik-sim shot desk first.png

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

} // namespace

int main(int argc, char **argv) {
  using namespace dravik;
  return tools::run_tool({"dravik-sim", about, details, {}, sim::commands()}, argc, argv);
}
