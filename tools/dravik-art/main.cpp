// dravik-art: makes, checks and shows archives of interface artwork.

#include "dravik-art/commands.hpp"
#include "dravik-art/help.hpp"

int main(int argc, char **argv) {
  using namespace dravik;
  return tools::run_tool({"dravik-art", DRAVIK_ART_VERSION, art::tool_help, {}, art::commands()}, argc, argv);
}
