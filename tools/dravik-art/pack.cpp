// "pack": PNG images to an archive, and their names to a C header.

#include "common/files.hpp"
#include "common/magics.hpp"
#include "dravik-art/c_header.hpp"
#include "dravik-art/commands.hpp"
#include "dravik-art/levels.hpp"

#include <filesystem>

namespace dravik::art {
namespace {

constexpr std::string_view pack_help =
    R"(Usage: dravik-art pack OUT IMAGE.png ... [OPTION ...]
       dravik-art pack OUT --list FILE [OPTION ...]

Pack PNG images into an archive.

The first image has index 0, the next index 1, and so on. Each pixel becomes a
level from 0 (background) to 15 (foreground). An existing OUT is replaced if it
is an archive, an existing FILE.h if this tool wrote it.

Options:
  --levels RULE    derive the levels by RULE:
                     auto      alpha if any pixel is transparent, else grey
                               (default)
                     alpha     opacity
                     grey      brightness: white art on black
                     inverted  darkness: black art on white
  --list FILE      read the names of the images from FILE, one per line,
                   relative to its directory; skip empty lines and lines that
                   start with '#'
  --header FILE.h  also write a C header with an enum of the images' names

Examples:
  dravik-art pack icons.q7 home.png back.png record.png
  dravik-art pack icons.q7 --list icons.txt --header icons.h
  dravik-art pack scans.q7 --levels inverted scan1.png scan2.png

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr option_rule pack_options[] = {{"--levels", true}, {"--list", true}, {"--header", true}};

std::span<const uint8_t> bytes_of(const std::string &text) noexcept {
  return {reinterpret_cast<const uint8_t *>(text.data()), text.size()};
}

/// The names in a list, one per line and relative to its directory, without empty lines and comments.
bool read_list(const std::string &path, std::vector<std::string> &names, std::string &error) {
  std::vector<uint8_t> text;
  if (!tools::read_file(path, text, error))
    return false;
  const std::filesystem::path folder = std::filesystem::path(path).parent_path();
  std::string line;
  const auto take_line = [&] {
    if (line.ends_with('\r'))
      line.pop_back();
    if (!line.empty() && !line.starts_with('#'))
      names.push_back((folder / line).string());
    line.clear();
  };
  for (const uint8_t c : text) {
    if (c == '\n')
      take_line();
    else
      line.push_back(static_cast<char>(c));
  }
  take_line();
  return true;
}

/// The images to pack, from the operands or from the list.
outcome find_names(const command_line &given, std::vector<std::string> &names, std::string &error) {
  names.assign(given.operands().begin() + 1, given.operands().end());
  const bool has_list = given.has("--list");
  if (names.empty() != has_list)
    return misused(error, has_list ? "images given both as arguments and by --list; must be one of them"
                                   : "missing IMAGE.png; must be at least one, or --list FILE");
  const std::string list = given.value("--list");
  if (has_list && !read_list(list, names, error))
    return outcome::failed;
  if (names.empty())
    return failed(error, list + ": contains no name of an image");
  return outcome::done;
}

/// Reject images that no archive can contain before memory is allocated for them.
bool fit_together(std::span<const std::string> names, std::string &error) {
  uint64_t pixel_bytes = 0;
  for (const std::string &name : names) {
    png::size size;
    if (!png::read_size(name, size, error))
      return false;
    pixel_bytes += image_record{size.width, size.height, 0, 0}.bytes();
  }
  return fits_archive(archive_size(names.size(), pixel_bytes), error);
}

bool read_images(std::span<const std::string> names, level_rule rule, std::vector<packed_image> &images,
                 std::string &error) {
  for (const std::string &name : names) {
    png::picture picture;
    if (!png::read(name, picture, error))
      return false;
    images.push_back(to_levels(picture, rule));
  }
  return true;
}

/// The header to write; empty if it has no path.
bool header_text(const std::string &path, std::span<const std::string> names,
                 std::span<const packed_image> images, std::string &text, std::string &error) {
  if (path.empty())
    return true;
  std::vector<named_image> named;
  for (size_t i = 0; i < names.size(); ++i)
    named.push_back({names[i], images[i].width, images[i].height});
  return make_c_header(path, named, text, error);
}

/// Write both files, then rename both.
bool write_both(const std::string &archive_path, std::span<const uint8_t> archive,
                const std::string &header_path, const std::string &header, std::string &error) {
  tools::pending_file archive_file{archive_path};
  tools::pending_file header_file{header_path};
  if (!archive_file.write(archive, error))
    return false;
  if (header_path.empty())
    return archive_file.commit(error);
  return header_file.write(bytes_of(header), error) && archive_file.commit(error) &&
         header_file.commit(error);
}

/// The canonical name of a file; empty if the system cannot determine it.
std::filesystem::path full_name(const std::string &name) {
  std::error_code failed;
  const std::filesystem::path absolute = std::filesystem::absolute(name, failed);
  return failed ? absolute : std::filesystem::weakly_canonical(absolute, failed);
}

bool is_same_file(const std::string &one, const std::string &other) {
  const std::filesystem::path full = full_name(one);
  return one == other || (!full.empty() && full == full_name(other));
}

outcome pack(const command_line &given, std::string &error) {
  const std::string &out = given.operands()[0];
  const std::string header_path = given.value("--header");
  const auto rule = level_rule_named(given.value("--levels", "auto"));
  if (!rule)
    error = "invalid --levels '" + given.value("--levels") + "'; must be auto, alpha, grey or inverted";
  else if (given.has("--header") && header_path.empty())
    error = "invalid --header ''; must be a file name";
  else if (given.has("--header") && is_same_file(out, header_path))
    error = "invalid --header '" + header_path + "'; must not be the archive";
  if (!error.empty())
    return outcome::misused;
  std::vector<std::string> names;
  if (const outcome found = find_names(given, names, error); found != outcome::done)
    return found;

  std::vector<packed_image> images;
  std::vector<uint8_t> archive;
  std::string header;
  const bool is_packed = tools::may_replace(out, tools::archive_magic, error) &&
                         tools::may_replace(header_path, tools::art_header_magic, error) &&
                         fit_together(names, error) && read_images(names, *rule, images, error) &&
                         build(images, archive, error) &&
                         header_text(header_path, names, images, header, error) &&
                         write_both(out, archive, header_path, header, error);
  return is_packed ? outcome::done : outcome::failed;
}

} // namespace

extern constinit const command pack_command = {.name = "pack",
                                               .summary = "pack PNG images into an archive",
                                               .help = pack_help,
                                               .options = pack_options,
                                               .operands = "OUT",
                                               .optional_operands = tools::any_number,
                                               .run = pack};

} // namespace dravik::art
