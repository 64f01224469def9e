// Filled, outlined and thick rectangles.

#include "peers.hpp"

#include <array>

namespace bench {
namespace {

void add_fill(int width, int height, targets limits) {
  const std::string name = "fill " + std::to_string(width) + 'x' + std::to_string(height);
  row<box>(name, limits, spread_boxes(width, height, 16))
      .library([](const box &b) { fb_put_rect_fill(b.x, b.y, b.right(), b.bottom(), ink); })
      .peer("pixman", [](const box &b) { pixman_fill_box(b, ink); })
      .peer("SDL",
            [](const box &b) {
              const SDL_Rect area = sdl_rect(b);
              SDL_FillRect(sdl_screen(), &area, ink);
            })
      .peer("AGG",
            [](const box &b) { agg_screen().copy_bar(b.x, b.y, b.right(), b.bottom(), agg_colour(ink)); })
      .floor(set_block);
}

/// The four edges of an outline, none overlapping another.
std::array<box, 4> edges(const box &b, int thickness) {
  const int sides = b.height - 2 * thickness;
  return {{{b.x, b.y, b.width, thickness},
           {b.x, b.y + b.height - thickness, b.width, thickness},
           {b.x, b.y + thickness, thickness, sides},
           {b.x + b.width - thickness, b.y + thickness, thickness, sides}}};
}

void fill_edges_by_pixman(const box &b, int thickness) {
  for (const box &edge : edges(b, thickness))
    pixman_fill_box(edge, ink);
}

void fill_edges_by_sdl(const box &b, int thickness) {
  std::array<SDL_Rect, 4> areas;
  size_t count = 0;
  for (const box &edge : edges(b, thickness))
    areas[count++] = sdl_rect(edge);
  SDL_FillRects(sdl_screen(), areas.data(), static_cast<int>(areas.size()), ink);
}

void set_edges(const box &b, int thickness) {
  for (const box &edge : edges(b, thickness))
    set_block(edge);
}

void set_column(int x, int y, int height) {
  uint16_t *at = pixel_at(x, y);
  for (; height > 0; --height, at += screen_pitch / 2)
    *at = ink;
}

void set_outline(const box &b) {
  set_block({b.x, b.y, b.width, 1});
  set_block({b.x, b.bottom(), b.width, 1});
  set_column(b.x, b.y + 1, b.height - 2);
  set_column(b.right(), b.y + 1, b.height - 2);
}

void add_outline(int width, int height, targets limits) {
  const std::string name = "outline " + std::to_string(width) + 'x' + std::to_string(height);
  row<box>(name, limits, spread_boxes(width, height, 16))
      .library([](const box &b) { fb_put_rect(b.x, b.y, b.right(), b.bottom(), ink); })
      .peer("pixman", [](const box &b) { fill_edges_by_pixman(b, 1); })
      .peer("SDL", [](const box &b) { fill_edges_by_sdl(b, 1); })
      .peer("AGG", [](const box &b) { agg_primitives().rectangle(b.x, b.y, b.right(), b.bottom()); })
      .floor(set_outline);
}

void add_thick(int width, int height, targets limits) {
  constexpr int thickness = 5;
  const std::string name = "thick outline " + std::to_string(width) + 'x' + std::to_string(height);
  row<box>(name, limits, spread_boxes(width, height, 16))
      .library([](const box &b) { fb_put_rect_thick(b.x, b.y, b.right(), b.bottom(), ink, thickness); })
      .peer("pixman", [](const box &b) { fill_edges_by_pixman(b, thickness); })
      .peer("SDL", [](const box &b) { fill_edges_by_sdl(b, thickness); })
      .peer("AGG",
            [](const box &b) {
              for (const box &edge : edges(b, thickness))
                agg_screen().copy_bar(edge.x, edge.y, edge.right(), edge.bottom(), agg_colour(ink));
            })
      .floor([](const box &b) { set_edges(b, thickness); });
}

} // namespace

void add_rectangles() {
  constexpr targets small = {0.75, 1.40}, large = {1.05, 1.20};
  add_fill(8, 8, small);
  add_fill(16, 16, small);
  add_fill(64, 24, {0.70, 1.30});
  add_fill(200, 120, large);
  add_fill(640, 480, large);
  add_outline(24, 16, {0.80, 1.40});
  add_outline(300, 200, {0.80, 1.40});
  add_thick(100, 60, {0.65, 1.35});
}

} // namespace bench
