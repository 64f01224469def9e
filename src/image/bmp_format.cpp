// Reading BMP headers.

#include "image/bmp_format.hpp"

#include "base/byte_reader.hpp"
#include "dravik.h"

extern "C" {
constinit uint32_t bmpinfo[BMPINFO_WORDS] = {};
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
  bmpinfo[BMPINFO_WIDTH] = header.width;
  bmpinfo[BMPINFO_HEIGHT] = header.height;
  bmpinfo[BMPINFO_BITS_PER_PIXEL] = header.bits;
  bmpinfo[BMPINFO_FILE_SIZE] = header.file_size;
  bmpinfo[BMPINFO_DATA_SIZE] = header.data_size;
  bmpinfo[BMPINFO_INFO_SIZE] = header.info_size;
  bmpinfo[BMPINFO_DATA_OFFSET] = header.data_offset;
}

} // namespace dravik::image
