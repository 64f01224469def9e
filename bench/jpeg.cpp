// JPEG images as large as the screen, read from the page cache.

#include "board.hpp"
#include "harness.hpp"

#include <array>
#include <cmath>
#include <cstdio>
#include <jpeglib.h>
#include <turbojpeg.h>

namespace bench {
namespace {

constexpr const char *folder = "/usr/local/dravik/jpg/";
constexpr JDIMENSION width = screen_width, height = screen_height;
constexpr int quality = 85;

using rgb_row = std::array<uint8_t, size_t{width} * 3>;

/// A row of a road under a bright sky, with some noise, as a camera records.
rgb_row camera_row(JDIMENSION y) {
  rgb_row row;
  uint32_t noise = y;
  for (JDIMENSION x = 0; x < width; ++x) {
    noise = noise * 1664525 + 1013904223;
    const double across = std::fabs(x - width / 2.0), below = y - height * 0.45;
    const bool is_road = below > 0 && across < below * 1.2, is_mark = is_road && across < below * 0.03;
    const double grain = noise >> 28, hills = 20 * std::sin(x / 40.0) * std::cos(y / 30.0);
    const double light = is_mark ? 220 : is_road ? 90 : below > 0 ? 110 + hills : 200 - 0.2 * y;
    row[x * 3] = static_cast<uint8_t>(light - 20 + grain);
    row[x * 3 + 1] = static_cast<uint8_t>(light + (is_road ? -20 : 5) + grain);
    row[x * 3 + 2] = static_cast<uint8_t>(light + (below > 0 ? -30 : 30) + grain);
  }
  return row;
}

/// Create a 4:2:0 image on the board.
std::string make_picture(const char *name, bool is_progressive) {
  std::string path = std::string(folder) + name;
  std::FILE *file = open_on_board(path, "wb");
  jpeg_error_mgr errors;
  jpeg_compress_struct encoder;
  encoder.err = jpeg_std_error(&errors);
  jpeg_create_compress(&encoder);
  jpeg_stdio_dest(&encoder, file);
  encoder.image_width = width;
  encoder.image_height = height;
  encoder.input_components = 3;
  encoder.in_color_space = JCS_RGB;
  jpeg_set_defaults(&encoder);
  jpeg_set_quality(&encoder, quality, TRUE);
  if (is_progressive)
    jpeg_simple_progression(&encoder);
  jpeg_start_compress(&encoder, TRUE);
  for (JDIMENSION y = 0; y < height; ++y) {
    rgb_row pixels = camera_row(y);
    JSAMPROW row = pixels.data();
    jpeg_write_scanlines(&encoder, &row, 1);
  }
  jpeg_finish_compress(&encoder);
  jpeg_destroy_compress(&encoder);
  std::fclose(file);
  return path;
}

/// The usual loop, one pixel after the other. Black is kept free.
void convert(uint16_t *to, const uint8_t *from) {
  for (JDIMENSION x = 0; x < width; ++x, from += 3) {
    const auto colour = static_cast<uint16_t>(from[0] >> 3 << 11 | from[1] >> 2 << 5 | from[2] >> 3);
    to[x] = (colour & 0xF7FE) == 0 ? DRAVIK_BLACK : colour;
  }
}

/// Decode to the rows of `row_at` and pass each to `take`.
template <class RowAt, class Take>
void decode(const std::string &path, J_COLOR_SPACE colours, RowAt row_at, Take take) {
  std::FILE *file = std::fopen(path.c_str(), "rb");
  jpeg_error_mgr errors;
  jpeg_decompress_struct decoder;
  decoder.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&decoder);
  jpeg_stdio_src(&decoder, file);
  jpeg_read_header(&decoder, TRUE);
  decoder.out_color_space = colours;
  decoder.dither_mode = JDITHER_NONE;
  jpeg_start_decompress(&decoder);
  for (JDIMENSION y = 0; y < height; ++y) {
    JSAMPROW row = row_at(y);
    jpeg_read_scanlines(&decoder, &row, 1);
    take(y);
  }
  jpeg_finish_decompress(&decoder);
  jpeg_destroy_decompress(&decoder);
  std::fclose(file);
}

void draw_rows(const std::string &path) {
  static rgb_row row;
  decode(
      path, JCS_RGB, [](JDIMENSION) { return row.data(); },
      [](JDIMENSION y) { convert(pixel_at(0, static_cast<int>(y)), row.data()); });
}

/// libjpeg-turbo's own RGB565, without the substitution of near-black; the image has none.
void draw_rgb565(const std::string &path) {
  decode(
      path, JCS_RGB565,
      [](JDIMENSION y) { return reinterpret_cast<JSAMPROW>(pixel_at(0, static_cast<int>(y))); },
      [](JDIMENSION) {});
}

void decode_only(const std::string &path) {
  static rgb_row row;
  decode(
      path, JCS_RGB, [](JDIMENSION) { return row.data(); }, [](JDIMENSION) {});
}

/// TurboJPEG decodes whole images from memory to memory.
void draw_by_turbojpeg(const std::string &path) {
  static const tjhandle decoder = tjInitDecompress();
  static std::array<uint8_t, size_t{1} << 18> file_bytes;
  static std::array<uint8_t, size_t{width} * height * 3> pixels;
  std::FILE *file = std::fopen(path.c_str(), "rb");
  const size_t size = std::fread(file_bytes.data(), 1, file_bytes.size(), file);
  std::fclose(file);
  tjDecompress2(decoder, file_bytes.data(), size, pixels.data(), width, 0, height, TJPF_RGB, 0);
  for (int y = 0; y < screen_height; ++y)
    convert(pixel_at(0, y), &pixels[static_cast<size_t>(y) * width * 3]);
}

void add_picture(const char *kind, bool is_progressive) {
  const std::string name = std::string(kind) + ".jpg";
  row<std::string>("JPEG 640x480, " + std::string(kind), {1.10, 1.20},
                   {make_picture(name.c_str(), is_progressive)})
      .library([name](const std::string &) { fb_put_jpeg_file(0, 0, name.c_str(), DRAVIK_TOP_LEFT); })
      .peer("TurboJPEG", draw_by_turbojpeg)
      .peer("libjpeg RGB", draw_rows)
      .peer("libjpeg RGB565", draw_rgb565)
      .floor(decode_only);
}

} // namespace

void add_jpeg() {
  add_picture("baseline", false);
  add_picture("progressive", true);
}

} // namespace bench
