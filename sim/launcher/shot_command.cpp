// "shot": the screen of a board as a PNG file.

#include "common/files.hpp"
#include "common/magics.hpp"
#include "host/screen_image.hpp"
#include "launcher/commands.hpp"
#include "scenario/screen_picture.hpp"

#include <cstdio>

namespace dravik::sim {
namespace {

constexpr std::string_view shot_help =
    R"(Usage: dravik-sim shot BOARD FILE.png

Save the screen of a simulated board as a PNG file.

FILE.png may be -, for standard output; an existing FILE.png is replaced if it
is a PNG file. The image shows the visible part of frame buffer memory; it is
black while the panel is blanked. Applications may draw meanwhile.

Examples:
  dravik-sim shot desk screen.png
  dravik-sim shot desk - | pngtopnm >screen.ppm

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

/// A hyphen is standard output.
outcome write_picture(const std::string &path, const png::picture &picture, std::string &error) {
  const bool is_written =
      path == "-" ? png::write(stdout, "standard output", picture, error)
                  : tools::may_replace(path, tools::png_magic, error) && png::write(path, picture, error);
  return is_written ? outcome::done : outcome::failed;
}

outcome shot(const std::string &board, const command_line &given, std::string &error) {
  screen_image image;
  if (!read_screen_image(board, image, error))
    return outcome::failed;
  return write_picture(given.operands()[1], scenario::picture_of(image), error);
}

} // namespace

extern constinit const command shot_command = {.name = "shot",
                                               .summary = "save the screen as a PNG file",
                                               .help = shot_help,
                                               .operands = "BOARD FILE.png",
                                               .run = on_board<shot>};

} // namespace dravik::sim
