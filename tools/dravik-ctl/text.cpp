// "text": a line of text, in a bitmap font or anti-aliased.

#include "common/colours.hpp"
#include "common/numbers.hpp"
#include "dravik-ctl/captured_output.hpp"
#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/devices.hpp"
#include "dravik-ctl/utf8.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace dravik::ctl {
namespace {

constexpr std::string_view text_help =
    R"(Usage: dravik-ctl text X Y STRING [OPTION ...]

Draw a line of text with its top-left corner at column X, line Y.

ASCII is drawn in a bitmap font; text with other characters, in UTF-8, and any
text with --size is drawn anti-aliased, in the library's ramp of two colours or
the nearest one. Text that does not fit on the screen is not drawn.

Options:
  --size POINTS    1 to 96 points at 80 dots per inch (default: 24)
  --font FILE      bitmap font (.psf), or TrueType font for anti-aliased text
                   (default: Uni2-Fixed16.psf, or arial.ttf and for characters
                   that it does not have DroidSansFallback.ttf, in
                   /usr/local/dravik/font)
  --fg COLOUR      foreground (default: white)
  --bg COLOUR      background, or none to keep the screen around the letters
                   (default: black)

COLOUR is white, black, red, green, blue, grey, yellow, magenta, cyan, orange,
RGB565 as 0x07E0, or RGB as '#00FF00'; --bg also accepts theme and none.

Output: font, x, y, width and height in pixels

Examples:
  dravik-ctl text 20 20 'hello board' --fg green
  dravik-ctl text 20 60 'größer' --size 48

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr option_rule text_options[] = {{"--size", true}, {"--font", true}, {"--fg", true}, {"--bg", true}};

constexpr const char *bitmap_font = "/usr/local/dravik/font/Uni2-Fixed16.psf";
constexpr std::string_view bitmap_ending = ".psf";
constexpr uint32_t largest_size = 96;
constexpr uint32_t start_size = 24;
constexpr size_t most_characters = 128; ///< that the library draws smooth

struct order {
  uint32_t x = 0, y = 0;
  std::u16string text;
  uint32_t size = start_size;
  std::string font; ///< empty: the library's
  bool is_smooth = false;
  uint16_t foreground = 0, background = 0;
};

/// The characters of a text as the library expects them.
bool read_text(std::string_view text, std::u16string &into, std::string &error) {
  while (error.empty() && !text.empty()) {
    const utf8_character next = take_character(text);
    if (next.bytes.empty())
      error = "invalid STRING; must be UTF-8";
    else if (next.code < ' ' || next.code == 0x7F)
      error = "invalid STRING; must not contain control characters";
    else if (next.code > 0xFFFF)
      error = "invalid STRING; must not contain characters above U+FFFF";
    into += static_cast<char16_t>(next.code);
  }
  into.erase(into.find_last_not_of(u' ') +
             1); // the library does not draw anti-aliased text that ends with a space
  if (error.empty() && (into.empty() || into.size() > most_characters))
    error =
        into.empty() ? "empty STRING; must contain text" : "STRING too long; must be at most 128 characters";
  return error.empty();
}

bool is_ascii(const std::u16string &text) {
  return std::ranges::all_of(text, [](char16_t c) { return c < 0x80; });
}

bool read_order(const command_line &given, order &what, std::string &error) {
  const auto &words = given.operands();
  const auto x = tools::number_of(words[0]), y = tools::number_of(words[1]);
  const auto size = tools::number_of(given.value("--size", "24"), 1, largest_size);
  if (!x || !y)
    error = "invalid X or Y; must be numbers of pixels";
  else if (!size)
    error = "invalid --size '" + given.value("--size") + "'; must be 1 to 96";
  what.x = x.value_or(0);
  what.y = y.value_or(0);
  what.size = size.value_or(0);
  what.foreground = tools::colour_or_error(tools::colour_named, given.value("--fg", "white"), error);
  what.background = tools::colour_or_error(tools::background_named, given.value("--bg", "black"), error);
  if (!error.empty() || !read_text(words[2], what.text, error))
    return false;
  what.font = given.value("--font");
  const bool requires_anti_aliasing = given.has("--size") || !is_ascii(what.text);
  what.is_smooth = requires_anti_aliasing || (given.has("--font") && !what.font.ends_with(bitmap_ending));
  if (requires_anti_aliasing && what.font.ends_with(bitmap_ending))
    error = "invalid --font; bitmap fonts have one size and ASCII characters only";
  return error.empty();
}

bool fits(const order &what, uint64_t width, uint64_t height, std::string &error) {
  if (what.x + width <= fbinfo[FBINFO_XRES] && what.y + height <= fbinfo[FBINFO_YRES])
    return true;
  error = "text: " + std::to_string(width) + " x " + std::to_string(height) +
          " pixels do not fit on the screen there";
  return false;
}

value::fields report_of(const order &what, std::string font, int64_t width, int64_t height) {
  return {{"font", std::move(font)}, {"x", what.x}, {"y", what.y}, {"width", width}, {"height", height}};
}

outcome draw_bitmap(const order &what, value::fields &report, std::string &error) {
  const std::string path = what.font.empty() ? bitmap_font : what.font;
  if (::access(path.c_str(), R_OK) != 0)
    return failed(error, path + ": " + std::strerror(errno));
  const char *const paths[] = {path.c_str()};
  psf_font_alloc(1, paths);
  const psf_font &font = psf[0];
  if (font.ptr == nullptr)
    return failed(error, path + ": invalid font; see /tmp/dravik.log");
  const auto width = static_cast<uint32_t>(font.width), height = static_cast<uint32_t>(font.height);
  if (!fits(what, uint64_t{width} * what.text.size(), height, error))
    return outcome::failed;
  for (uint32_t x = what.x; const char16_t character : what.text) {
    fb_putc(character, x, what.y, what.foreground, what.background, 0);
    x += width;
  }
  report = report_of(what, path, width * static_cast<int64_t>(what.text.size()), height);
  psf_font_free();
  return outcome::done;
}

/// Draw with entry `font` of ::ttf_font_file. Return the message of a failure, else an empty text.
std::string put_smooth(const order &what, uint32_t font) {
  std::string bytes;
  for (const char16_t unit : what.text + u'\0')
    bytes += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
  const captured_output output{[&] {
    put_unicode_string(what.x, what.y, bytes.data(), what.size, font, what.foreground, what.background,
                       DRAVIK_TOP_LEFT);
  }};
  return output.first_line();
}

/// Draw on private memory, which sets ::str_width and ::str_height.
std::string rehearse(const order &what, uint32_t font) {
  std::vector<uint8_t> memory(size_t{fbinfo[FBINFO_LINE_LENGTH]} * fbinfo[FBINFO_YRES]);
  uint8_t *const screen = fbp;
  fbp = memory.data();
  order in_the_corner = what;
  in_the_corner.x = in_the_corner.y = 0;
  std::string mixer_error = put_smooth(in_the_corner, font);
  fbp = screen;
  return mixer_error;
}

outcome draw_smooth(const order &what, value::fields &report, std::string &error) {
  if (!what.font.empty())
    ttf_font_file[0] = ttf_font_file[1] = what.font.c_str();
  uint32_t font = 0;
  std::string mixer_error = rehearse(what, font);
  if (!mixer_error.empty() && what.font.empty())
    mixer_error = rehearse(what, ++font);
  if (!mixer_error.empty())
    return failed(error, because(std::string{ttf_font_file[font]} + ": text cannot be drawn", mixer_error));
  if (!fits(what, static_cast<uint32_t>(str_width), static_cast<uint32_t>(str_height), error))
    return outcome::failed;
  put_smooth(what, font);
  report = report_of(what, ttf_font_file[font], str_width, str_height);
  return outcome::done;
}

outcome text(const command_line &given, value::fields &report, std::string &error) {
  order what;
  if (!read_order(given, what, error))
    return outcome::misused;
  if (!open_screen(error))
    return outcome::failed;
  const outcome ended = what.is_smooth ? draw_smooth(what, report, error) : draw_bitmap(what, report, error);
  fb_exit();
  return ended;
}

} // namespace

extern constinit const command text_command = {.name = "text",
                                               .summary = "draw a line of text",
                                               .help = text_help,
                                               .options = text_options,
                                               .operands = "X Y STRING",
                                               .run = reporting<text>};

} // namespace dravik::ctl
