// RGB565 from channels.
#pragma once

#include <cstdint>

namespace dravik::fb {

/// RGB565 from channels of 5, 6 and 5 bits.
constexpr uint16_t rgb565(uint32_t red, uint32_t green, uint32_t blue) noexcept {
  return static_cast<uint16_t>(red << 11 | green << 5 | blue);
}

/// RGB565 from channels of 8 bits, truncated.
constexpr uint16_t truncated_rgb565(uint32_t red, uint32_t green, uint32_t blue) noexcept {
  return rgb565(red >> 3, green >> 2, blue >> 3);
}

/// Order of 8-bit channels in the low bytes of a word, from the lowest.
enum class channel_order { rgb, bgr };

/// truncated_rgb565() of the channels of one word, or of each word in a vector; the highest byte is ignored.
template <channel_order Order, class Words> constexpr Words truncated_rgb565(Words channels) noexcept {
  const Words green = channels >> 5 & 0x07E0;
  if constexpr (Order == channel_order::rgb) {
    return (channels << 8 & 0xF800) | green | (channels >> 19 & 0x001F);
  } else {
    return (channels >> 8 & 0xF800) | green | (channels >> 3 & 0x001F);
  }
}

} // namespace dravik::fb
