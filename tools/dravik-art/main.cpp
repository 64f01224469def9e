// dravik-art: pack, check and show archives of interface artwork.

#include "dravik-art/commands.hpp"

namespace {

constexpr std::string_view about =
    R"(Pack, check and show interface artwork for libdravik.

Artwork is stored in archives of images with 16 levels. The library draws level
0 in a background colour, level 15 in a foreground colour, and other levels in
the colours of a ramp between them. A file is written completely or not at all.
)";

constexpr std::string_view details =
    R"(Examples:
  dravik-art pack icons.q7 home.png back.png --header icons.h
  dravik-art check icons.q7
  dravik-art preview icons.q7 all sheet.png --bg white --fg blue

Exit status: 0 on success; 1 on failure or findings; 2 on a usage error
)";

} // namespace

int main(int argc, char **argv) {
  using namespace dravik;
  return tools::run_tool({"dravik-art", about, details, {}, art::commands()}, argc, argv);
}
