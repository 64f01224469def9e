// The one reader of BMP headers.

#include "image/bmp_format.hpp"

#include "base/byte_reader.hpp"
#include "dravik.h"

#include <algorithm>

extern "C" {
constinit uint32_t bmpinfo[7] = {};
}

namespace dravik::image {

bmp_header read_bmp_header(std::span<const uint8_t, bmp_header_size> bytes) noexcept {
  byte_reader reader{bytes};
  bmp_header header = {};
  header.has_signature = reader.u16le() == ('B' | 'M' << 8);
  header.file_size = reader.u32le();
  reader.seek(10);
  header.data_offset = reader.u32le();
  header.info_size = reader.u32le();
  header.width = reader.u32le();
  header.height = reader.u32le();
  reader.seek(28);
  header.bits = reader.u16le();
  reader.seek(34);
  header.data_size = reader.u32le();
  reader.seek(50);
  header.important_colours = reader.u32le();
  return header;
}

void publish_bmp_header(const bmp_header &header) noexcept {
  const uint32_t info[std::size(bmpinfo)] = {header.width,      header.height,    header.bits,
                                             header.file_size,  header.data_size, header.info_size,
                                             header.data_offset};
  std::ranges::copy(info, bmpinfo);
}

} // namespace dravik::image
