// The screen, boxes and colours in the types of the reference libraries.
#pragma once

#include "harness.hpp"

#include <SDL.h>
#include <SDL2_gfxPrimitives.h>
#include <agg_pixfmt_rgb_packed.h>
#include <agg_renderer_base.h>
#include <agg_renderer_primitives.h>
#include <agg_rendering_buffer.h>
#include <pixman.h>

namespace bench {

struct rgb {
  uint8_t red, green, blue;
};

/// The channels of an RGB565 colour; truncating them again yields the colour.
constexpr rgb channels(uint16_t colour) {
  return {static_cast<uint8_t>(colour >> 11 << 3), static_cast<uint8_t>(colour >> 5 << 2),
          static_cast<uint8_t>(colour << 3)};
}

SDL_Surface *sdl_screen();
/// SDL's renderer in software on the same surface, which it and SDL2_gfx draw lines with. It queues:
/// flush it.
SDL_Renderer *sdl_renderer();
SDL_Color sdl_colour(uint16_t colour);
inline SDL_Rect sdl_rect(const box &b) {
  return {b.x, b.y, b.width, b.height};
}
/// SDL's blit of a whole surface to a box of its size.
inline void sdl_blit(SDL_Surface *from, const box &b) {
  SDL_Rect at = sdl_rect(b);
  SDL_BlitSurface(from, nullptr, sdl_screen(), &at);
}

pixman_image_t *pixman_screen();
pixman_color_t pixman_colour(uint16_t colour);
/// pixman's plain fill of a box of the screen.
inline void pixman_fill_box(const box &b, uint16_t colour) {
  pixman_fill(reinterpret_cast<uint32_t *>(pixel_at(0, 0)), screen_pitch / 4, 16, b.x, b.y, b.width, b.height,
              colour);
}

/// AGG's renderers on the screen.
using agg_pixels = agg::pixfmt_rgb565;
using agg_base = agg::renderer_base<agg_pixels>;
using agg_shapes = agg::renderer_primitives<agg_base>;

agg_base &agg_screen();
/// Draw and fill in the ink.
agg_shapes &agg_primitives();
agg::rgba8 agg_colour(uint16_t colour);

/// An image of indexed pixels with its palette, for SDL.
SDL_Surface *sdl_indexed(const std::vector<uint8_t> &pixels, int width, int height,
                         const std::vector<uint16_t> &colours);

} // namespace bench
