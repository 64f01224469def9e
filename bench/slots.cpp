// 16-bit images in slots.

#include "peers.hpp"
#include "scratch_folder.hpp"

#include <array>
#include <cstdio>
#include <cstring>

namespace bench {
namespace {

constexpr size_t data_offset = 66; ///< after the header and the three masks
constexpr uint16_t key = DRAVIK_MAGENTA_KEY, silhouette_colour = 0x7BCF, black = 0;
using mode = dravik_bmp_mode;

/// A disc of noise with a black rim on the key colour, as signs on a map are. The top row comes first.
struct drawing {
  int width, height;
  std::vector<uint16_t> pixels;

  drawing(int w, int h) : width(w), height(h) {
    uint32_t noise = 5;
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        noise = noise * 1664525 + 1013904223;
        pixels.push_back(colour(x, y, static_cast<uint16_t>(noise >> 16 | 0x0100)));
      }
  }

  size_t row_size() const { return static_cast<size_t>(width) * 2; }
  std::string size() const { return std::to_string(width) + 'x' + std::to_string(height); }

  /// The pixels that a mode draws, for libraries with one key colour only.
  drawing prepared_for(mode m) const {
    drawing other = *this;
    for (uint16_t &pixel : other.pixels)
      if (m == DRAVIK_BMP_SILHOUETTE)
        pixel = pixel == key || pixel == black ? key : silhouette_colour;
    return other;
  }

private:
  /// Noise, black or the key, by the distance from the middle in parts of the whole.
  uint16_t colour(int x, int y, uint16_t inside) const {
    const double dx = (2.0 * x + 1 - width) / width, dy = (2.0 * y + 1 - height) / height;
    const double distance = dx * dx + dy * dy;
    return distance < 0.6 ? inside : distance < 0.8 ? black : key;
  }
};

void write_file(const drawing &from, const std::string &path) {
  std::array<uint8_t, data_offset> header = {'B', 'M'};
  const auto put = [&header](size_t at, size_t value) {
    for (size_t i = 0; i < 4; ++i)
      header[at + i] = static_cast<uint8_t>(value >> (8 * i));
  };
  put(2, data_offset + from.pixels.size() * 2);
  put(10, data_offset);
  put(14, 40); // size of the information header
  put(18, static_cast<size_t>(from.width));
  put(22, static_cast<size_t>(from.height));
  put(26, 16 << 16 | 1); // depth and planes
  put(30, 3);            // with masks
  put(54, 0xF800);
  put(58, 0x07E0);
  put(62, 0x001F);
  std::FILE *file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) {
    std::perror(path.c_str());
    std::exit(EXIT_FAILURE);
  }
  std::fwrite(header.data(), 1, header.size(), file);
  for (auto row = from.pixels.end(); row != from.pixels.begin();) {
    row -= from.width;
    std::fwrite(&*row, 1, from.row_size(), file);
  }
  std::fclose(file);
}

std::vector<drawing> load_drawings() {
  std::vector<drawing> made = {{16, 16}, {48, 48}, {64, 48}, {320, 240}, {screen_width, screen_height}};
  std::vector<std::string> names;
  for (const drawing &d : made) {
    names.push_back(d.size() + ".bmp");
    write_file(d, scratch().file(names.back()));
  }
  std::vector<const char *> pointers;
  for (const std::string &name : names)
    pointers.push_back(name.c_str());
  bmp_mem_alloc(static_cast<int32_t>(pointers.size()), scratch().file("").c_str(), pointers.data());
  return made;
}

/// The images, in the slots of their numbers.
const std::vector<drawing> &drawings() {
  static const std::vector<drawing> all = load_drawings();
  return all;
}

SDL_Surface *sdl_picture(const drawing &from, mode m) {
  SDL_Surface *surface =
      SDL_CreateRGBSurfaceWithFormat(0, from.width, from.height, 16, SDL_PIXELFORMAT_RGB565);
  auto *to = static_cast<uint8_t *>(surface->pixels);
  for (int y = 0; y < from.height; ++y, to += surface->pitch)
    std::memcpy(to, &from.pixels[static_cast<size_t>(y * from.width)], from.row_size());
  SDL_SetColorKey(surface, m == DRAVIK_BMP_COPY ? SDL_FALSE : SDL_TRUE, key);
  return surface;
}

void pixman_copy(const drawing &from, const box &b) {
  auto *bits = reinterpret_cast<uint32_t *>(const_cast<uint16_t *>(from.pixels.data())); // only read
  pixman_blt(bits, reinterpret_cast<uint32_t *>(pixel_at(0, 0)), b.width / 2, screen_pitch / 4, 16, 16, 0, 0,
             b.x, b.y, b.width, b.height);
}

/// The rows of the slot copied by the C library.
void copy_rows(size_t slot, const box &b) {
  const uint8_t *from = bmp_mem_ptr[slot] + data_offset;
  const size_t size = static_cast<size_t>(b.width) * 2;
  for (int y = b.bottom(); y >= b.y; --y, from += size)
    std::memcpy(pixel_at(b.x, y), from, size);
}

/// The usual loop, one pixel after the other.
void put_pixels(const drawing &from, mode m, const box &b) {
  const uint16_t *pixel = from.pixels.data();
  for (int y = b.y; y <= b.bottom(); ++y) {
    uint16_t *to = pixel_at(b.x, y);
    for (int x = 0; x < b.width; ++x, ++pixel)
      if (*pixel != key && (m == DRAVIK_BMP_KEYED || *pixel != black))
        to[x] = m == DRAVIK_BMP_KEYED ? *pixel : silhouette_colour;
  }
}

void show(size_t slot, mode m, const box &b) {
  bmp_mem_show(static_cast<uint32_t>(b.x), static_cast<uint32_t>(b.y), static_cast<int32_t>(slot), m,
               DRAVIK_TOP_LEFT);
}

void add_copy(size_t slot, targets limits) {
  const drawing &from = drawings()[slot];
  row<box>("slot " + from.size() + ", copy", limits, spread_boxes(from.width, from.height, 8))
      .library([slot](const box &b) { show(slot, DRAVIK_BMP_COPY, b); })
      .peer("pixman", [&from](const box &b) { pixman_copy(from, b); })
      .peer("SDL", [picture = sdl_picture(from, DRAVIK_BMP_COPY)](const box &b) { sdl_blit(picture, b); })
      .floor([slot](const box &b) { copy_rows(slot, b); });
}

void add_keyed(size_t slot, mode m, const std::string &name) {
  const drawing &from = drawings()[slot];
  const drawing prepared = from.prepared_for(m);
  row<box>("slot " + from.size() + ", " + name, {1.0, 0}, spread_boxes(from.width, from.height, 8))
      .library([slot, m](const box &b) { show(slot, m, b); })
      .peer("SDL key", [picture = sdl_picture(prepared, m)](const box &b) { sdl_blit(picture, b); })
      .peer("plain loop", [&from, m](const box &b) { put_pixels(from, m, b); });
}

} // namespace

void add_slots() {
  constexpr targets small = {0.75, 1.5}, large = {1.05, 1.10};
  add_copy(0, small);
  add_copy(1, {0.85, 1.5});
  add_copy(2, small);
  add_copy(3, large);
  add_copy(4, large);
  for (const size_t slot : {size_t{2}, size_t{3}}) {
    add_keyed(slot, DRAVIK_BMP_KEYED, "key");
    add_keyed(slot, DRAVIK_BMP_SILHOUETTE, "silhouette");
  }
}

} // namespace bench
