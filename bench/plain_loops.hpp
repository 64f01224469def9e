// The jobs of the library by the loops that first come to mind: one pixel after the other, without checks.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>

namespace bench::plain {

inline constexpr size_t pitch = 640; ///< pixels per line

struct place {
  uint16_t *screen;
  int32_t x, y;

  uint16_t *at(int32_t right, int32_t down) const {
    return screen + static_cast<ptrdiff_t>(pitch) * (y + down) + x + right;
  }
};

[[gnu::noinline]] inline void fill(place p, int32_t width, int32_t height, uint16_t colour) {
  for (int32_t row = 0; row < height; ++row) {
    uint16_t *const to = p.at(0, row);
    for (int32_t i = 0; i < width; ++i)
      to[i] = colour;
  }
}

[[gnu::noinline]] inline void outline(place p, int32_t width, int32_t height, int32_t thickness,
                                      uint16_t colour) {
  const place bottom = {p.screen, p.x, p.y + height - thickness},
              right = {p.screen, p.x + width - thickness, p.y};
  fill(p, width, thickness, colour);
  fill(bottom, width, thickness, colour);
  fill(p, thickness, height, colour);
  fill(right, thickness, height, colour);
}

/// Bresenham's algorithm, as it is usually written.
[[gnu::noinline]] inline void line(place p, int32_t width, int32_t height, uint16_t colour) {
  const int32_t dx = std::abs(width), dy = std::abs(height);
  const int32_t right = width < 0 ? -1 : 1, down = height < 0 ? -1 : 1;
  const bool is_steep = dy > dx;
  const int32_t steps = is_steep ? dy : dx, slope = is_steep ? dx : dy;
  int32_t x = 0, y = 0, error = 2 * slope - steps;
  for (int32_t i = 0; i <= steps; ++i) {
    *p.at(x, y) = colour;
    if (error >= 0) {
      (is_steep ? x : y) += is_steep ? right : down;
      error -= 2 * steps;
    }
    (is_steep ? y : x) += is_steep ? down : right;
    error += 2 * slope;
  }
}

/// The definition of the outline: points of half a circle, and those opposite, truncated.
[[gnu::noinline]] inline void circle(place centre, int32_t radius, uint16_t colour) {
  constexpr double pi = 3.141592653589793;
  const double r = radius, step = pi / (r * 3.6);
  double theta = 0.0;
  do {
    const double x = r * std::cos(theta), y = r * std::sin(theta);
    *centre.at(static_cast<int32_t>(centre.x + x) - centre.x, static_cast<int32_t>(centre.y + y) - centre.y) =
        colour;
    *centre.at(static_cast<int32_t>(centre.x - x) - centre.x, static_cast<int32_t>(centre.y - y) - centre.y) =
        colour;
    theta += step;
  } while (theta <= pi + step / 2);
}

[[gnu::noinline]] inline void disc(place centre, int32_t radius, uint16_t colour) {
  for (int32_t y = -radius; y < radius; ++y)
    for (int32_t x = -radius; x < radius; ++x)
      if ((2 * x + 1) * (2 * x + 1) + (2 * y + 1) * (2 * y + 1) < 4 * radius * radius)
        *centre.at(x, y) = colour;
}

/// Levels of four bits, the left pixel in bits 7:4. A transparent level 0 leaves its pixel unchanged.
[[gnu::noinline]] inline void artwork(place p, int32_t width, int32_t height, const uint8_t *levels,
                                      const uint16_t *colours, bool is_transparent) {
  for (int32_t y = 0; y < height; ++y) {
    uint16_t *const to = p.at(0, y);
    for (int32_t x = 0; x < width; ++x) {
      const unsigned byte = levels[static_cast<size_t>(y * width + x) / 2];
      const unsigned level = x % 2 == 0 ? byte >> 4 : byte & 15;
      if (level != 0 || !is_transparent)
        to[x] = colours[level];
    }
  }
}

/// A glyph whose rows have `(width + 7) / 8` bytes. Background 0 leaves the pixels of clear bits unchanged.
[[gnu::noinline]] inline void glyph(place p, int32_t width, int32_t height, const uint8_t *rows, uint16_t set,
                                    uint16_t clear) {
  for (int32_t y = 0; y < height; ++y, rows += (width + 7) / 8) {
    uint16_t *const to = p.at(0, y);
    for (int32_t x = 0; x < width; ++x)
      if ((rows[x / 8] & 0x80 >> x % 8) != 0)
        to[x] = set;
      else if (clear != 0)
        to[x] = clear;
  }
}

/// Rows of 16 bits from the bottom up, each pixel put by `put(to, colour)`.
template <class Put>
[[gnu::noinline]] void pixels(place p, int32_t width, int32_t height, const uint8_t *from, Put put) {
  const auto *pixel = reinterpret_cast<const uint16_t *>(from);
  for (int32_t y = height - 1; y >= 0; --y) {
    uint16_t *const to = p.at(0, y);
    for (int32_t x = 0; x < width; ++x)
      put(to + x, *pixel++);
  }
}

constexpr uint16_t rgb565(const uint8_t *bgr) {
  return static_cast<uint16_t>((bgr[2] >> 3) << 11 | (bgr[1] >> 2) << 5 | bgr[0] >> 3);
}

/// Read a BMP file of 8, 24 or 32 bits as a whole, and draw it.
[[gnu::noinline]] inline void bmp_file(place p, int32_t width, int32_t height, int32_t bits,
                                       const char *path) {
  static uint8_t bytes[65536];
  std::FILE *const file = std::fopen(path, "rb");
  if (file == nullptr)
    return;
  std::setvbuf(file, nullptr, _IONBF, 0);
  std::fread(bytes, 1, sizeof bytes, file);
  std::fclose(file);
  const size_t row_size = (static_cast<size_t>(width * bits) + 31) / 32 * 4;
  const uint8_t *row = bytes + 54 + (bits == 8 ? 1024 : 0);
  for (int32_t y = height - 1; y >= 0; --y, row += row_size) {
    uint16_t *const to = p.at(0, y);
    for (int32_t x = 0; x < width; ++x)
      to[x] = rgb565(bits == 8 ? bytes + 54 + row[x] * 4 : row + x * (bits / 8));
  }
}

/// By a table of 256 words.
[[gnu::noinline]] inline uint32_t crc32(std::span<const uint8_t> bytes) {
  static constexpr auto table = [] {
    struct {
      uint32_t words[256];
    } made = {};
    for (uint32_t i = 0; i < 256; ++i) {
      uint32_t value = i;
      for (int bit = 0; bit < 8; ++bit)
        value = value >> 1 ^ ((value & 1) != 0 ? 0xEDB88320U : 0);
      made.words[i] = value;
    }
    return made;
  }();
  uint32_t value = ~0U;
  for (const uint8_t byte : bytes)
    value = value >> 8 ^ table.words[(value ^ byte) & 0xFF];
  return ~value;
}

} // namespace bench::plain
