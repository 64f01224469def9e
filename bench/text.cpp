// Glyphs and labels of bitmap fonts.

#include "peers.hpp"

#include <array>

namespace bench {
namespace {

constexpr size_t glyph_count = 128;
constexpr uint16_t letters = ink, ground = DRAVIK_BLACK, nothing = 0;
constexpr const char *label = "Recording 12:34:56 A";
constexpr size_t label_length = 20;

/// A font of letters that look like letters: strokes, with space between.
struct font {
  int width, height;
  std::vector<uint8_t> glyphs; ///< as the library reads them
  std::vector<SDL_Surface *> opaque, keyed;
  pixman_glyph_cache_t *cache = pixman_glyph_cache_create();
  std::vector<const void *> masks;

  font(int w, int h) : width(w), height(h), glyphs(glyph_count * charsize()) {
    for (size_t glyph = ' ' + 1; glyph < glyph_count; ++glyph)
      draw(glyph);
    for (size_t glyph = 0; glyph < glyph_count; ++glyph)
      give_to_peers(glyph);
  }

  size_t row_bytes() const { return width <= 8 ? 1 : 2; }
  size_t charsize() const { return row_bytes() * static_cast<size_t>(height); }

  bool is_set(size_t glyph, int x, int y) const {
    const size_t at = glyph * charsize() + static_cast<size_t>(y) * row_bytes() + static_cast<size_t>(x / 8);
    return (glyphs[at] >> (7 - x % 8) & 1) != 0;
  }

  void use_in_slot(size_t slot) {
    psf[slot] = {glyphs.data(), static_cast<int32_t>(charsize()), glyph_count, 2, width, height};
  }

private:
  void set(size_t glyph, int x, int y) {
    const size_t at = glyph * charsize() + static_cast<size_t>(y) * row_bytes() + static_cast<size_t>(x / 8);
    glyphs[at] = static_cast<uint8_t>(glyphs[at] | 0x80 >> x % 8);
  }

  /// Some of the strokes of a figure of eight, chosen by the glyph's number.
  void draw(size_t glyph) {
    const int pen = 2, left = 0, right = width - 2 - pen;
    const int top = height / 8, middle = height / 2, bottom = height - height / 6 - pen;
    const auto stroke = [&](bool wanted, int x0, int y0, int x1, int y1) {
      for (int y = y0; wanted && y < y1 + pen; ++y)
        for (int x = x0; x < x1 + pen; ++x)
          set(glyph, x, y);
    };
    const auto wants = [glyph](int bit) { return ((glyph * 37 >> bit) & 1) != 0; };
    stroke(wants(0), left, top, right, top);
    stroke(wants(1), left, middle, right, middle);
    stroke(wants(2), left, bottom, right, bottom);
    stroke(true, left, top, left, bottom);
    stroke(wants(3), right, top, right, middle);
    stroke(wants(4), right, middle, right, bottom);
  }

  void give_to_peers(size_t glyph) {
    std::vector<uint8_t> pixels;
    pixman_image_t *mask = pixman_image_create_bits(PIXMAN_a1, width, height, nullptr, 0);
    const int stride = pixman_image_get_stride(mask) / 4;
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) {
        pixels.push_back(is_set(glyph, x, y));
        if (is_set(glyph, x, y))
          pixman_image_get_data(mask)[y * stride + x / 32] |= 1U << x % 32;
      }
    opaque.push_back(sdl_indexed(pixels, width, height, {ground, letters}));
    keyed.push_back(sdl_indexed(pixels, width, height, {ground, letters}));
    SDL_SetColorKey(keyed.back(), SDL_TRUE, 0);

    pixman_glyph_cache_freeze(cache);
    masks.push_back(pixman_glyph_cache_insert(cache, this, reinterpret_cast<void *>(glyph + 1), 0, 0, mask));
    pixman_glyph_cache_thaw(cache);
  }
};

void sdl_glyphs(const std::vector<SDL_Surface *> &glyphs, const char *text, const box &b) {
  SDL_Rect at = sdl_rect(b);
  for (; *text != '\0'; ++text, at.x += glyphs[0]->w) {
    SDL_Rect place = at;
    SDL_BlitSurface(glyphs[static_cast<unsigned char>(*text)], nullptr, sdl_screen(), &place);
  }
}

void pixman_glyphs(const font &f, const char *text, const box &b) {
  static const pixman_color_t colour = pixman_colour(letters);
  static pixman_image_t *const pen = pixman_image_create_solid_fill(&colour);
  std::array<pixman_glyph_t, label_length> glyphs;
  int count = 0;
  for (; *text != '\0'; ++text, ++count)
    glyphs[static_cast<size_t>(count)] = {f.width * count, 0, f.masks[static_cast<unsigned char>(*text)]};
  pixman_composite_glyphs_no_mask(PIXMAN_OP_OVER, pen, pixman_screen(), 0, 0, b.x, b.y, f.cache, count,
                                  glyphs.data());
}

/// One glyph or a label, opaque and transparent.
void add_texts(font &f, int32_t slot, const std::string &name, const char *text, targets opaque,
               targets transparent) {
  const int width = f.width * static_cast<int>(std::char_traits<char>::length(text));
  const auto put = [slot, text](const box &b, uint16_t back) {
    const auto x = static_cast<uint32_t>(b.x), y = static_cast<uint32_t>(b.y);
    if (text[1] == '\0') {
      fb_putc(static_cast<unsigned char>(*text), x, y, letters, back, slot);
    } else {
      fb_printf(x, y, letters, back, slot, text);
    }
  };
  const std::string size = ' ' + std::to_string(f.width) + 'x' + std::to_string(f.height);
  row<box>(name + size + ", opaque", opaque, spread_boxes(width, f.height, 8))
      .library([put](const box &b) { put(b, ground); })
      .peer("SDL 8-bit", [&f, text](const box &b) { sdl_glyphs(f.opaque, text, b); })
      .peer("pixman a1",
            [&f, text](const box &b) {
              pixman_fill_box(b, ground);
              pixman_glyphs(f, text, b);
            })
      .floor(set_block);

  const auto transparent_boxes = spread_boxes(width, f.height, 8);
  struct known {
    box at;
    std::vector<uint32_t> offsets;
  };
  std::vector<known> places;
  for (const box &b : transparent_boxes)
    places.push_back({b, painted_offsets([&] { put(b, nothing); })});
  row<known>(name + size + ", transparent", transparent, places)
      .library([put](const known &k) { put(k.at, nothing); })
      .peer("SDL key", [&f, text](const known &k) { sdl_glyphs(f.keyed, text, k.at); })
      .peer("pixman a1", [&f, text](const known &k) { pixman_glyphs(f, text, k.at); })
      .floor([](const known &k) { store_at(k.offsets); });
}

/// A screen full of text.
void add_page(font &f, int32_t slot, targets limits) {
  const int columns = screen_width / f.width;
  std::string text;
  while (text.size() < static_cast<size_t>(columns))
    text += label;
  text.resize(static_cast<size_t>(columns));
  std::vector<box> lines;
  for (int y = 0; y + f.height <= screen_height; y += f.height)
    lines.push_back({0, y, screen_width, f.height});
  row<std::vector<box>>("page of text 8x16, opaque", limits, {lines})
      .library([slot, text](const std::vector<box> &all) {
        for (const box &b : all)
          fb_printf(0, static_cast<uint32_t>(b.y), letters, ground, slot, text.c_str());
      })
      .peer("SDL 8-bit",
            [&f, text](const std::vector<box> &all) {
              for (const box &b : all)
                sdl_glyphs(f.opaque, text.c_str(), b);
            })
      .floor([](const std::vector<box> &all) {
        for (const box &b : all)
          set_block(b);
      });
}

} // namespace

void add_text() {
  static font small(8, 16), medium(12, 24), large(16, 32);
  small.use_in_slot(0);
  medium.use_in_slot(1);
  large.use_in_slot(2);
  constexpr targets glyph = {0.35, 2.0};
  add_texts(small, 0, "glyph", "R", glyph, glyph);
  add_texts(medium, 1, "glyph", "R", glyph, glyph);
  add_texts(large, 2, "glyph", "R", glyph, glyph);
  add_texts(small, 0, "label", label, {0.22, 3}, {0.25, 6});
  add_texts(medium, 1, "label", label, {0.35, 4}, {0.25, 6});
  add_texts(large, 2, "label", label, {0.22, 3}, {0.25, 6});
  add_page(small, 0, {0.13, 2.8});
}

} // namespace bench
