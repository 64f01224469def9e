// Packed artwork through the ramps of the colour table.

#include "peers.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace bench {
namespace {

constexpr int levels = DRAVIK_RAMP_STEPS;
constexpr int ramp = DRAVIK_WHITE_ON_BLACK * levels; ///< selected on black and on a transparent background

/// A soft ring with a bar through it, like most of an interface: three quarters of it are empty.
struct icon {
  int width, height;
  std::vector<uint8_t> pixels; ///< levels, one per byte

  icon(int w, int h) : width(w), height(h) {
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        pixels.push_back(static_cast<uint8_t>(std::clamp(depth(x, y) * 6 + 8, 0.0, 15.0)));
  }

private:
  /// Distance of a pixel from the edge of the figure; positive inside.
  double depth(int x, int y) const {
    const double dx = x - width / 2.0, dy = y - height / 2.0, size = std::min(width, height);
    const double ring = size / 20 - std::fabs(std::hypot(dx, dy) - size * 0.4);
    const double bar = std::min(size / 16 - std::fabs(dy), size / 4 - std::fabs(dx));
    return std::max(ring, bar);
  }
};

/// An archive of one image, in the library's first slot for as long as the program runs.
void load_archive(const icon &from, uint32_t slot) {
  static std::vector<uint8_t> archives[2];
  std::vector<uint8_t> &bytes = archives[slot];
  const char magic[] = {'K', 'O', 'R', 'V', 'E', 'X', 'Q', '7'};
  bytes.assign(std::begin(magic), std::end(magic));
  const auto add_word = [&bytes](uint32_t word) {
    for (int shift = 0; shift < 32; shift += 8)
      bytes.push_back(static_cast<uint8_t>(word >> shift));
  };
  const auto width = static_cast<uint32_t>(from.width), height = static_cast<uint32_t>(from.height);
  for (const uint32_t word : {1U, 32 + width / 2 * height, width, height, 32U, 0U})
    add_word(word);
  for (size_t i = 0; i < from.pixels.size(); i += 2)
    bytes.push_back(static_cast<uint8_t>(from.pixels[i] << 4 | from.pixels[i + 1]));
  q7bmp_ptr[slot] = bytes.data();
  q7bmp_str_num[slot] = 1;
}

SDL_Surface *unpacked(const icon &from, bool keyed) {
  SDL_Surface *surface = sdl_indexed(from.pixels, from.width, from.height, {gc + ramp, gc + ramp + levels});
  if (keyed)
    SDL_SetColorKey(surface, SDL_TRUE, 0);
  return surface;
}

void add_icon(int width, int height, uint32_t slot) {
  const icon drawing(width, height);
  load_archive(drawing, slot);
  const std::string size = std::to_string(width) + 'x' + std::to_string(height);
  row<box>("artwork " + size + ", opaque", {0.50, 2.2}, spread_boxes(width, height, 8))
      .library([slot](const box &b) {
        fb_q7bmp_show(b.x, b.y, slot, 0, DRAVIK_WHITE, DRAVIK_BLACK, DRAVIK_TOP_LEFT);
      })
      .peer("SDL 8-bit", [from = unpacked(drawing, false)](const box &b) { sdl_blit(from, b); })
      .floor(set_block);
  row<box>("artwork " + size + ", transparent", {0.80, 0}, spread_boxes(width, height, 8))
      .library([slot](const box &b) {
        fb_q7bmp_show(b.x, b.y, slot, 0, DRAVIK_WHITE, DRAVIK_TRANSPARENT, DRAVIK_TOP_LEFT);
      })
      .peer("SDL key", [from = unpacked(drawing, true)](const box &b) { sdl_blit(from, b); });
}

} // namespace

void add_artwork() {
  add_icon(48, 48, 0);
  add_icon(200, 120, 1);
}

} // namespace bench
