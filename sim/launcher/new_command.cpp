// dravik-sim new: makes a board.

#include "board/board_directory.hpp"
#include "board/card.hpp"
#include "board/host_tool.hpp"
#include "board/settings_text.hpp"
#include "launcher/commands.hpp"

#include <cstdio>
#include <filesystem>
#include <optional>
#include <zlib.h>

namespace dravik::sim {
namespace {

namespace files = std::filesystem;

constexpr const char *console_fonts = "/usr/share/consolefonts";

/// A font of the host under the name that the library looks for.
struct smooth_font {
  const char *name;
  const char *source;
  const char *package;
};

/// Of the two files of fonts-droid-fallback this is the one with all Korean syllables.
constexpr smooth_font smooth_fonts[] = {
    {"arial.ttf", "/usr/share/fonts/truetype/liberation/LiberationSans-Regular.ttf", "fonts-liberation"},
    {"DroidSansFallback.ttf", "/usr/share/fonts-droid-fallback/truetype/DroidSansFallback.ttf",
     "fonts-droid-fallback"},
};

bool read_size(std::string_view text, uint32_t &width, uint32_t &height) {
  const size_t cross = text.find('x');
  return cross != std::string_view::npos && read_number(text.substr(0, cross), width) &&
         read_number(text.substr(cross + 1), height);
}

/// What the options say, before the sizes that follow from others are filled in.
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

/// Empty when the arguments are right, otherwise what is wrong with them.
std::string take_arguments(arguments given, wishes &into) {
  for (size_t i = 0; i < given.size(); ++i) {
    const std::string word = given[i];
    if (!word.starts_with('-')) {
      if (!into.directory.empty())
        return word + ": one board at a time";
      into.directory = word;
      continue;
    }
    if (i + 1 == given.size())
      return word + ": is no option of 'new', or lacks its value";
    const std::string value = given[++i];
    if (!take_option(word, value, into))
      return word + " " + value + ": not understood; 'dravik-sim new --help' tells";
  }
  return into.directory.empty() ? "which board? 'dravik-sim new --help' tells" : "";
}

screen screen_of(const wishes &wished) {
  screen shown = screen::of_size(wished.virtual_width.value_or(wished.width),
                                 wished.virtual_height.value_or(wished.height), wished.bits);
  shown.xres = wished.width;
  shown.yres = wished.height;
  shown.line_length = wished.line_length.value_or(shown.line_length);
  return shown;
}

/// The contents of a gzip file; empty when it is none.
std::string unpacked(const std::string &path) {
  std::string text;
  gzFile file = ::gzopen(path.c_str(), "rb");
  char block[16384];
  int count = 0;
  while (file != nullptr && (count = ::gzread(file, block, sizeof block)) > 0)
    text.append(block, static_cast<size_t>(count));
  ::gzclose(file);
  return count < 0 ? "" : text;
}

std::string font_directory(const std::string &board) {
  return board + "/usr/local/dravik/font/";
}

/// Fonts are an extra: a host without them makes a board without them.
bool add_console_fonts(const std::string &board, std::string &error) {
  std::error_code code;
  for (files::directory_iterator entry{console_fonts, code}; !code && entry != files::directory_iterator{};
       entry.increment(code)) {
    const files::path name = entry->path().filename();
    if (!name.string().ends_with(".psf.gz"))
      continue;
    const std::string target = font_directory(board) + name.stem().string();
    if (!write_file(target, unpacked(entry->path().string()), error))
      return false;
  }
  return true;
}

/// Adds what this host does not have to the text.
bool add_smooth_fonts(const std::string &board, std::string &lacking, std::string &error) {
  for (const smooth_font &font : smooth_fonts) {
    std::string contents;
    if (!read_file(font.source, contents, error))
      lacking += std::string{lacking.empty() ? "" : ", "} + font.name + " (package " + font.package + ")";
    else if (!write_file(font_directory(board) + font.name, contents, error))
      return false;
  }
  return true;
}

/// A card is an extra as well.
bool add_card(const std::string &board, uint32_t mebibytes, std::string &lacking, std::string &error) {
  if (mebibytes == 0)
    return true;
  lacking = lacking_card_tools();
  return !lacking.empty() || make_card(board, mebibytes, error);
}

bool is_possible_card(uint32_t mebibytes) {
  return mebibytes == 0 || (mebibytes >= smallest_card_mebibytes && mebibytes <= largest_card_mebibytes);
}

} // namespace

int new_command(arguments given) {
  wishes wished;
  std::string error = take_arguments(given, wished);
  if (!error.empty())
    return fail(error, wrong_usage);
  const screen shown = screen_of(wished);
  if (const char *nonsense = shown.nonsense())
    return fail(nonsense);
  if (!is_possible_card(wished.card_mebibytes))
    return fail("a card has 64 to 131072 MiB, or 0 when there is to be none");
  std::string lacking;
  std::string lacking_for_card;
  if (!create_board(wished.directory, shown, error) || !add_console_fonts(wished.directory, error) ||
      !add_smooth_fonts(wished.directory, lacking, error) ||
      !add_card(wished.directory, wished.card_mebibytes, lacking_for_card, error))
    return fail(error);
  if (!lacking.empty())
    std::printf("no smooth text yet, this machine lacks %s\n", lacking.c_str());
  if (!lacking_for_card.empty())
    std::printf("no memory card yet, this machine lacks %s\n", lacking_for_card.c_str());
  return 0;
}

} // namespace dravik::sim
