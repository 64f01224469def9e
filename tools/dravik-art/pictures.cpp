// "unpack" and "preview": the images of an archive as PNG files.

#include "common/files.hpp"
#include "common/magics.hpp"
#include "common/numbers.hpp"
#include "dravik-art/commands.hpp"
#include "dravik-art/levels.hpp"
#include "dravik-art/preview.hpp"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <sys/stat.h>

namespace dravik::art {
namespace {

constexpr std::string_view unpack_help =
    R"(Usage: dravik-art unpack ARCHIVE DIRECTORY [OPTION ...]

Write a PNG file of each image of an archive.

The files are DIRECTORY/000.png, DIRECTORY/001.png and so on. DIRECTORY must
not exist or be empty. The images are grey, from black (level 0) to white
(level 15); packing them again makes the same archive images.

Options:
  --ramp BG,FG     draw through a colour ramp (see 'preview')
  --theme COLOUR   theme colour for --ramp (default: 0x0B77)

Examples:
  dravik-art unpack icons.q7 icons
  dravik-art unpack icons.q7 icons-red --ramp white,red

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr std::string_view preview_help =
    R"(Usage: dravik-art preview ARCHIVE INDEX|all OUT.png [OPTION ...]

Draw one image of an archive, or all on a sheet, as the library draws them.

An existing OUT.png is replaced if it is a PNG file.

Options:
  --bg COLOUR      background colour, theme, or none, which leaves level 0
                   transparent (default: black)
  --fg COLOUR      foreground colour (default: white)
  --theme COLOUR   theme colour (default: 0x0B77)
  --ramps          draw the image in all colour pairs that have a ramp of their
                   own, nine per row:
                     on black    white red green blue grey yellow magenta cyan
                                 orange
                     on white    black red green blue grey yellow magenta cyan
                                 orange
                     on theme    white black
                     on magenta  black
                     on none     black grey white
  --scale N        enlarge N times, 1 to 64 (default: 1)

COLOUR is white, black (0x0821), red, green, blue, grey, yellow, magenta, cyan,
orange, RGB565 as 0x07E0, or RGB as '#00FF00' (truncated to RGB565). A pair
without a ramp of its own is drawn in the one that the library uses instead.

Examples:
  dravik-art preview icons.q7 3 home.png --bg white --fg blue --scale 4
  dravik-art preview icons.q7 all sheet.png --bg theme --theme 0x39C7
  dravik-art preview icons.q7 0 ramps.png --ramps

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr option_rule unpack_options[] = {{"--ramp", true}, {"--theme", true}};
constexpr option_rule preview_options[] = {
    {"--bg", true}, {"--fg", true}, {"--theme", true}, {"--scale", true}, {"--ramps", false}};

constexpr uint32_t largest_scale = 64;

uint16_t theme_of(const command_line &given, std::string &error) {
  return given.has("--theme") ? tools::colour_or_error(colour_named, given.value("--theme"), error)
                              : DRAVIK_DEFAULT_THEME;
}

/// Open an archive of which every image in [first, end) has its pixels.
bool open_images(const std::string &path, uint32_t first, uint32_t end, archive &opened, std::string &error) {
  if (!open_archive(path, opened, error))
    return false;
  end = std::min(end, opened.count());
  for (uint32_t i = first; i < end; ++i)
    if (!opened.has_pixels(i, error)) {
      error.insert(0, path + ": ");
      return false;
    }
  return true;
}

bool is_drawable_size(uint64_t width, uint64_t height, uint32_t scale, std::string &error) {
  if (png::is_bearable(width, height) && png::is_bearable(width * scale, height * scale))
    return true;
  error = "output too large: " + std::to_string(width) + " x " + std::to_string(height) + " pixels times " +
          std::to_string(scale) + "; must be at most " + std::to_string(png::most_pixels) + " pixels";
  return false;
}

// ----------------------------------------------------------------------------------------------- unpack

/// Reject sizes that no image has, and a small archive that claims the same bytes for image after image.
bool is_unpackable(const archive &from, std::string &error) {
  uint64_t pixel_bytes = 0;
  for (uint32_t i = 0; i < from.count(); ++i) {
    const image_record record = from.record(i);
    if (!is_drawable_size(record.width, record.height, 1, error))
      return false;
    pixel_bytes += record.bytes();
  }
  if (pixel_bytes <= from.bytes().size())
    return true;
  error = "images share pixels; try 'dravik-art check'";
  return false;
}

using picture_maker = std::function<png::picture(uint32_t)>;

/// "000.png" and so on, with digits enough to sort by name.
std::string numbered_name(uint32_t index, uint32_t count) {
  const size_t digits = std::max<size_t>(3, std::to_string(count - 1).size());
  const std::string number = std::to_string(index);
  return std::string(digits - number.size(), '0') + number + ".png";
}

/// Fill a new directory next to its final name, and rename it when it is complete.
bool write_folder(const std::string &folder, const archive &from, const picture_maker &make,
                  std::string &error) {
  const std::string unfinished = tools::make_unfinished_directory(folder, error);
  if (unfinished.empty())
    return false;
  bool is_done = true;
  for (uint32_t i = 0; i < from.count() && is_done; ++i)
    is_done = png::write(unfinished + "/" + numbered_name(i, from.count()), make(i), error);
  if (!is_done)
    error.replace(0, unfinished.size(), folder);
  if (is_done && std::rename(unfinished.c_str(), folder.c_str()) != 0) {
    error = tools::system_error(folder);
    is_done = false;
  }
  std::error_code ignored;
  if (!is_done)
    std::filesystem::remove_all(unfinished, ignored);
  return is_done;
}

/// The two colours of "BACKGROUND,FOREGROUND".
ramp_choice ramp_of(const std::string &text, std::string &error) {
  const size_t comma = text.find(',');
  if (comma == std::string::npos) {
    error = "invalid --ramp '" + text + "'; must be BG,FG";
    return {};
  }
  return {tools::colour_or_error(background_named, text.substr(0, comma), error),
          tools::colour_or_error(colour_named, text.substr(comma + 1), error)};
}

std::string without_end_slashes(std::string path) {
  while (path.size() > 1 && path.ends_with('/'))
    path.pop_back();
  return path;
}

// ---------------------------------------------------------------------------------------------- preview

/// The images of a preview, in one colour pair or in all of them.
struct preview_order {
  uint32_t first = 0;
  uint32_t end = UINT32_MAX; ///< of the images shown; those past the last are none
  ramp_choice ramp = {};
  bool in_all_ramps = false;
  uint16_t theme = 0;
  uint32_t scale = 1;
};

preview_order read_order(const command_line &given, std::string &error) {
  preview_order order;
  order.theme = theme_of(given, error);
  order.ramp = {tools::colour_or_error(background_named, given.value("--bg", "black"), error),
                tools::colour_or_error(colour_named, given.value("--fg", "white"), error)};
  order.in_all_ramps = given.has("--ramps");
  const auto scale = tools::number_of(given.value("--scale", "1"));
  if (!scale || *scale < 1 || *scale > largest_scale)
    error = "invalid --scale '" + given.value("--scale") + "'; must be 1 to " + std::to_string(largest_scale);
  order.scale = scale.value_or(1);
  const std::string &which = given.operands()[1];
  const auto index = tools::number_of(which);
  if (index && *index != UINT32_MAX) {
    order.first = *index;
    order.end = *index + 1;
  } else if (which != "all") {
    error = "invalid image '" + which + "'; must be an index or all";
  }
  if (order.in_all_ramps && (which == "all" || given.has("--bg") || given.has("--fg")))
    error = "invalid combination; --ramps requires one index and excludes --bg and --fg";
  return order;
}

/// One image through one ramp, as it is.
bool show_single(const painter &library, const archive &from, const preview_order &order, png::picture &into,
                 std::string &error) {
  const image_record record = from.record(order.first);
  if (!is_drawable_size(record.width, record.height, order.scale, error))
    return false;
  into = library.draw(order.first, record, order.ramp);
  return true;
}

/// A sheet with image `images(i)` through ramp `ramps(i)` in cell i.
struct sheet_plan {
  uint32_t cells;
  uint32_t columns; ///< 0 for about square
  std::function<uint32_t(uint32_t)> image;
  std::function<ramp_choice(uint32_t)> ramp;
};

sheet_plan plan_sheet(const preview_order &order, uint32_t image_count) {
  if (order.in_all_ramps)
    return {static_cast<uint32_t>(std::size(all_ramps)), ramps_a_row, [&](uint32_t) { return order.first; },
            [](uint32_t cell) { return all_ramps[cell]; }};
  return {image_count, 0, [](uint32_t cell) { return cell; }, [&](uint32_t) { return order.ramp; }};
}

bool show_sheet(const painter &library, const archive &from, const preview_order &order, png::picture &into,
                std::string &error) {
  const sheet_plan plan = plan_sheet(order, from.count());
  uint32_t widest = 0, highest = 0;
  for (uint32_t cell = 0; cell < plan.cells; ++cell) {
    const image_record record = from.record(plan.image(cell));
    widest = std::max(widest, record.width);
    highest = std::max(highest, record.height);
  }
  sheet pictures{plan.cells, widest, highest, plan.columns};
  if (!is_drawable_size(pictures.width(), pictures.height(), order.scale, error))
    return false;
  pictures.make();
  for (uint32_t cell = 0; cell < plan.cells; ++cell) {
    const uint32_t index = plan.image(cell);
    const ramp_choice ramp = plan.ramp(cell);
    pictures.place(cell, library.draw(index, from.record(index), ramp), background_rgba(ramp.background));
  }
  into = pictures.take();
  return true;
}

outcome unpack(const command_line &given, std::string &error) {
  const std::string &path = given.operands()[0];
  const uint16_t theme = theme_of(given, error);
  const bool in_colour = given.has("--ramp");
  const ramp_choice ramp = in_colour ? ramp_of(given.value("--ramp"), error) : ramp_choice{};
  if (!error.empty())
    return outcome::misused;

  archive from;
  painter library;
  if (!open_images(path, 0, UINT32_MAX, from, error) || !is_unpackable(from, error) ||
      (in_colour && !library.load(path, from, theme, error)))
    return outcome::failed;
  const picture_maker make = [&](uint32_t index) {
    const image_record record = from.record(index);
    return in_colour ? library.draw(index, record, ramp) : to_grey(record, from.pixels(record));
  };
  const bool is_written = write_folder(without_end_slashes(given.operands()[1]), from, make, error);
  return is_written ? outcome::done : outcome::failed;
}

outcome preview(const command_line &given, std::string &error) {
  const std::string &path = given.operands()[0];
  const std::string &out = given.operands()[2];
  const preview_order order = read_order(given, error);
  if (!error.empty())
    return outcome::misused;

  archive from;
  painter library;
  if (!open_images(path, order.first, order.end, from, error))
    return outcome::failed;
  if (order.first >= from.count()) {
    error = path + ": invalid image " + std::to_string(order.first) + "; must be 0 to " +
            std::to_string(from.count() - 1);
    return outcome::failed;
  }
  png::picture picture;
  const bool is_single = order.end != UINT32_MAX && !order.in_all_ramps;
  const auto show = is_single ? show_single : show_sheet;
  const bool is_written =
      tools::may_replace(out, tools::png_magic, error) && library.load(path, from, order.theme, error) &&
      show(library, from, order, picture, error) && png::write(out, enlarged(picture, order.scale), error);
  return is_written ? outcome::done : outcome::failed;
}

} // namespace

extern constinit const command unpack_command = {.name = "unpack",
                                                 .summary = "write a PNG file of each image",
                                                 .help = unpack_help,
                                                 .options = unpack_options,
                                                 .operands = "ARCHIVE DIRECTORY",
                                                 .run = unpack};
extern constinit const command preview_command = {.name = "preview",
                                                  .summary = "draw images as the library draws them",
                                                  .help = preview_help,
                                                  .options = preview_options,
                                                  .operands = "ARCHIVE INDEX|all OUT.png",
                                                  .run = preview};

} // namespace dravik::art
