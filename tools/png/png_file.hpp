// PNG files as blocks of RGBA pixels, for the tools.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace dravik::png {

struct picture {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint8_t> rgba; ///< four bytes per pixel, rows from the top without padding
};

struct size {
  uint32_t width = 0;
  uint32_t height = 0;
};

/// Maximum number of pixels of read(): a few bytes of file can claim any.
inline constexpr uint64_t most_pixels = 1 << 26;

/// Whether an image of this size is within the limit.
constexpr bool is_bearable(uint64_t width, uint64_t height) noexcept {
  return height == 0 || width <= most_pixels / height;
}

/// Read the size of a PNG and nothing else. On failure returns false and set `error`.
[[nodiscard]] bool read_size(const std::string &path, size &into, std::string &error);

/// Read any PNG of up to ::most_pixels. On failure returns false and set `error`.
[[nodiscard]] bool read(const std::string &path, picture &into, std::string &error);

/// Write a PNG completely or not at all: on failure an existing file of that name is unchanged.
[[nodiscard]] bool write(const std::string &path, const picture &from, std::string &error);
/// Write a PNG to a stream and flush it; `name` is for messages.
[[nodiscard]] bool write(std::FILE *stream, const char *name, const picture &from, std::string &error);

} // namespace dravik::png
