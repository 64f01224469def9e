// BMP files, drawn row by row from the bottom up.

#include "fb/bit_row.hpp"
#include "fb/colours.hpp"
#include "image/bmp_format.hpp"
#include "image/placement.hpp"
#include "image/source_file.hpp"
#include "kernels/kernels.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

extern "C" {
constinit uint8_t palette[DRAVIK_PALETTE_ENTRIES * 4] = {};
constinit uint8_t image[DRAVIK_BMP_WIDEST * 4] = {};
}

namespace dravik::image {
namespace {

using fb::pixel;

constexpr uint64_t palette_position = 54; ///< fixed: the header's own size is ignored
constexpr uint16_t dark_grey = 0x0841;    ///< replaces black in 1- and 4-bit files

/// An image that passed every check, and its position.
struct picture {
  bmp_header header;
  position at;
  fb::surface on;
  const source_file &file;

  /// Return the position of the n-th row of the file.
  position place_of(uint32_t n) const noexcept { return at.moved(0, header.height - 1 - n); }
  pixel *row(uint32_t n) const noexcept { return on.at(place_of(n)); }

  /// One record per row on the screen. The size in the header is that of the file.
  record_range records(size_t record_size) const noexcept {
    return {header.data_offset, record_size, header.height, header.file_size};
  }
};

/// Draw all rows of an image through `decode`.
template <class Decode> void decode_rows(const picture &from, Decode decode) noexcept {
  const uint32_t width = from.header.width;
  record_reader rows(from.file, from.records(bmp_row_size(width, from.header.bits)), ::image);
  for (uint32_t n = 0; n < from.header.height; ++n)
    decode(from.row(n), rows.next(), width);
}

kernels::picture one_row(pixel *to, const uint8_t *row, uint32_t width) noexcept {
  return {to, 0, row, 0, width, 1};
}

void draw_true_colour(const picture &from, void (*put)(const kernels::picture &) noexcept) noexcept {
  decode_rows(from, [put](pixel *to, const uint8_t *row, uint32_t width) { put(one_row(to, row, width)); });
}

void read_palette(const source_file &file, uint32_t colours) noexcept {
  constexpr uint32_t most = DRAVIK_PALETTE_ENTRIES;
  const uint32_t count = colours == 0 ? most : std::min(colours, most);
  file.read(::palette, count * size_t{4}, palette_position);
}

uint16_t palette_colour(size_t index) noexcept {
  const uint8_t *entry = ::palette + index * 4;
  return fb::truncated_rgb565(entry[2], entry[1], entry[0]);
}

uint16_t palette_colour_or_grey(size_t index) noexcept {
  const uint16_t colour = palette_colour(index);
  return colour != 0 ? colour : dark_grey;
}

void draw_1bit(const picture &from) noexcept {
  const fb::opaque_bits bits(palette_colour_or_grey(0), palette_colour_or_grey(1));
  decode_rows(from, [&bits](pixel *to, const uint8_t *row, uint32_t width) {
    for (; width >= 8; width -= 8, to += 8)
      bits.put8(to, *row++);
    if (width != 0)
      bits.put(to, *row, width);
  });
}

void draw_4bit(const picture &from) noexcept {
  fb::pair_table pairs;
  fb::make_pairs(pairs, palette_colour_or_grey);
  decode_rows(from, [&pairs](pixel *to, const uint8_t *row, uint32_t width) {
    fb::put_pair_row(to, row, width, pairs);
  });
}

void draw_8bit(const picture &from) noexcept {
  std::array<uint16_t, DRAVIK_PALETTE_ENTRIES> colours;
  for (size_t i = 0; i < colours.size(); ++i)
    colours[i] = palette_colour(i);
  decode_rows(from, [&colours](pixel *to, const uint8_t *row, uint32_t width) {
    kernels::active->indexed(one_row(to, row, width), colours.data());
  });
}

/// Rows of the file to be read to the screen by one request. Padding beyond the end of frame buffer
/// memory is dropped.
class row_pieces {
public:
  bool is_full() const noexcept { return count_ + 2 > pieces_.size(); }

  void add(pixel *to, size_t row_size, size_t stored) noexcept {
    pieces_[count_++] = {to, stored};
    if (stored < row_size)
      pieces_[count_++] = {dropped_.data(), row_size - stored};
    bytes_ += row_size;
  }

  /// Return false at the end of the file.
  bool read(const source_file &file, uint64_t position) const noexcept {
    return file.read(std::span{pieces_}.first(count_), position) == static_cast<ssize_t>(bytes_);
  }
  size_t bytes() const noexcept { return bytes_; }

private:
  std::array<iovec, 65> pieces_;
  std::array<uint8_t, sizeof(pixel)> dropped_;
  size_t count_ = 0, bytes_ = 0;
};

/// Draw 16-bit rows: read directly to the screen, with their padding, many per request.
void copy_rows(const picture &from) noexcept {
  const uint32_t width = from.header.width;
  const size_t row_size = bmp_row_size(width, 16);
  const fb::memory_bounds memory = fb::memory_of(from.on);
  uint64_t next = from.header.data_offset;
  for (uint32_t n = 0; n < from.header.height;) {
    row_pieces pieces;
    for (; !pieces.is_full() && n < from.header.height; ++n)
      pieces.add(from.row(n), row_size, stored_bytes(memory, from.place_of(n), width, row_size));
    if (!pieces.read(from.file, next))
      return;
    next += pieces.bytes();
  }
}

/// 16 bits with a colour key. Intentional: each step reads two rows of the file and draws the first.
template <class Put> void draw_keyed(const picture &from, Put put) noexcept {
  // Pixels of a file without any are transparent.
  std::array<uint16_t, DRAVIK_BMP_WIDEST * 2> last;
  last.fill(DRAVIK_MAGENTA_KEY);
  const uint32_t width = from.header.width;
  record_reader rows(from.file, from.records(size_t{2} * bmp_row_size(width, 16)),
                     reinterpret_cast<uint8_t *>(last.data()));
  for (uint32_t n = 0; n < from.header.height; ++n)
    put(one_row(from.row(n), rows.next(), width));
}

void draw_16bit(const picture &from, uint32_t mode) noexcept {
  if (mode == DRAVIK_BMP_COPY)
    copy_rows(from);
  if (mode == DRAVIK_BMP_KEYED)
    draw_keyed(from, [](const kernels::picture &row) { kernels::active->keyed(row, DRAVIK_MAGENTA_KEY); });
  if (mode == DRAVIK_BMP_SILHOUETTE)
    draw_keyed(from, [](const kernels::picture &row) {
      kernels::active->silhouette(row, DRAVIK_MAGENTA_KEY, false, bmp_silhouette);
    });
}

void draw(const picture &from, uint32_t mode) noexcept {
  const uint16_t bits = from.header.bits;
  if (bits == 1 || bits == 4 || bits == 8)
    read_palette(from.file, from.header.important_colours);
  switch (bits) {
  case 1:
    return draw_1bit(from);
  case 4:
    return draw_4bit(from);
  case 8:
    return draw_8bit(from);
  case 16:
    return draw_16bit(from, mode);
  case 24:
    return draw_true_colour(from, kernels::active->bgr24);
  case 32:
    return draw_true_colour(from, kernels::active->bgr32);
  default:
    return;
  }
}

/// Return whether the image fits on the screen; report on standard error if not.
bool is_on_screen(const picture &p) noexcept {
  const uint32_t width = p.header.width, height = p.header.height;
  if (fits(p.on, p.at, width, height))
    return true;
  const position last = last_pixel(p.at, width, height);
  std::fprintf(stderr, "BMP image is out of range!\n");
  std::fprintf(stderr, "Canvas size : %4d x %4d (%4d,%4d)-->(%4d,%4d)\n", p.on.width, p.on.height, 0, 0,
               p.on.width - 1, p.on.height - 1);
  std::fprintf(stderr, " Image size : %4d x %4d (%4d,%4d)-->(%4d,%4d)\n", static_cast<int>(width),
               static_cast<int>(height), p.at.x, p.at.y, last.x, last.y);
  return false;
}

int draw_file(position at, const char *path, uint32_t mode, uint8_t align) noexcept {
  const source_file file(path);
  if (!file.is_open()) {
    std::fprintf(stderr, "open %s error!\n", path);
    return -1;
  }
  std::array<uint8_t, bmp_header_size> bytes = {};
  file.read(bytes.data(), bytes.size(), 0);
  const bmp_header header = read_bmp_header(bytes);
  if (int64_t{header.file_size} != file.size()) {
    std::fprintf(stderr, "%s file size error!\n", path);
    return -1;
  }
  if (!header.has_signature) {
    std::fprintf(stderr, "%s BMP type error!\n", path);
    return -1;
  }
  publish_bmp_header(header);
  at = placed(at, static_cast<int32_t>(header.width), static_cast<int32_t>(header.height), align);
  if (header.width > DRAVIK_BMP_WIDEST) {
    std::fprintf(stderr, "BMP image size is too big. %d x %d\n", static_cast<int>(header.width),
                 static_cast<int>(header.height));
    return -1;
  }
  const picture whole = {header, at, fb::screen(), file};
  if (!is_on_screen(whole))
    return -1;
  draw(whole, mode);
  return 0;
}

} // namespace
} // namespace dravik::image

extern "C" {

int fb_put_bmp_file(uint32_t x, uint32_t y, const char *path, uint32_t mode, uint8_t align) noexcept {
  return dravik::image::draw_file(dravik::fb::position_of(x, y), path, mode, align);
}

} // extern "C"
