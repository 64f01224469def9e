// Screen of a board, from its settings.

#include "board/screen.hpp"
#include "board/settings_text.hpp"

namespace dravik::sim {
namespace {

constexpr uint32_t bytes_of(uint32_t pixels, uint32_t bits) noexcept {
  return static_cast<uint32_t>((uint64_t{pixels} * bits + 7) / 8);
}

} // namespace

screen screen::of_size(uint32_t width, uint32_t height, uint32_t bits) noexcept {
  return {width, height, width, height, bits, bytes_of(width, bits)};
}

const char *screen::nonsense() const noexcept {
  if (xres == 0 || yres == 0)
    return "invalid size; must be at least 1x1 pixels";
  if (xres_virtual > longest_side || yres_virtual > longest_side || line_length > longest_side * 4)
    return "screen too large; must be at most 16384 pixels per side";
  if (xres_virtual < xres || yres_virtual < yres)
    return "virtual screen too small; must be at least the size";
  if (bits_per_pixel != 16 && bits_per_pixel != 24 && bits_per_pixel != 32)
    return "invalid depth; must be 16, 24 or 32 bits per pixel";
  if (line_length < bytes_of(xres_virtual, bits_per_pixel))
    return "line length too small for the pixels of a line";
  return nullptr;
}

screen read_screen(std::string_view settings) noexcept {
  screen shown;
  shown.xres = number_of(settings, "xres", shown.xres);
  shown.yres = number_of(settings, "yres", shown.yres);
  shown.xres_virtual = number_of(settings, "xres_virtual", shown.xres);
  shown.yres_virtual = number_of(settings, "yres_virtual", shown.yres);
  shown.bits_per_pixel = number_of(settings, "bits_per_pixel", shown.bits_per_pixel);
  shown.line_length = number_of(settings, "line_length", bytes_of(shown.xres_virtual, shown.bits_per_pixel));
  return shown;
}

panel read_panel(std::string_view state) noexcept {
  return {number_of(state, "xoffset", 0), number_of(state, "yoffset", 0), number_of(state, "blank", 0)};
}

} // namespace dravik::sim
