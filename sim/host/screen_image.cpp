// What the panel of a board displays.

#include "host/screen_image.hpp"
#include "host/board_directory.hpp"

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>

namespace dravik::sim {
namespace {

/// How often a panel that moves meanwhile is read again; more is an application that pans without a pause.
constexpr int most_attempts = 3;

/// Spreads 5 or 6 bits over 8, so that the brightest becomes 255.
constexpr uint8_t spread(uint32_t value, uint32_t bits) {
  return static_cast<uint8_t>((value * 255 + ((1U << bits) - 1) / 2) / ((1U << bits) - 1));
}

/// A panel that was neither moved nor blanked has no file.
panel current_panel(const std::string &board) {
  std::string text;
  std::string unused;
  return read_text_in_board(board, "panel", text, unused) ? read_panel(text) : panel{};
}

std::string reason_of(const std::string &board, const screen &shown, const panel &state) {
  if (const char *nonsense = shown.nonsense())
    return board + "/board.conf: " + nonsense;
  if (uint64_t{state.xoffset} + shown.xres > shown.xres_virtual ||
      uint64_t{state.yoffset} + shown.yres > shown.yres_virtual)
    return board + "/panel: beyond frame buffer memory";
  return {};
}

/// Move the lines together: what comes before the first pixel of a line, and after its last, is not visible.
void remove_padding(const screen &shown, uint64_t first_byte, screen_image &image) {
  const size_t line = image.line_bytes();
  if (first_byte != 0 || shown.line_length != line)
    for (size_t y = 0; y < image.height; ++y)
      std::memmove(image.pixels.data() + y * line, image.pixels.data() + first_byte + y * shown.line_length,
                   line);
  image.pixels.resize(line * image.height);
}

/// The settings may have been edited since the memory was made: what is missing is dark.
bool read_pixels(const std::string &board, const screen &shown, const panel &state, screen_image &image,
                 std::string &error) {
  image.bytes_per_pixel = shown.bits_per_pixel / 8;
  image.width = shown.xres;
  image.height = shown.yres;
  image.is_blank = state.blank != 0;
  image.pixels.resize(size_t{shown.line_length} * shown.yres);
  size_t count = 0;
  if (!image.is_blank && !read_part_in_board(board, "dev/fb0", uint64_t{state.yoffset} * shown.line_length,
                                             image.pixels, count, error))
    return false;
  std::fill(image.pixels.begin() + static_cast<std::ptrdiff_t>(count), image.pixels.end(), uint8_t{0});
  remove_padding(shown, uint64_t{state.xoffset} * image.bytes_per_pixel, image);
  return true;
}

} // namespace

bool read_screen_image(const std::string &board, screen_image &image, std::string &error) {
  std::string settings;
  if (!read_text_in_board(board, "board.conf", settings, error))
    return false;
  const screen shown = read_screen(settings);
  panel state = current_panel(board);
  for (int attempt = 0; attempt < most_attempts; ++attempt) {
    error = reason_of(board, shown, state);
    if (!error.empty() || !read_pixels(board, shown, state, image, error))
      return false;
    const panel before = std::exchange(state, current_panel(board));
    if (before == state)
      return true;
  }
  return true;
}

colour colour_at(const uint8_t *pixel, uint32_t bytes) noexcept {
  if (bytes > 2)
    return {pixel[2], pixel[1], pixel[0]};
  const uint32_t value = pixel[0] | uint32_t{pixel[1]} << 8;
  return {spread(value >> 11, 5), spread(value >> 5 & 63, 6), spread(value & 31, 5)};
}

} // namespace dravik::sim
