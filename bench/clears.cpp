// Clears, the gradient, and the copy of the screen.

#include "peers.hpp"

#include <array>
#include <cstring>
#include <span>

namespace bench {
namespace {

constexpr box whole = {0, 0, screen_width, screen_height};
constexpr box shaded = {0, 1, 320, 207};
constexpr box region = {41, 30, 230, 150};

/// Run of lines of one shade within a box.
struct band {
  box area;
  uint16_t colour;
};

std::vector<band> bands_of(const box &b) {
  std::vector<band> bands;
  for (int y = b.y; y <= b.bottom(); ++y) {
    if (bands.empty() || bands.back().colour != grad_line[y])
      bands.push_back({{b.x, y, b.width, 0}, grad_line[y]});
    ++bands.back().area.height;
  }
  return bands;
}

using band_row = row<std::vector<band>>;

band_row &add_band_peers(band_row &row) {
  return row
      .peer("pixman",
            [](const std::vector<band> &bands) {
              for (const band &b : bands)
                pixman_fill_box(b.area, b.colour);
            })
      .peer("SDL",
            [](const std::vector<band> &bands) {
              for (const band &b : bands) {
                const SDL_Rect area = sdl_rect(b.area);
                SDL_FillRect(sdl_screen(), &area, b.colour);
              }
            })
      .floor([](const std::vector<band> &bands) {
        for (const band &b : bands)
          set_block(b.area);
      });
}

std::array<uint8_t, screen_bytes> copy;

} // namespace

void add_clears() {
  row<box>("clear, whole screen", {1.05, 1.10}, {whole})
      .library([](const box &) { fb_clear_screen(ink); })
      .peer("pixman", [](const box &b) { pixman_fill_box(b, ink); })
      .peer("SDL", [](const box &) { SDL_FillRect(sdl_screen(), nullptr, ink); })
      .floor([](const box &) { std::memset(pixel_at(0, 0), ink_byte, screen_bytes); });

  add_band_peers(band_row("gradient, whole", {0.85, 1.35}, {bands_of(shaded)}).library([](const auto &) {
    fb_clear_screen_gradient();
  }));
  add_band_peers(
      band_row("gradient, region 230x150", {0.85, 1.35}, {bands_of(region)}).library([](const auto &) {
        fb_clear_region_gradient(region.x, region.y, region.right(), region.bottom());
      }));

  row<box>("copy of the screen", {1.00, 1.10}, {whole})
      .library([](const box &) { get_fb_buffer(0, 0, copy.data()); })
      .peer("pixman",
            [](const box &) {
              pixman_blt(reinterpret_cast<uint32_t *>(pixel_at(0, 0)),
                         reinterpret_cast<uint32_t *>(copy.data()), screen_pitch / 4, screen_pitch / 4, 16,
                         16, 0, 0, 0, 0, screen_width, screen_height);
            })
      .floor([](const box &) { std::memcpy(copy.data(), pixel_at(0, 0), screen_bytes); });
}

} // namespace bench
