// JPEG images through libjpeg, row by row to the screen.

#include "base/unaligned.hpp"
#include "base/unique_file.hpp"
#include "fb/clip.hpp"
#include "fb/colours.hpp"
#include "fb/fill.hpp"
#include "fb/vectors.hpp"
#include "image/placement.hpp"

#include <array>
#include <climits>
#include <csetjmp>
#include <cstdio>
#include <jpeglib.h>

extern "C" {
constinit uint32_t jpeginfo[JPEGINFO_WORDS] = {};
}

static_assert(JPEG_LIB_VERSION == 62, "the library speaks the interface of libjpeg 6b");

namespace dravik::image {
namespace {

using fb::pixel;

constexpr const char *directory = "/usr/local/dravik/jpg";

/// libjpeg's error manager, and the target of its fatal errors.
struct error_context {
  jpeg_error_mgr manager; // first, so that libjpeg's pointer to it also points to the whole
  jmp_buf failed;
};

extern "C" [[noreturn]] void leave_decoder(j_common_ptr decoder) noexcept {
  decoder->err->output_message(decoder);
  std::longjmp(reinterpret_cast<error_context *>(decoder->err)->failed, 1); // NOLINT(cert-err52-cpp)
}

/// The part of each row that is on the screen, and its position. Rows off the screen have no columns.
struct canvas {
  fb::surface on;
  position at;
  fb::range columns; ///< of the image

  fb::range columns_of(int64_t row) const noexcept {
    const int64_t y = at.y + row;
    return y >= 0 && y < on.height ? columns : fb::range{0, -1};
  }
};

fb::range visible_columns(int32_t x, uint32_t width, const fb::surface &on) noexcept {
  const int64_t first = x < 0 ? -int64_t{x} : 0;
  const int64_t last = std::min<int64_t>(int64_t{width} - 1, int64_t{on.width} - 1 - x);
  return first <= last ? fb::range{static_cast<int32_t>(first), static_cast<int32_t>(last)}
                       : fb::range{0, -1};
}

/// Replace black and its neighbours by the library's black.
constexpr uint16_t visible_colour(uint16_t colour) noexcept {
  return (colour & 0xF7FE) == 0 ? DRAVIK_BLACK : colour;
}

/// Convert pixels of `components` bytes each. Images with fewer than three are greyscale.
inline void convert(pixel *to, const uint8_t *from, size_t count, size_t components) noexcept {
  const size_t green = components >= 3 ? 1 : 0, blue = components >= 3 ? 2 : 0;
  for (size_t i = 0; i < count; ++i, from += components)
    to[i] = visible_colour(fb::truncated_rgb565(from[0], from[green], from[blue]));
}

using words = fb::vector_of_4;
using lanes = fb::vector_of_8;

/// Load four words that start at the first, third, fifth and seventh pixel.
words every_second_pixel(const uint8_t *from) noexcept {
  return words{load<uint32_t>(from), load<uint32_t>(from + 6), load<uint32_t>(from + 12),
               load<uint32_t>(from + 18)};
}

words rgb565_of(words channels) noexcept {
  return fb::truncated_rgb565<fb::channel_order::rgb>(channels);
}

lanes visible_colours(lanes colours) noexcept {
  return (colours & 0xF7FE) == 0 ? lanes{} + DRAVIK_BLACK : colours;
}

/// Machines with 16-byte registers convert eight pixels at a time; the last word extends into a ninth.
void convert_rgb(pixel *to, const uint8_t *from, size_t count) noexcept {
  for (; fb::has_wide_registers && count > 8; count -= 8, to += 8, from += 24) {
    const words left = rgb565_of(every_second_pixel(from));
    const words right = rgb565_of(every_second_pixel(from + 3));
    fb::store(to, visible_colours(reinterpret_cast<lanes>(left | right << 16)));
  }
  convert(to, from, count, 3);
}

void convert_row(pixel *to, const uint8_t *from, size_t count, size_t components) noexcept {
  if (components == 3)
    return convert_rgb(to, from, count);
  if (components == 1)
    return convert(to, from, count, 1);
  convert(to, from, count, components);
}

void warn_if_off_screen(const canvas &to, uint32_t width, uint32_t height) noexcept {
  if (fits(to.on, to.at, width, height))
    return;
  const int xres = to.on.width, yres = to.on.height;
  const position last = last_pixel(to.at, width, height);
  std::fprintf(stderr, "JPG image is out of range!\n");
  std::fprintf(stderr, "Canvas size : %4d x %4d (%4d,%4d)-->(%4d,%4d)\n", xres, yres, 0, 0, xres - 1,
               yres - 1);
  std::fprintf(stderr, " Image size : %4d x %4d (%4d,%4d)-->(%4d,%4d)\n", static_cast<int>(width),
               static_cast<int>(height), to.at.x, to.at.y, last.x, last.y);
}

canvas prepare_canvas(const jpeg_decompress_struct &decoder, position at, uint32_t align) noexcept {
  jpeginfo[JPEGINFO_WIDTH] = decoder.image_width;
  jpeginfo[JPEGINFO_HEIGHT] = decoder.image_height;
  jpeginfo[JPEGINFO_OUTPUT_WIDTH] = decoder.output_width;
  jpeginfo[JPEGINFO_OUTPUT_HEIGHT] = decoder.output_height;
  const auto width = static_cast<int32_t>(decoder.image_width),
             height = static_cast<int32_t>(decoder.image_height);
  canvas to = {fb::screen(), placed(at, width, height, static_cast<int32_t>(align)), {}};
  to.columns = visible_columns(to.at.x, decoder.output_width, to.on);
  warn_if_off_screen(to, decoder.image_width, decoder.image_height);
  return to;
}

/// Everything between creating and finishing the decoder. Its locals are trivial, because fatal errors jump
/// out of it.
void decode(jpeg_decompress_struct &decoder, std::FILE *file, position at, uint32_t align) noexcept {
  jpeg_stdio_src(&decoder, file);
  jpeg_read_header(&decoder, TRUE);
  jpeg_start_decompress(&decoder);
  const auto components = static_cast<JDIMENSION>(decoder.output_components);
  // One byte longer than a row, so that it starts at an odd address: decoders write aligned rows past the
  // cache, and the conversion reads them immediately.
  JSAMPARRAY rows = decoder.mem->alloc_sarray(reinterpret_cast<j_common_ptr>(&decoder), JPOOL_IMAGE,
                                              decoder.output_width * components + 1, 1);
  JSAMPROW row = rows[0] + 1;
  const canvas to = prepare_canvas(decoder, at, align);
  while (decoder.output_scanline < decoder.output_height) {
    const JDIMENSION n = decoder.output_scanline;
    jpeg_read_scanlines(&decoder, &row, 1);
    const fb::range columns = to.columns_of(n);
    if (columns.empty())
      continue;
    convert_row(to.on.at(to.at.x + columns.first, to.at.y + static_cast<int32_t>(n)),
                row + static_cast<size_t>(columns.first) * components, columns.count(), components);
  }
  jpeg_finish_decompress(&decoder);
}

/// Draw an open file. Return false after a fatal error, which libjpeg has reported on standard error.
bool draw_stream(std::FILE *file, position at, uint32_t align) noexcept {
  error_context errors;
  jpeg_decompress_struct decoder;
  decoder.err = jpeg_std_error(&errors.manager);
  errors.manager.error_exit = leave_decoder;
  if (setjmp(errors.failed) != 0) { // NOLINT(cert-err52-cpp): how libjpeg reports
    jpeg_destroy_decompress(&decoder);
    return false;
  }
  jpeg_create_decompress(&decoder);
  decode(decoder, file, at, align);
  jpeg_destroy_decompress(&decoder);
  return true;
}

int draw_file(position at, const char *name, uint32_t align) noexcept {
  std::array<char, PATH_MAX> path;
  const int length = std::snprintf(path.data(), path.size(), "%s/%s", directory, name);
  const bool fits = length >= 0 && static_cast<size_t>(length) < path.size();
  const unique_file file = fits ? open_unbuffered(path.data(), "r") : nullptr;
  if (file == nullptr) {
    std::fprintf(stderr, "can't open %s/%s\n", directory, name);
    return -1;
  }
  return draw_stream(file.get(), at, align) ? 0 : -1;
}

} // namespace
} // namespace dravik::image

extern "C" {

int fb_put_jpeg_file(uint32_t x, uint32_t y, const char *name, uint32_t align) noexcept {
  return dravik::image::draw_file(dravik::fb::position_of(x, y), name, align);
}

} // extern "C"
