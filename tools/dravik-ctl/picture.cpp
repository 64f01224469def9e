// "show": a picture of any kind that the library draws.

#include "base/byte_reader.hpp"
#include "base/unique_file.hpp"
#include "common/colours.hpp"
#include "common/magics.hpp"
#include "common/numbers.hpp"
#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/devices.hpp"
#include "dravik-ctl/overheard.hpp"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <unistd.h>

namespace dravik::ctl {
namespace {

constexpr std::string_view show_help =
    R"(dravik-ctl show PICTURE
dravik-ctl show ARCHIVE INDEX

Draws a BMP or JPEG picture, or an image of an archive, in the middle of the screen. The file's first bytes tell its
kind. A name without a folder is also looked for among the application's JPEG pictures in /usr/local/dravik/jpg.

  --at X,Y         with its top-left corner there
  --clear COLOUR   paint the screen first
  --fg COLOUR      the foreground of an archive's image, white if not given
  --bg COLOUR      its background, black if not given

COLOUR: white, black, red, green, blue, grey, yellow, magenta, cyan, orange, RGB565 as 0x07E0, or RGB as '#00FF00';
--bg also takes theme and none.

BMP pictures and images have to lie on the screen as a whole; of a JPEG picture what does not is cut off.

Tells: picture, kind (bmp, jpeg or archive), width and height

Examples:
  dravik-ctl show logo.bmp --clear black
  dravik-ctl show photo.jpg --at 0,0
  dravik-ctl show /usr/local/dravik/art/icons_640.q7 3 --fg yellow --bg black
)";

constexpr option_rule show_options[] = {{"--at", true}, {"--clear", true}, {"--fg", true}, {"--bg", true}};

constexpr const char *jpeg_folder = "/usr/local/dravik/jpg";
constexpr const char *up_from_jpeg_folder = "../../../.."; ///< to the root
constexpr uint32_t top_left = 0, centred = 3;              ///< the library's ways to place a picture

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
  return x && y ? std::optional<place>{{*x, *y, top_left}} : std::nullopt;
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
    error = "--at takes two numbers, as 20,40";
  if (words.size() > 1 && !(what.index = tools::number_of(words[1])))
    error = "'" + words[1] + "' is not the number of an image";
  return error.empty();
}

/// Where the picture is, under the name given or among the application's pictures; empty when it is nowhere.
std::string find_picture(const std::string &name) {
  const std::string own = std::string{jpeg_folder} + "/" + name;
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
  return what.at.value_or(place{fbinfo[FBINFO_XRES] / 2, fbinfo[FBINFO_YRES] / 2, centred});
}

bool show_bmp(const order &what, size &drawn, std::string &error) {
  const place at = place_or_middle(what);
  int result = -1;
  const overheard said{
      [&] { result = fb_put_bmp_file(at.x, at.y, what.path.c_str(), 0, static_cast<uint8_t>(at.align)); }};
  drawn = {bmpinfo[0], bmpinfo[1]};
  const uint32_t bits = bmpinfo[2];
  if (result != 0)
    error = because(what.path + ": cannot be drawn", said.first_line());
  else if (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24 && bits != 32)
    error = what.path + ": " + std::to_string(bits) + " bits a pixel are not drawn";
  return error.empty();
}

/// The library looks for JPEG pictures in its own folder: from there a path leads to any other.
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
  const overheard said{[&] { result = fb_put_jpeg_file(at.x, at.y, name.c_str(), at.align); }};
  drawn = {jpeginfo[0], jpeginfo[1]};
  if (result != 0)
    error = because(what.path + ": cannot be drawn", said.last_line());
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

bool lies_on_screen(uint64_t x, uint64_t y, const size &picture) {
  return x + picture.width <= fbinfo[FBINFO_XRES] && y + picture.height <= fbinfo[FBINFO_YRES];
}

bool draw_image(const order &what, size &drawn, std::string &error) {
  const uint32_t index = *what.index;
  drawn = size_of_image(index);
  const uint32_t x = what.at ? what.at->x : (fbinfo[FBINFO_XRES] - drawn.width) / 2;
  const uint32_t y = what.at ? what.at->y : (fbinfo[FBINFO_YRES] - drawn.height) / 2;
  if (!lies_on_screen(0, 0, drawn) || !lies_on_screen(x, y, drawn))
    error = what.path + ": image " + std::to_string(index) + " of " + std::to_string(drawn.width) + " x " +
            std::to_string(drawn.height) + " pixels does not lie on the screen";
  else if (fb_q7bmp_show(static_cast<int32_t>(x), static_cast<int32_t>(y), 0, static_cast<int32_t>(index),
                         what.foreground, what.background, top_left) != 0)
    error = what.path + ": image " + std::to_string(index) + " does not lie within the archive";
  return error.empty();
}

bool show_image(const order &what, size &drawn, std::string &error) {
  const char *const paths[] = {what.path.c_str()};
  const overheard said{[&] { q7bmp_alloc(1, paths); }};
  if (q7bmp_ptr[0] == nullptr) {
    error = what.path + ": is no archive that the library takes; dravik-art check tells more";
    return false;
  }
  if (*what.index < q7bmp_str_num[0])
    draw_image(what, drawn, error);
  else
    error = what.path + ": has " + std::to_string(q7bmp_str_num[0]) + " images";
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
    error = "the place of --at does not lie on the screen";
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
    return failed(error, path + ": is neither a BMP nor a JPEG picture nor an archive");
  if (kind->has_images != what.index.has_value())
    return misused(error, kind->has_images ? "which image of the archive?" : "an INDEX goes with an archive");
  size drawn = {};
  if (!draw(*kind, what, drawn, error))
    return outcome::failed;
  report = {
      {"picture", path}, {"kind", std::string{kind->name}}, {"width", drawn.width}, {"height", drawn.height}};
  return outcome::done;
}

} // namespace

constinit const command show_command = {"show", show_help, show_options, 1, 2, reporting<show>};

} // namespace dravik::ctl
