// Screenshots: 640 by 480 pixels, saved on the memory card as a BMP file with RGB565 masks.

#include "base/unique_file.hpp"
#include "dravik.h"

#include <array>
#include <bit>
#include <ctime>

namespace dravik::image {
namespace {

constexpr uint32_t width = 640;
constexpr uint32_t height = 480;
constexpr uint32_t data_offset = 66; ///< after the header and the three masks
constexpr uint32_t data_size = width * height * 2;
constexpr uint32_t file_size = data_offset + data_size;
constexpr uint32_t pixels_per_metre = 2834;
constexpr size_t buffer_size = 32768; ///< memory cards are faster with long writes
constexpr uint32_t with_masks = 3;    ///< compression code of files with channel masks

static_assert(std::endian::native == std::endian::little, "pixels go to the file as they are in memory");

using file_header = std::array<uint8_t, data_offset>;

constexpr file_header header = [] {
  file_header bytes = {'B', 'M'};
  const auto put = [&bytes](size_t at, size_t size, uint32_t value) {
    for (size_t i = 0; i < size; ++i)
      bytes[at + i] = static_cast<uint8_t>(value >> (8 * i));
  };
  put(2, 4, file_size);
  put(6, 4, file_size); // Intentional: the two reserved words repeat the size
  put(10, 4, data_offset);
  put(14, 4, 40); // size of the information header
  put(18, 4, width);
  put(22, 4, height);
  put(26, 2, 1); // planes
  put(28, 2, 16);
  put(30, 4, with_masks);
  put(34, 4, data_size);
  put(38, 4, pixels_per_metre);
  put(42, 4, pixels_per_metre);
  put(54, 4, 0xF800);
  put(58, 4, 0x07E0);
  put(62, 4, 0x001F);
  return bytes;
}();

using file_path = std::array<char, 40>;

file_path path_of_now() noexcept {
  const time_t seconds = std::time(nullptr);
  const tm *now = std::localtime(&seconds);
  file_path path;
  std::snprintf(path.data(), path.size(), "/tmp/mmcblk0p1/q7_%02d%02d%02d.bmp", now->tm_hour, now->tm_min,
                now->tm_sec);
  return path;
}

int save(const uint16_t *pixels) noexcept {
  std::array<char, buffer_size> buffer; // outlives the stream
  unique_file file = open_file(path_of_now().data(), "w");
  if (file == nullptr)
    return -1;
  std::setvbuf(file.get(), buffer.data(), _IOFBF, buffer.size());
  std::fwrite(header.data(), 1, header.size(), file.get());
  for (uint32_t row = height; row-- > 0;)
    std::fwrite(pixels + size_t{row} * width, 2, width, file.get());
  const bool is_whole = std::ferror(file.get()) == 0; // closing reports errors of its own writes only
  return std::fclose(file.release()) == 0 && is_whole ? 0 : -1;
}

} // namespace
} // namespace dravik::image

extern "C" {

int fb_get_bmp_file(const uint16_t *pixels) noexcept {
  return dravik::image::save(pixels);
}

} // extern "C"
