// Names of images for applications in C and C++.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace dravik::art {

struct named_image {
  std::string file; ///< the file that it was made from, which names it
  uint32_t width;
  uint32_t height;
};

/// The text of a header `path` that counts the images from 0: for "icons.h", an enum icons_image of
/// ICONS_... names and ICONS_COUNT. Return false and name two equal names in `error` on failure.
[[nodiscard]] bool make_c_header(const std::string &path, std::span<const named_image> images,
                                 std::string &text, std::string &error);

} // namespace dravik::art
