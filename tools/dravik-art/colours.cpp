// RGB565 colours as pixels of PNG images.

#include "dravik-art/colours.hpp"

namespace dravik::art {

std::array<uint8_t, 4> to_rgba(uint16_t colour) noexcept {
  const int red = colour >> 11, green = colour >> 5 & 63, blue = colour & 31;
  return {static_cast<uint8_t>(red << 3 | red >> 2), static_cast<uint8_t>(green << 2 | green >> 4),
          static_cast<uint8_t>(blue << 3 | blue >> 2), 255};
}

} // namespace dravik::art
