// "new": creation of a board.

#include "board/settings_text.hpp"
#include "host/board_directory.hpp"
#include "host/card.hpp"
#include "host/host_fonts.hpp"
#include "host/host_tool.hpp"
#include "launcher/commands.hpp"

#include <algorithm>
#include <cstdio>
#include <optional>

namespace dravik::sim {
namespace {

constexpr std::string_view new_help =
    R"(Usage: dravik-sim new BOARD [OPTION ...]

Create a simulated board in the directory BOARD.

BOARD must not exist or be empty.

Options:
  --size WxH           visible screen in pixels (default: 640x480)
  --virtual WxH        whole frame buffer memory in pixels, for panning and for
                       padded lines (default: as --size)
  --depth BITS         bits per pixel, 16, 24 or 32 (default: 16)
  --line-length BYTES  bytes per line (default: as the pixels require)
  --card MIB           size of the memory card in MiB, 64 to 131072, or 0 for
                       none (default: 1024)

Fonts of the host are copied to BOARD/usr/local/dravik/font: the console fonts
of the Debian package console-setup-linux, arial.ttf of fonts-liberation and
DroidSansFallback.ttf of fonts-droid-fallback. A warning names missing ones.

Examples:
  dravik-sim new desk
  dravik-sim new two-buffers --size 320x240 --virtual 320x480
  dravik-sim new padded --size 800x480 --virtual 1024x480

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr option_rule new_options[] = {
    {"--size", true}, {"--virtual", true}, {"--depth", true}, {"--line-length", true}, {"--card", true}};

bool read_size(std::string_view text, uint32_t &width, uint32_t &height) {
  const size_t cross = text.find('x');
  return cross != std::string_view::npos && read_number(text.substr(0, cross), width) &&
         read_number(text.substr(cross + 1), height);
}

/// The options, before sizes that follow from others are filled in.
struct wishes {
  std::string directory;
  uint32_t width = 640;
  uint32_t height = 480;
  std::optional<uint32_t> virtual_width;
  std::optional<uint32_t> virtual_height;
  uint32_t bits = 16;
  std::optional<uint32_t> line_length;
  uint32_t card_mebibytes = 1024;
};

bool take_option(std::string_view name, std::string_view value, wishes &into) {
  if (name == "--size")
    return read_size(value, into.width, into.height);
  if (name == "--virtual")
    return read_size(value, into.virtual_width.emplace(), into.virtual_height.emplace());
  if (name == "--depth")
    return read_number(value, into.bits);
  if (name == "--line-length")
    return read_number(value, into.line_length.emplace());
  if (name == "--card")
    return read_number(value, into.card_mebibytes);
  return false;
}

bool read_wishes(const command_line &given, wishes &into, std::string &error) {
  into.directory = given.operands()[0];
  for (const option_rule &option : new_options)
    if (given.has(option.name) && !take_option(option.name, given.value(option.name), into))
      error = "invalid " + std::string{option.name} + " '" + given.value(option.name) + "'";
  return error.empty();
}

screen screen_of(const wishes &wished) {
  screen shown = screen::of_size(wished.virtual_width.value_or(wished.width),
                                 wished.virtual_height.value_or(wished.height), wished.bits);
  shown.xres = wished.width;
  shown.yres = wished.height;
  shown.line_length = wished.line_length.value_or(shown.line_length);
  return shown;
}

/// A memory card is optional: without its tools, the board has none.
bool add_card(const std::string &board, uint32_t mebibytes, std::string &missing, std::string &error) {
  if (mebibytes == 0)
    return true;
  missing = lacking_card_tools();
  return !missing.empty() || make_card(board, mebibytes, error);
}

void warn_of_missing(const char *effect, const std::string &files) {
  if (!files.empty())
    tools::warn(std::string{effect} + ": missing " + files);
}

/// Return a geometry whose mapping contains all lines: the padding as pixels, then more lines.
std::string holding_all_lines(const screen &shown) {
  const uint32_t width = std::min(shown.line_length * 8 / shown.bits_per_pixel, screen::longest_side);
  const uint64_t bits_per_line = uint64_t{width} * shown.bits_per_pixel;
  const uint64_t least = (uint64_t{shown.line_length} * shown.yres * 8 + bits_per_line - 1) / bits_per_line;
  return std::to_string(width) + "x" + std::to_string(std::max<uint64_t>(least, shown.yres_virtual));
}

void warn_of_short_mapping(const screen &shown) {
  if (!shown.maps_all_lines())
    tools::warn("applications that draw on the last lines crash: the mapping of " +
                std::to_string(shown.mapped_bytes()) +
                " bytes does not contain them, as on a real device; use "
                "--virtual " +
                holding_all_lines(shown));
}

bool is_possible_card(uint32_t mebibytes) {
  return mebibytes == 0 || (mebibytes >= smallest_card_mebibytes && mebibytes <= largest_card_mebibytes);
}

outcome create(const command_line &given, std::string &error) {
  wishes wished;
  if (!read_wishes(given, wished, error))
    return outcome::misused;
  const screen shown = screen_of(wished);
  if (const char *nonsense = shown.nonsense())
    return failed(error, std::string{"new: "} + nonsense);
  if (!is_possible_card(wished.card_mebibytes))
    return failed(error, "new: invalid card size; must be 64 to 131072 MiB, or 0 for none");
  missing_fonts fonts;
  std::string card_tools;
  if (!create_board(wished.directory, shown, error) || !add_fonts("/", wished.directory, fonts, error) ||
      !add_card(wished.directory, wished.card_mebibytes, card_tools, error))
    return outcome::failed;
  warn_of_missing("no console fonts", fonts.console);
  warn_of_missing("no anti-aliased text", fonts.smooth);
  warn_of_missing("no memory card", card_tools);
  warn_of_short_mapping(shown);
  return outcome::done;
}

} // namespace

extern constinit const command new_command = {.name = "new",
                                              .summary = "create a board",
                                              .help = new_help,
                                              .options = new_options,
                                              .operands = "BOARD",
                                              .run = create};

} // namespace dravik::sim
