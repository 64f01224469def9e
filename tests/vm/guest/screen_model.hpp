// A plain model of the visible screen, and the frame buffer as the device returns it.
#pragma once

#include "dravik.h"
#include "guest.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

namespace dravik::vm {

struct screen_model {
  screen_model(uint32_t columns, uint32_t rows) : width(columns), height(rows), pixels(width * height) {}

  void fill(uint32_t x0, uint32_t y0, uint32_t x1, uint32_t y1, uint16_t colour) {
    for (uint32_t y = y0; y <= y1; ++y)
      for (uint32_t x = x0; x <= x1; ++x)
        pixels[y * width + x] = colour;
  }

  uint32_t width, height;
  std::vector<uint16_t> pixels;
};

/// Return the bytes of "/dev/fb0" by read(), not through the library's mapping.
inline std::string device_bytes() {
  return read_text("/dev/fb0").substr(0, size_t{fbinfo[FBINFO_LINE_LENGTH]} * fbinfo[FBINFO_YRES]);
}

/// Return the visible pixels of the device, without padding.
inline std::vector<uint16_t> device_pixels() {
  const std::string bytes = device_bytes();
  const size_t row_bytes = size_t{fbinfo[FBINFO_XRES]} * 2;
  std::vector<uint16_t> pixels(fbinfo[FBINFO_XRES] * fbinfo[FBINFO_YRES]);
  for (size_t y = 0; y < fbinfo[FBINFO_YRES]; ++y)
    if ((y + 1) * fbinfo[FBINFO_LINE_LENGTH] <= bytes.size())
      std::memcpy(&pixels[y * fbinfo[FBINFO_XRES]], &bytes[y * fbinfo[FBINFO_LINE_LENGTH]], row_bytes);
  return pixels;
}

/// Whether each byte after the visible pixels of a line is zero.
inline bool is_padding_clear() {
  const std::string bytes = device_bytes();
  const size_t line = fbinfo[FBINFO_LINE_LENGTH], visible = size_t{fbinfo[FBINFO_XRES]} * 2;
  for (size_t i = 0; i < bytes.size(); ++i)
    if (i % line >= visible && bytes[i] != '\0')
      return false;
  return true;
}

} // namespace dravik::vm
