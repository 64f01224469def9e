// Packed artwork made from its parts, right or wrong.
#pragma once

#include "support/bytes.hpp"

#include <cstring>
#include <optional>

namespace dravik::test {

/// One image: a level from 0 to 15 per pixel, top row first.
struct art_image {
  uint32_t width, height;
  bytes levels;

  uint8_t level(uint32_t x, uint32_t y) const { return levels.at(size_t{y} * width + x); }
};

inline art_image random_art(std::mt19937 &random, uint32_t width, uint32_t height) {
  art_image made = {width, height, bytes(size_t{width} * height)};
  for (uint8_t &level : made.levels)
    level = static_cast<uint8_t>(random() & 15);
  return made;
}

/// An archive of some images. The unused half of a row's last byte is filled with ones.
struct archive_maker {
  std::vector<art_image> images = {};
  std::string magic = "KORVEXQ7";
  std::optional<uint32_t> count = {}, file_size = {};

  static bytes packed(const art_image &image) {
    bytes made;
    for (uint32_t y = 0; y < image.height; ++y)
      for (uint32_t x = 0; x < image.width; x += 2) {
        const unsigned right = x + 1 < image.width ? image.level(x + 1, y) : 15;
        made.push_back(static_cast<uint8_t>(image.level(x, y) << 4 | right));
      }
    return made;
  }

  bytes file() const {
    bytes made(16 * (images.size() + 1));
    std::memcpy(made.data(), magic.data(), 8);
    for (size_t i = 0; i < images.size(); ++i) {
      put_u32(made, 16 * (i + 1), images[i].width);
      put_u32(made, 16 * (i + 1) + 4, images[i].height);
      put_u32(made, 16 * (i + 1) + 8, static_cast<uint32_t>(made.size()));
      append(made, packed(images[i]));
    }
    put_u32(made, 8, count.value_or(static_cast<uint32_t>(images.size())));
    put_u32(made, 12, file_size.value_or(static_cast<uint32_t>(made.size())));
    return made;
  }
};

} // namespace dravik::test
