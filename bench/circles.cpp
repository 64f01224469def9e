// Circle outlines and discs.

#include "peers.hpp"

#include <cstring>

namespace bench {
namespace {

struct ring {
  int x, y, radius;
  std::vector<uint32_t> offsets; ///< of its pixels
};

/// A stretch of pixels: offset and length in bytes.
struct stretch {
  uint32_t offset, length;
};

std::vector<stretch> stretches_of(const std::vector<uint32_t> &offsets) {
  std::vector<stretch> all;
  for (const uint32_t offset : offsets) {
    if (all.empty() || offset != all.back().offset + all.back().length)
      all.push_back({offset, 0});
    all.back().length += 2;
  }
  return all;
}

struct disc {
  int x, y, radius;
  std::vector<stretch> rows;
};

using put_ring = void(int32_t, int32_t, int32_t, uint16_t);

std::vector<ring> known_rings(put_ring *put, const std::vector<int> &radii) {
  std::vector<ring> rings;
  for (const int radius : radii) {
    const box around = spread_boxes(2 * radius + 2, 2 * radius + 2, rings.size() % 4 + 1).back();
    const int x = around.x + radius + 1, y = around.y + radius + 1;
    rings.push_back({x, y, radius, painted_offsets([=] { put(x, y, radius, ink); })});
  }
  return rings;
}

std::vector<int> radii_to(int last, int by) {
  std::vector<int> radii;
  for (int radius = 5; radius <= last; radius += by)
    radii.push_back(radius);
  return radii;
}

std::vector<disc> known_discs(const std::vector<int> &radii) {
  std::vector<disc> discs;
  for (const ring &r : known_rings(fb_put_circle_fill, radii))
    discs.push_back({r.x, r.y, r.radius, stretches_of(r.offsets)});
  return discs;
}

using gfx_shape = int(SDL_Renderer *, Sint16, Sint16, Sint16, Uint8, Uint8, Uint8, Uint8);

void put_by_gfx(gfx_shape *put, int x, int y, int radius) {
  const SDL_Color c = sdl_colour(ink);
  put(sdl_renderer(), static_cast<Sint16>(x), static_cast<Sint16>(y), static_cast<Sint16>(radius), c.r, c.g,
      c.b, c.a);
  SDL_RenderFlush(sdl_renderer());
}

void add_outlines(const char *name, const std::vector<int> &radii) {
  constexpr const char *note = "another circle, of integer arithmetic";
  row<ring>(name, {0.40, 2.0}, known_rings(fb_put_circle, radii))
      .library([](const ring &r) { fb_put_circle(r.x, r.y, r.radius, ink); })
      .peer(
          "SDL2_gfx", [](const ring &r) { put_by_gfx(circleRGBA, r.x, r.y, r.radius); }, note)
      .peer(
          "AGG", [](const ring &r) { agg_primitives().ellipse(r.x, r.y, r.radius, r.radius); }, note)
      .floor([](const ring &r) { store_at(r.offsets); });
}

void add_discs(const char *name, const std::vector<int> &radii) {
  constexpr const char *note = "another disc, one pixel wider";
  row<disc>(name, {0.55, 1.4}, known_discs(radii))
      .library([](const disc &d) { fb_put_circle_fill(d.x, d.y, d.radius, ink); })
      .peer(
          "SDL2_gfx", [](const disc &d) { put_by_gfx(filledCircleRGBA, d.x, d.y, d.radius); }, note)
      .peer(
          "AGG", [](const disc &d) { agg_primitives().solid_ellipse(d.x, d.y, d.radius, d.radius); }, note)
      .floor([](const disc &d) {
        auto *const base = reinterpret_cast<uint8_t *>(pixel_at(0, 0));
        for (const stretch &row : d.rows)
          std::memset(base + row.offset, ink_byte, row.length);
      });
}

} // namespace

void add_circles() {
  add_outlines("circle of 20, kept", std::vector(16, 20));
  add_outlines("circle of 100, kept", std::vector(4, 100));
  add_outlines("circles of 32 radii", radii_to(98, 3));
  add_outlines("circles of 196 radii", radii_to(200, 1));
  add_discs("disc of 8", std::vector(16, 8));
  add_discs("disc of 20", std::vector(16, 20));
  add_discs("disc of 100", std::vector(4, 100));
}

} // namespace bench
