// The screen of a board as a picture, and its differences from another one.

#include "scenario/screen_picture.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace dravik::sim::scenario {
namespace {

constexpr size_t pixel_bytes = 4;
constexpr size_t colour_channels = 3;
constexpr uint8_t opaque = 255;
constexpr uint8_t red[pixel_bytes] = {255, 0, 0, opaque};

/// Transparent pixels of an expected picture are compared by their colour: a screen has none.
uint32_t distance(const uint8_t *one, const uint8_t *other) {
  uint32_t greatest = 0;
  for (size_t channel = 0; channel < colour_channels; ++channel)
    greatest = std::max(greatest, static_cast<uint32_t>(std::abs(one[channel] - other[channel])));
  return greatest;
}

/// A quarter of its contrast, towards white.
void fade(uint8_t *pixel) {
  for (size_t channel = 0; channel < colour_channels; ++channel)
    pixel[channel] = static_cast<uint8_t>(255 - (255 - pixel[channel]) / 4);
}

} // namespace

png::picture picture_of(const screen_image &image) {
  png::picture picture{image.width, image.height, {}};
  picture.rgba.reserve(size_t{image.width} * image.height * pixel_bytes);
  for (const uint8_t *pixel = image.pixels.data(); pixel != image.pixels.data() + image.pixels.size();
       pixel += image.bytes_per_pixel) {
    const colour shown = colour_at(pixel, image.bytes_per_pixel);
    picture.rgba.insert(picture.rgba.end(), {shown.red, shown.green, shown.blue, opaque});
  }
  return picture;
}

png::picture cut_out(const png::picture &from, const rectangle &part) {
  png::picture cut{part.width, part.height, {}};
  for (uint32_t y = part.y; y < part.y + part.height; ++y) {
    const uint8_t *row = from.rgba.data() + (size_t{y} * from.width + part.x) * pixel_bytes;
    cut.rgba.insert(cut.rgba.end(), row, row + part.width * pixel_bytes);
  }
  return cut;
}

picture_difference compare(const png::picture &one, const png::picture &other, uint32_t tolerance) {
  picture_difference found;
  for (size_t i = 0; i < one.rgba.size(); i += pixel_bytes) {
    const uint32_t pixel = distance(one.rgba.data() + i, other.rgba.data() + i);
    found.greatest = std::max(found.greatest, pixel);
    if (pixel <= tolerance)
      continue;
    if (found.pixels++ == 0) {
      found.x = static_cast<uint32_t>(i / pixel_bytes % one.width);
      found.y = static_cast<uint32_t>(i / pixel_bytes / one.width);
    }
  }
  return found;
}

png::picture show_difference(const png::picture &shown, const png::picture &expected, uint32_t tolerance) {
  png::picture picture = shown;
  for (size_t i = 0; i < picture.rgba.size(); i += pixel_bytes)
    if (distance(shown.rgba.data() + i, expected.rgba.data() + i) <= tolerance)
      fade(picture.rgba.data() + i);
    else
      std::copy_n(red, pixel_bytes, picture.rgba.data() + i);
  return picture;
}

bool is_same(const screen_image &one, const screen_image &other, const std::optional<rectangle> &part) {
  if (one.width != other.width || one.height != other.height || one.bytes_per_pixel != other.bytes_per_pixel)
    return false;
  const rectangle area = part.value_or(rectangle{0, 0, one.width, one.height});
  if (!is_inside(area, one.width, one.height))
    return true;
  for (uint32_t y = area.y; y < area.y + area.height; ++y) {
    const size_t begin = y * one.line_bytes() + size_t{area.x} * one.bytes_per_pixel;
    if (std::memcmp(one.pixels.data() + begin, other.pixels.data() + begin,
                    size_t{area.width} * one.bytes_per_pixel) != 0)
      return false;
  }
  return true;
}

} // namespace dravik::sim::scenario
