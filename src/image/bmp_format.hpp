// Header of a BMP file.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace dravik::image {

inline constexpr size_t bmp_header_size = 54;
inline constexpr uint16_t bmp_silhouette = 0x7BCF; ///< colour of silhouettes

struct bmp_header {
  bool has_signature;
  uint32_t file_size;
  uint32_t data_offset;
  uint32_t info_size;
  uint32_t width;
  uint32_t height; ///< unsigned: an image stored top-down has an enormous height
  uint16_t bits;
  uint32_t data_size;
  uint32_t important_colours;
};

bmp_header read_bmp_header(std::span<const uint8_t, bmp_header_size> bytes) noexcept;

/// Export the header as ::bmpinfo.
void publish_bmp_header(const bmp_header &header) noexcept;

/// Return the bytes from one row to the next in the file, a multiple of four.
constexpr uint32_t bmp_row_size(uint32_t width, uint32_t bits) noexcept {
  return ((width * bits + 31) >> 5) * 4;
}

} // namespace dravik::image
