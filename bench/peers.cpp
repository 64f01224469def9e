// The screen as the reference libraries access it.

#include "peers.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace bench {
namespace {

template <class T> T *needed(T *made) {
  if (made == nullptr) {
    std::fprintf(stderr, "SDL: %s\n", SDL_GetError());
    std::exit(EXIT_FAILURE);
  }
  return made;
}

} // namespace

SDL_Surface *sdl_screen() {
  static SDL_Surface *const surface = needed(SDL_CreateRGBSurfaceWithFormatFrom(
      pixel_at(0, 0), screen_width, screen_height, 16, screen_pitch, SDL_PIXELFORMAT_RGB565));
  return surface;
}

SDL_Renderer *sdl_renderer() {
  static SDL_Renderer *const renderer = needed(SDL_CreateSoftwareRenderer(sdl_screen()));
  return renderer;
}

SDL_Color sdl_colour(uint16_t colour) {
  const rgb c = channels(colour);
  return {c.red, c.green, c.blue, SDL_ALPHA_OPAQUE};
}

pixman_image_t *pixman_screen() {
  static pixman_image_t *const image = pixman_image_create_bits(
      PIXMAN_r5g6b5, screen_width, screen_height, reinterpret_cast<uint32_t *>(pixel_at(0, 0)), screen_pitch);
  return image;
}

pixman_color_t pixman_colour(uint16_t colour) {
  const rgb c = channels(colour);
  const auto wide = [](uint8_t channel) { return static_cast<uint16_t>(channel * 0x101); };
  return {wide(c.red), wide(c.green), wide(c.blue), 0xFFFF};
}

namespace {

struct agg_view {
  agg::rendering_buffer buffer{reinterpret_cast<uint8_t *>(pixel_at(0, 0)), screen_width, screen_height,
                               screen_pitch};
  agg_pixels pixels{buffer};
  agg_base base{pixels};
  agg_shapes primitives{base};

  agg_view() {
    primitives.line_color(agg_colour(ink));
    primitives.fill_color(agg_colour(ink));
  }
};

agg_view &agg_whole() {
  static agg_view view;
  return view;
}

} // namespace

agg_base &agg_screen() {
  return agg_whole().base;
}

agg_shapes &agg_primitives() {
  return agg_whole().primitives;
}

agg::rgba8 agg_colour(uint16_t colour) {
  const rgb c = channels(colour);
  return {c.red, c.green, c.blue};
}

SDL_Surface *sdl_indexed(const std::vector<uint8_t> &pixels, int width, int height,
                         const std::vector<uint16_t> &colours) {
  SDL_Surface *surface = needed(SDL_CreateRGBSurfaceWithFormat(0, width, height, 8, SDL_PIXELFORMAT_INDEX8));
  auto *row = static_cast<uint8_t *>(surface->pixels);
  for (int y = 0; y < height; ++y, row += surface->pitch)
    std::memcpy(row, pixels.data() + y * width, static_cast<size_t>(width));
  std::vector<SDL_Color> table;
  for (const uint16_t colour : colours)
    table.push_back(sdl_colour(colour));
  SDL_SetPaletteColors(surface->format->palette, table.data(), 0, static_cast<int>(table.size()));
  return surface;
}

} // namespace bench
