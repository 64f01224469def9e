// "show": an image of any format that the library draws.

#include "base/byte_reader.hpp"
#include "base/unique_file.hpp"
#include "common/colours.hpp"
#include "common/magics.hpp"
#include "common/numbers.hpp"
#include "dravik-ctl/captured_output.hpp"
#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/devices.hpp"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <unistd.h>

namespace dravik::ctl {
namespace {

constexpr std::string_view show_help =
    R"(Usage: dravik-ctl show IMAGE [OPTION ...]
       dravik-ctl show ARCHIVE INDEX [OPTION ...]

Draw a BMP or JPEG image, or an archive image, at the centre of the screen.

The format follows from the first bytes of the file. A name without a directory
is also searched for in /usr/local/dravik/jpg. BMP and archive images must fit
on the screen; JPEG images are clipped.

Options:
  --at X,Y         draw with the top-left corner at this pixel
  --clear COLOUR   fill the screen first
  --fg COLOUR      foreground of an archive image (default: white)
  --bg COLOUR      background of an archive image (default: black)

COLOUR is white, black, red, green, blue, grey, yellow, magenta, cyan, orange,
RGB565 as 0x07E0, or RGB as '#00FF00'; --bg also accepts theme and none.

Output: picture, kind (bmp, jpeg or archive), width and height in pixels

Examples:
  dravik-ctl show logo.bmp --clear black
  dravik-ctl show photo.jpg --at 0,0
  dravik-ctl show /usr/local/dravik/art/icons_640.q7 3 --fg yellow

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr option_rule show_options[] = {{"--at", true}, {"--clear", true}, {"--fg", true}, {"--bg", true}};

constexpr const char *jpeg_folder = "/usr/local/dravik/jpg";
constexpr const char *up_from_jpeg_folder = "../../../.."; ///< to the root

struct place {
  uint32_t x, y;
  uint32_t align;
};

struct order {
  std::string path;
  std::optional<uint32_t> index; ///< in an archive
  std::optional<place> at;
  std::optional<uint16_t> clear;
  uint16_t foreground, background;
};

struct size {
  uint32_t width, height;
};

std::optional<place> read_place(std::string_view text) {
  const size_t comma = text.find(',');
  const auto x = tools::number_of(text.substr(0, comma));
  const auto y = tools::number_of(comma == text.npos ? "" : text.substr(comma + 1));
  return x && y ? std::optional<place>{{*x, *y, DRAVIK_TOP_LEFT}} : std::nullopt;
}

bool read_order(const command_line &given, order &what, std::string &error) {
  const auto &words = given.operands();
  what.path = words[0];
  what.foreground = tools::colour_or_error(tools::colour_named, given.value("--fg", "white"), error);
  what.background = tools::colour_or_error(tools::background_named, given.value("--bg", "black"), error);
  if (given.has("--clear"))
    what.clear = tools::colour_or_error(tools::colour_named, given.value("--clear"), error);
  what.at = read_place(given.value("--at"));
  if (given.has("--at") && !what.at)
    error = "invalid --at '" + given.value("--at") + "'; must be X,Y";
  if (words.size() > 1 && !(what.index = tools::number_of(words[1])))
    error = "invalid INDEX '" + words[1] + "'; must be a number";
  return error.empty();
}

/// The path of an image, relative or in the application's directory; empty, with errno, if there is none.
std::string find_picture(const std::string &name) {
  std::string own = std::string{jpeg_folder} + "/" + name;
  if (::access(name.c_str(), R_OK) == 0)
    return name;
  const int reason = errno;
  if (name.find('/') == name.npos && ::access(own.c_str(), R_OK) == 0)
    return own;
  errno = reason;
  return {};
}

std::string first_bytes(const std::string &path) {
  const unique_file file = open_file(path.c_str(), "rb");
  std::string bytes(8, '\0');
  bytes.resize(file != nullptr ? std::fread(bytes.data(), 1, bytes.size(), file.get()) : 0);
  return bytes;
}

place place_or_middle(const order &what) {
  return what.at.value_or(place{fbinfo[FBINFO_XRES] / 2, fbinfo[FBINFO_YRES] / 2, DRAVIK_CENTRE});
}

bool show_bmp(const order &what, size &drawn, std::string &error) {
  const place at = place_or_middle(what);
  int result = -1;
  const captured_output output{[&] {
    result = fb_put_bmp_file(at.x, at.y, what.path.c_str(), DRAVIK_BMP_COPY, static_cast<uint8_t>(at.align));
  }};
  drawn = {bmpinfo[BMPINFO_WIDTH], bmpinfo[BMPINFO_HEIGHT]};
  const uint32_t bits = bmpinfo[BMPINFO_BITS_PER_PIXEL];
  if (result != 0)
    error = because(what.path + ": cannot be drawn", output.first_line());
  else if (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24 && bits != 32)
    error = what.path + ": " + "unsupported depth " + std::to_string(bits) +
            "; must be 1, 4, 8, 16, 24 or 32 bits per pixel";
  return error.empty();
}

/// The library prefixes names of JPEG images with its directory: start from there.
bool name_for_library(const std::string &path, std::string &name, std::string &error) {
  const std::unique_ptr<char, decltype(&std::free)> whole{::realpath(path.c_str(), nullptr), std::free};
  if (whole == nullptr || ::access(jpeg_folder, X_OK) != 0)
    error = std::string{whole == nullptr ? path.c_str() : jpeg_folder} + ": " + std::strerror(errno);
  else
    name = std::string{up_from_jpeg_folder} + whole.get();
  return error.empty();
}

bool show_jpeg(const order &what, size &drawn, std::string &error) {
  std::string name;
  if (!name_for_library(what.path, name, error))
    return false;
  const place at = place_or_middle(what);
  int result = -1;
  const captured_output output{[&] { result = fb_put_jpeg_file(at.x, at.y, name.c_str(), at.align); }};
  drawn = {jpeginfo[JPEGINFO_WIDTH], jpeginfo[JPEGINFO_HEIGHT]};
  if (result != 0)
    error = because(what.path + ": cannot be drawn", output.last_line());
  return result == 0;
}

/// The size of an image of the archive in slot 0.
size size_of_image(uint32_t index) {
  constexpr uint32_t record_bytes = 16;
  const uint8_t *const record = q7bmp_ptr[0] + size_t{record_bytes} * (index + 1);
  byte_reader reader{{record, record_bytes}};
  const uint32_t width = reader.u32le();
  return {width, reader.u32le()};
}

bool is_on_screen(uint64_t x, uint64_t y, const size &picture) {
  return x + picture.width <= fbinfo[FBINFO_XRES] && y + picture.height <= fbinfo[FBINFO_YRES];
}

bool draw_image(const order &what, size &drawn, std::string &error) {
  const uint32_t index = *what.index;
  drawn = size_of_image(index);
  const uint32_t x = what.at ? what.at->x : (fbinfo[FBINFO_XRES] - drawn.width) / 2;
  const uint32_t y = what.at ? what.at->y : (fbinfo[FBINFO_YRES] - drawn.height) / 2;
  if (!is_on_screen(0, 0, drawn) || !is_on_screen(x, y, drawn))
    error = what.path + ": image " + std::to_string(index) + " of " + std::to_string(drawn.width) + " x " +
            std::to_string(drawn.height) + " pixels does not fit on the screen there";
  else if (fb_q7bmp_show(static_cast<int32_t>(x), static_cast<int32_t>(y), 0, static_cast<int32_t>(index),
                         what.foreground, what.background, DRAVIK_TOP_LEFT) != 0)
    error = what.path + ": image " + std::to_string(index) + " exceeds the archive";
  return error.empty();
}

bool show_image(const order &what, size &drawn, std::string &error) {
  const char *const paths[] = {what.path.c_str()};
  const captured_output output{[&] { q7bmp_alloc(1, paths); }};
  if (q7bmp_ptr[0] == nullptr) {
    error = what.path + ": invalid archive; try 'dravik-art check'";
    return false;
  }
  if (*what.index < q7bmp_str_num[0])
    draw_image(what, drawn, error);
  else
    error = what.path + ": invalid image " + std::to_string(*what.index) + "; must be less than " +
            std::to_string(q7bmp_str_num[0]);
  q7bmp_free();
  return error.empty();
}

struct picture_kind {
  std::string_view name;
  std::string_view magic;
  bool (*show)(const order &what, size &drawn, std::string &error);
  bool has_images;
};
constexpr picture_kind kinds[] = {{"bmp", tools::bmp_magic, show_bmp, false},
                                  {"jpeg", tools::jpeg_magic, show_jpeg, false},
                                  {"archive", tools::archive_magic, show_image, true}};

const picture_kind *kind_of(const std::string &path) {
  const std::string start = first_bytes(path);
  for (const picture_kind &kind : kinds)
    if (start.starts_with(kind.magic))
      return &kind;
  return nullptr;
}

bool draw(const picture_kind &kind, const order &what, size &drawn, std::string &error) {
  if (!open_screen(error))
    return false;
  if (what.clear)
    fb_clear_screen(*what.clear);
  if (what.at && (what.at->x >= fbinfo[FBINFO_XRES] || what.at->y >= fbinfo[FBINFO_YRES]))
    error = "show: --at is off the screen";
  else
    kind.show(what, drawn, error);
  fb_exit();
  return error.empty();
}

outcome show(const command_line &given, value::fields &report, std::string &error) {
  order what;
  if (!read_order(given, what, error))
    return outcome::misused;
  const std::string path = find_picture(what.path);
  if (path.empty())
    return failed(error, what.path + ": " + std::strerror(errno));
  what.path = path;
  const picture_kind *const kind = kind_of(path);
  if (kind == nullptr)
    return failed(error, path + ": not a BMP, JPEG or archive");
  if (kind->has_images != what.index.has_value())
    return misused(error, kind->has_images ? "missing INDEX; an archive requires one"
                                           : "extra INDEX; only an archive accepts one");
  size drawn = {};
  if (!draw(*kind, what, drawn, error))
    return outcome::failed;
  report = {
      {"picture", path}, {"kind", std::string{kind->name}}, {"width", drawn.width}, {"height", drawn.height}};
  return outcome::done;
}

} // namespace

extern constinit const command show_command = {.name = "show",
                                               .summary = "draw an image",
                                               .help = show_help,
                                               .options = show_options,
                                               .operands = "IMAGE",
                                               .optional_operands = 1,
                                               .run = reporting<show>};

} // namespace dravik::ctl
