// Fonts of the host, copied to a board.

#include "host/host_fonts.hpp"
#include "host/board_directory.hpp"

#include <filesystem>
#include <zlib.h>

namespace dravik::sim {
namespace {

namespace files = std::filesystem;

constexpr const char *console_fonts = "usr/share/consolefonts";

/// The console fonts that the documentation and the examples use.
constexpr const char *expected_console_fonts[] = {"Uni2-Fixed16.psf", "Lat15-TerminusBold16.psf"};

struct smooth_font {
  const char *name; ///< on the board
  const char *source;
  const char *package;
};

/// Of the two files of fonts-droid-fallback, the one with all Korean syllables.
constexpr smooth_font smooth_fonts[] = {
    {"arial.ttf", "usr/share/fonts/truetype/liberation/LiberationSans-Regular.ttf", "fonts-liberation"},
    {"DroidSansFallback.ttf", "usr/share/fonts-droid-fallback/truetype/DroidSansFallback.ttf",
     "fonts-droid-fallback"},
};

std::string font_directory(const std::string &board) {
  return board + "/usr/local/dravik/font/";
}

void add_name(std::string &list, const char *name, const char *package) {
  list.append(list.empty() ? "" : ", ").append(name).append(" (package ").append(package).append(")");
}

/// The contents of a gzip file; empty if it is not one.
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

bool add_console_fonts(const files::path &root, const std::string &board, std::string &error) {
  std::error_code code;
  for (files::directory_iterator entry{root / console_fonts, code};
       !code && entry != files::directory_iterator{}; entry.increment(code)) {
    const files::path name = entry->path().filename();
    if (!name.string().ends_with(".psf.gz"))
      continue;
    const std::string target = font_directory(board) + name.stem().string();
    if (!write_file(target, unpacked(entry->path().string()), error))
      return false;
  }
  return true;
}

std::string missing_console_fonts(const std::string &board) {
  std::string missing;
  std::error_code code;
  for (const char *name : expected_console_fonts)
    if (!files::is_regular_file(font_directory(board) + name, code))
      add_name(missing, name, "console-setup-linux");
  return missing;
}

bool add_smooth_fonts(const files::path &root, const std::string &board, std::string &missing,
                      std::string &error) {
  for (const smooth_font &font : smooth_fonts) {
    std::string contents;
    std::string unreadable;
    if (!read_file((root / font.source).string(), contents, unreadable))
      add_name(missing, font.name, font.package);
    else if (!write_file(font_directory(board) + font.name, contents, error))
      return false;
  }
  return true;
}

} // namespace

bool add_fonts(const std::string &host_root, const std::string &board, missing_fonts &missing,
               std::string &error) {
  if (!add_console_fonts(host_root, board, error))
    return false;
  missing.console = missing_console_fonts(board);
  return add_smooth_fonts(host_root, board, missing.smooth, error);
}

} // namespace dravik::sim
