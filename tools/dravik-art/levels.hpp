// Conversion of PNG pixels to the 16 levels of artwork, and back.
#pragma once

#include "dravik-art/archive_file.hpp"
#include "png/png_file.hpp"

#include <optional>
#include <string_view>

namespace dravik::art {

/// The source of an image's levels. Level 0 is the background end of a ramp, 15 the foreground end.
enum class level_rule {
  automatic, ///< alpha if an image has transparency, grey if it is opaque throughout
  alpha,     ///< opacity
  grey,      ///< brightness over black: white art
  inverted,  ///< darkness over white: black art
};

/// The rule of that name.
std::optional<level_rule> level_rule_named(std::string_view name) noexcept;

packed_image to_levels(const png::picture &from, level_rule rule);

/// Levels as an opaque image from black to white; to_levels() is the inverse.
png::picture to_grey(const image_record &record, std::span<const uint8_t> pixels);

} // namespace dravik::art
