// The screen of a board as a picture, and its differences from another one.
#pragma once

#include "host/screen_image.hpp"
#include "png/png_file.hpp"
#include "scenario/steps.hpp"

#include <cstdint>
#include <optional>

namespace dravik::sim::scenario {

/// The picture that `dravik-sim shot` saves.
png::picture picture_of(const screen_image &image);

/// A part that is completely on the picture.
png::picture cut_out(const png::picture &from, const rectangle &part);

constexpr bool is_inside(const rectangle &part, uint32_t width, uint32_t height) noexcept {
  return part.x <= width && part.width <= width - part.x && part.y <= height &&
         part.height <= height - part.y;
}

struct picture_difference {
  uint64_t pixels = 0;   ///< that differ
  uint32_t x = 0, y = 0; ///< the first of them
  uint32_t greatest = 0; ///< difference of a colour channel
};

/// Of two pictures of one size. Pixels that differ by at most `tolerance` in each channel are the same.
picture_difference compare(const png::picture &one, const png::picture &other, uint32_t tolerance);

/// A picture of the differences: what is the same is faded, what differs is red.
png::picture show_difference(const png::picture &shown, const png::picture &expected, uint32_t tolerance);

/// Whether two images of a screen are the same, in a part or everywhere.
bool is_same(const screen_image &one, const screen_image &other, const std::optional<rectangle> &part);

} // namespace dravik::sim::scenario
