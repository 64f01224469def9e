// Pixels of pictures to the 16 levels of artwork, and back.
#pragma once

#include "dravik-art/archive_file.hpp"
#include "png/png_file.hpp"

#include <optional>
#include <string_view>

namespace dravik::art {

/// What the levels of an image are derived from. Level 0 is the background end of a ramp, 15 the foreground end.
enum class level_rule {
  automatic, ///< alpha where a picture has transparency, grey where it is opaque throughout
  alpha,     ///< opacity
  grey,      ///< brightness over black: white art
  inverted,  ///< darkness over white: black art
};

/// The rule of that name.
std::optional<level_rule> level_rule_named(std::string_view name) noexcept;

packed_image to_levels(const png::picture &from, level_rule rule);

/// Levels as an opaque picture from black to white; to_levels() makes the same image of it again.
png::picture to_grey(const image_record &record, std::span<const uint8_t> pixels);

} // namespace dravik::art
