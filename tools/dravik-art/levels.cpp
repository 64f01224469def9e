// Levels: each is the nearest sixteenth step of a pixel's opacity, brightness or darkness.

#include "dravik-art/levels.hpp"

#include <algorithm>

namespace dravik::art {
namespace {

struct colour {
  uint32_t red, green, blue, alpha;
};

constexpr uint32_t full = 255;
/// Sum of the weights of red, green and blue in brightness.
constexpr uint32_t weights = 1000;

constexpr uint32_t brightness(const colour &of) noexcept {
  return 299 * of.red + 587 * of.green + 114 * of.blue;
}

/// value / whole of 15, rounded to nearest.
constexpr uint8_t level_of(uint32_t value, uint32_t whole) noexcept {
  return static_cast<uint8_t>((uint64_t{value} * 30 + whole) / (uint64_t{whole} * 2));
}
static_assert(level_of(8, full) == 0 && level_of(9, full) == 1 && level_of(246, full) == 14 &&
              level_of(247, full) == 15);

constexpr uint8_t level_of(const colour &of, level_rule rule) noexcept {
  constexpr uint32_t white = weights * full;
  switch (rule) {
  case level_rule::grey:
    return level_of(brightness(of) * of.alpha, white * full);
  case level_rule::inverted:
    return level_of((white - brightness(of)) * of.alpha, white * full);
  default:
    return level_of(of.alpha, full);
  }
}

bool has_transparency(const png::picture &of) noexcept {
  for (size_t i = 3; i < of.rgba.size(); i += 4)
    if (of.rgba[i] != full)
      return true;
  return false;
}

} // namespace

std::optional<level_rule> level_rule_named(std::string_view name) noexcept {
  if (name == "auto")
    return level_rule::automatic;
  if (name == "alpha")
    return level_rule::alpha;
  if (name == "grey")
    return level_rule::grey;
  if (name == "inverted")
    return level_rule::inverted;
  return {};
}

packed_image to_levels(const png::picture &from, level_rule rule) {
  if (rule == level_rule::automatic)
    rule = has_transparency(from) ? level_rule::alpha : level_rule::grey;
  const size_t row_bytes = (size_t{from.width} + 1) / 2;
  packed_image into{from.width, from.height, std::vector<uint8_t>(row_bytes * from.height)};
  const uint8_t *pixel = from.rgba.data();
  for (uint32_t y = 0; y < from.height; ++y) {
    uint8_t *const row = into.pixels.data() + y * row_bytes;
    for (uint32_t x = 0; x < from.width; ++x, pixel += 4) {
      const uint8_t level = level_of(colour{pixel[0], pixel[1], pixel[2], pixel[3]}, rule);
      row[x / 2] = static_cast<uint8_t>(row[x / 2] | level << (x % 2 == 0 ? 4 : 0));
    }
  }
  return into;
}

png::picture to_grey(const image_record &record, std::span<const uint8_t> pixels) {
  png::picture into{record.width, record.height, {}};
  into.rgba.reserve(size_t{record.width} * record.height * 4);
  const auto row_bytes = static_cast<size_t>(record.row_bytes());
  for (uint32_t y = 0; y < record.height; ++y) {
    const auto row = pixels.subspan(y * row_bytes, row_bytes);
    for (uint32_t x = 0; x < record.width; ++x) {
      const int level = x % 2 == 0 ? row[x / 2] >> 4 : row[x / 2] & 15;
      const auto grey = static_cast<uint8_t>(level * 17);
      into.rgba.insert(into.rgba.end(), {grey, grey, grey, uint8_t{full}});
    }
  }
  return into;
}

} // namespace dravik::art
