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

/// Reads any PNG. On failure gives false and says why in `error`.
[[nodiscard]] bool read(const std::string &path, picture &into, std::string &error);

/// Writes a PNG, the whole of it or nothing: a file of that name stays as it was when writing fails.
[[nodiscard]] bool write(const std::string &path, const picture &from, std::string &error);

} // namespace dravik::png
