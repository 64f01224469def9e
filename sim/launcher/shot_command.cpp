// "shot": the screen of a board as a PNG file.

#include "host/board_directory.hpp"
#include "launcher/commands.hpp"
#include "png/png_file.hpp"

#include <algorithm>

namespace dravik::sim {
namespace {

constexpr std::string_view shot_help =
    R"(Usage: dravik-sim shot BOARD FILE.png

Save the screen of a simulated board as a PNG file.

The image shows the visible part of frame buffer memory; it is black while the
panel is blanked. Applications may draw meanwhile.

Examples:
  dravik-sim shot desk screen.png

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr uint8_t opaque = 255;

struct colour {
  uint8_t red, green, blue;
};

/// Spreads 5 or 6 bits over 8, so that the brightest becomes 255.
constexpr uint8_t spread(uint32_t value, uint32_t bits) {
  return static_cast<uint8_t>((value * 255 + ((1U << bits) - 1) / 2) / ((1U << bits) - 1));
}

/// A pixel of `bytes` little-endian bytes: RGB565, or 8 bits a colour with red the highest.
colour colour_at(const uint8_t *pixel, uint32_t bytes) {
  if (bytes > 2)
    return {pixel[2], pixel[1], pixel[0]};
  const uint32_t value = pixel[0] | uint32_t{pixel[1]} << 8;
  return {spread(value >> 11, 5), spread(value >> 5 & 63, 6), spread(value & 31, 5)};
}

void draw_line(const uint8_t *from, uint32_t width, uint32_t bytes, uint8_t *rgba) {
  for (uint32_t x = 0; x < width; ++x, from += bytes, rgba += 4) {
    const colour shown = colour_at(from, bytes);
    rgba[0] = shown.red;
    rgba[1] = shown.green;
    rgba[2] = shown.blue;
  }
}

png::picture picture_of(const screen &shown, const panel &state, const std::string &memory) {
  png::picture picture{shown.xres, shown.yres, std::vector<uint8_t>(size_t{shown.xres} * shown.yres * 4)};
  for (size_t i = 3; i < picture.rgba.size(); i += 4)
    picture.rgba[i] = opaque;
  const uint32_t bytes = shown.bits_per_pixel / 8;
  const auto *pixels = reinterpret_cast<const uint8_t *>(memory.data());
  for (uint32_t y = 0; y < shown.yres && state.blank == 0; ++y) {
    const size_t start = size_t{y + state.yoffset} * shown.line_length + size_t{state.xoffset} * bytes;
    draw_line(pixels + start, shown.xres, bytes, picture.rgba.data() + size_t{y} * shown.xres * 4);
  }
  return picture;
}

/// Read everything that the image shows. Returns the reason of a failure, else an empty text.
std::string read_board(const std::string &board, screen &shown, panel &state, std::string &memory) {
  std::string text;
  std::string error;
  if (!read_text_in_board(board, "board.conf", text, error))
    return error;
  shown = read_screen(text);
  if (const char *nonsense = shown.nonsense())
    return board + "/board.conf: " + nonsense;
  if (!read_in_board(board, "dev/fb0", shown.memory_bytes(), memory, error))
    return error;
  if (read_text_in_board(board, "panel", text, error)) // there is none until an application pans or blanks
    state = read_panel(text);
  if (uint64_t{state.xoffset} + shown.xres > shown.xres_virtual ||
      uint64_t{state.yoffset} + shown.yres > shown.yres_virtual)
    return board + "/panel: beyond frame buffer memory";
  // The settings may have been edited since the memory was made: what is missing is dark.
  memory.resize(std::max(memory.size(), static_cast<size_t>(shown.memory_bytes())));
  return {};
}

outcome shot(const std::string &board, const command_line &given, std::string &error) {
  screen shown;
  panel state;
  std::string memory;
  error = read_board(board, shown, state, memory);
  const bool is_written =
      error.empty() && png::write(given.operands()[1], picture_of(shown, state, memory), error);
  return is_written ? outcome::done : outcome::failed;
}

} // namespace

extern constinit const command shot_command = {.name = "shot",
                                               .summary = "save the screen as a PNG file",
                                               .help = shot_help,
                                               .operands = "BOARD FILE.png",
                                               .run = on_board<shot>};

} // namespace dravik::sim
