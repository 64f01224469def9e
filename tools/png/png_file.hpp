// PNG files as blocks of RGBA pixels, for the tools that people use.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace dravik::png {

struct picture {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint8_t> rgba; ///< four bytes a pixel, rows from the top without padding
};

struct size {
  uint32_t width = 0;
  uint32_t height = 0;
};

/// The largest number of pixels that read() takes: a few bytes of file can claim any.
inline constexpr uint64_t most_pixels = 1 << 26;

/// Whether a picture of that size is within the limit.
constexpr bool is_bearable(uint64_t width, uint64_t height) noexcept {
  return height == 0 || width <= most_pixels / height;
}

/// Reads the size of a PNG and nothing else. On failure gives false and says why in `error`.
[[nodiscard]] bool read_size(const std::string &path, size &into, std::string &error);

/// Reads any PNG of up to ::most_pixels. On failure gives false and says why in `error`.
[[nodiscard]] bool read(const std::string &path, picture &into, std::string &error);

/// Writes a PNG, the whole of it or nothing: a file of that name stays as it was when writing fails.
[[nodiscard]] bool write(const std::string &path, const picture &from, std::string &error);

} // namespace dravik::png
