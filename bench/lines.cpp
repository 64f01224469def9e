// Lines and triangles.

#include "peers.hpp"

#include <array>
#include <cmath>

namespace bench {
namespace {

struct segment {
  int x0, y0, x1, y1;
};

/// Segments of one length around a point, all octants in turn.
std::vector<segment> fan(double length, double first_angle, size_t count) {
  std::vector<segment> all;
  for (size_t i = 0; i < count; ++i) {
    const double angle =
        first_angle + 2 * M_PI * static_cast<double>(i * 7 % count) / static_cast<double>(count);
    all.push_back({320, 240, 320 + static_cast<int>(std::lround(length * std::cos(angle))),
                   240 + static_cast<int>(std::lround(length * std::sin(angle)))});
  }
  return all;
}

void put(const segment &s) {
  fb_put_line(s.x0, s.y0, s.x1, s.y1, ink);
}

void begin_sdl_lines() {
  const SDL_Color colour = sdl_colour(ink);
  SDL_SetRenderDrawColor(sdl_renderer(), colour.r, colour.g, colour.b, colour.a);
}

void sdl_line(const segment &s) {
  begin_sdl_lines();
  SDL_RenderDrawLine(sdl_renderer(), s.x0, s.y0, s.x1, s.y1);
  SDL_RenderFlush(sdl_renderer());
}

void agg_line(const segment &s) {
  const auto fine = [](int whole) { return agg_shapes::coord(whole); };
  agg_primitives().line(fine(s.x0), fine(s.y0), fine(s.x1), fine(s.y1), true);
}

/// The pixels of an item, known beforehand.
template <class Item> struct known_pixels {
  Item item;
  std::vector<uint32_t> offsets;
};

template <class Item, class Put> auto with_pixels(const std::vector<Item> &items, Put put_item) {
  std::vector<known_pixels<Item>> all;
  for (const Item &item : items)
    all.push_back({item, painted_offsets([&] { put_item(item); })});
  return all;
}

void add_segments(const char *name, targets limits, const std::vector<segment> &segments) {
  using known = known_pixels<segment>;
  constexpr const char *note = "takes the other pixel at ties";
  row<known>(name, limits, with_pixels(segments, put))
      .library([](const known &k) { put(k.item); })
      .peer(
          "SDL", [](const known &k) { sdl_line(k.item); }, note)
      .peer(
          "AGG", [](const known &k) { agg_line(k.item); }, note)
      .floor([](const known &k) { store_at(k.offsets); });
}

/// Lines of one row or column, which are boxes to others.
void add_straight(const char *name, targets limits, const std::vector<box> &boxes) {
  row<box>(name, limits, boxes)
      .library([](const box &b) { fb_put_line(b.x, b.y, b.right(), b.bottom(), ink); })
      .peer("pixman", [](const box &b) { pixman_fill_box(b, ink); })
      .peer("SDL",
            [](const box &b) {
              const SDL_Rect area = sdl_rect(b);
              SDL_FillRect(sdl_screen(), &area, ink);
            })
      .peer("AGG",
            [](const box &b) {
              if (b.height == 1) {
                agg_screen().copy_hline(b.x, b.y, b.right(), agg_colour(ink));
              } else {
                agg_screen().copy_vline(b.x, b.y, b.bottom(), agg_colour(ink));
              }
            })
      .floor([](const box &b) {
        if (b.height == 1)
          return set_block(b);
        uint16_t *at = pixel_at(b.x, b.y);
        for (int left = b.height; left > 0; --left, at += screen_pitch / 2)
          *at = ink;
      });
}

struct triangle {
  int x0, y0, x1, y1, x2, y2;
};

std::vector<triangle> triangles() {
  std::vector<triangle> all;
  for (const box &b : spread_boxes(24, 20, 16))
    all.push_back({b.x, b.bottom(), b.right(), b.bottom() - b.x % 5, b.x + b.width / 2, b.y});
  return all;
}

void add_triangles() {
  using known = known_pixels<triangle>;
  constexpr const char *note = "takes the other pixel at ties";
  const auto put_triangle = [](const triangle &t) {
    fb_put_triangle(t.x0, t.y0, t.x1, t.y1, t.x2, t.y2, ink);
  };
  row<known>("triangle 24x20", {0.35, 1.70}, with_pixels(triangles(), put_triangle))
      .library([put_triangle](const known &k) { put_triangle(k.item); })
      .peer(
          "SDL",
          [](const known &k) {
            const triangle &t = k.item;
            const SDL_Point points[] = {{t.x0, t.y0}, {t.x1, t.y1}, {t.x2, t.y2}, {t.x0, t.y0}};
            begin_sdl_lines();
            SDL_RenderDrawLines(sdl_renderer(), points, 4);
            SDL_RenderFlush(sdl_renderer());
          },
          note)
      .peer(
          "AGG",
          [](const known &k) {
            const triangle &t = k.item;
            agg_line({t.x0, t.y0, t.x1, t.y1});
            agg_line({t.x1, t.y1, t.x2, t.y2});
            agg_line({t.x2, t.y2, t.x0, t.y0});
          },
          note)
      .floor([](const known &k) { store_at(k.offsets); });
}

void add_pixels() {
  using known = known_pixels<box>;
  const auto put_pixel = [](const box &b) {
    fb_put_pixel(static_cast<uint32_t>(b.x), static_cast<uint32_t>(b.y), ink);
  };
  row<known>("pixel", {0, 2.00}, with_pixels(spread_boxes(1, 1, 24), put_pixel))
      .library([put_pixel](const known &k) { put_pixel(k.item); })
      .floor([](const known &k) { store_at(k.offsets); });
}

} // namespace

void add_lines() {
  add_pixels();
  add_segments("line of 12 pixels", {0.35, 1.70}, fan(11, 0.1, 24));
  add_triangles();
  add_segments("line of 200 pixels, any angle", {0.45, 1.60}, fan(199, 0.1, 24));
  add_straight("horizontal line of 300", {0.55, 1.80}, spread_boxes(300, 1, 16));
  add_straight("horizontal line of 20", {0.55, 1.80}, spread_boxes(20, 1, 16));
  add_straight("vertical line of 200", {0.80, 1.15}, spread_boxes(1, 200, 16));
}

} // namespace bench
