// Packed artwork: archives of 4-bit images in memory, drawn through the ramps of the colour table.

#include "base/byte_reader.hpp"
#include "base/heap_block.hpp"
#include "base/unique_file.hpp"
#include "fb/colour_table.hpp"
#include "fb/ramps.hpp"
#include "image/placement.hpp"
#include "kernels/kernels.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <sys/stat.h>

extern "C" {
constinit uint8_t *q7bmp_ptr[DRAVIK_ART_SLOTS] = {};
constinit uint32_t q7bmp_str_num[DRAVIK_ART_SLOTS] = {};
constinit int32_t q7bmp_ptr_num = 0;
}

namespace dravik::image {
namespace {

using fb::pixel;

constexpr std::array<char, 8> magic = {'K', 'O', 'R', 'V', 'E', 'X', 'Q', '7'};
constexpr size_t count_position = 8;
constexpr size_t size_position = 12;
constexpr uint64_t record_size = 16; ///< also of the header: record i is at (i + 1) * record_size

uint32_t word_at(const uint8_t *archive, size_t position) noexcept {
  byte_reader reader{{archive + position, 4}};
  return reader.u32le();
}

// ------------------------------------------------------------------------------------------------ loading

bool is_readable_file(const char *path) noexcept {
  struct stat status;
  if (::stat(path, &status) != 0) {
    std::fprintf(stderr, "%s not found\n", path);
    return false;
  }
  if (!S_ISREG(status.st_mode)) {
    std::fprintf(stderr, "%s not regular file\n", path);
    return false;
  }
  return true;
}

/// Read the whole file. Return an empty block on failure, after reporting it.
heap_block read_whole(const char *path, size_t &length) noexcept {
  const unique_file file = open_unbuffered(path, "rb");
  if (file == nullptr) {
    log_printf("open %s error", path);
    return {};
  }
  const int64_t end = seek_to_end(file.get());
  std::rewind(file.get());
  heap_block block = end < 0 ? heap_block{} : allocate_block(static_cast<size_t>(end));
  if (block == nullptr) {
    log_printf("cannot allocate memory!");
    return {};
  }
  length = static_cast<size_t>(end);
  if (std::fread(block.get(), 1, length, file.get()) < length) {
    std::fprintf(stderr, "load_q7_bitmap: fread is error!\n");
    return {};
  }
  return block;
}

bool is_archive(const char *path, std::span<const uint8_t> file) noexcept {
  if (file.size() < magic.size() || !std::equal(magic.begin(), magic.end(), file.begin())) {
    log_printf("%s file format error!", path);
    return false;
  }
  byte_reader header{file};
  header.seek(size_position);
  const uint32_t size = header.u32le();
  if (size != file.size()) {
    log_printf("file size error! %d != %d", static_cast<int>(file.size()), static_cast<int>(size));
    return false;
  }
  return true;
}

void load_slot(size_t slot, const char *path) noexcept {
  q7bmp_ptr[slot] = nullptr;
  q7bmp_str_num[slot] = 0;
  if (!is_readable_file(path))
    return;
  size_t length = 0;
  heap_block block = read_whole(path, length);
  if (block == nullptr || !is_archive(path, {block.get(), length}))
    return;
  q7bmp_str_num[slot] = word_at(block.get(), count_position);
  q7bmp_ptr[slot] = block.release();
}

int load_all(int32_t count, const char *const *paths) noexcept {
  int printed = std::fprintf(stderr, "%s(): file_num : %d\n", "q7bmp_alloc", count);
  const int32_t slots = std::clamp<int32_t>(count, 0, std::size(q7bmp_ptr));
  for (int32_t i = 0; i < slots; ++i) {
    load_slot(static_cast<size_t>(i), paths[i]);
    printed = std::fprintf(stderr, "  %s : %d\n", paths[i], static_cast<int>(q7bmp_str_num[i]));
  }
  q7bmp_ptr_num = slots;
  return printed;
}

void free_all() noexcept {
  for (int32_t i = 0; i < std::min<int32_t>(q7bmp_ptr_num, std::size(q7bmp_ptr)); ++i) {
    if (q7bmp_ptr[i] == nullptr) {
      log_printf("q7bmp_free err!");
      return;
    }
    std::free(q7bmp_ptr[i]);
    q7bmp_ptr[i] = nullptr;
    q7bmp_str_num[i] = 0;
  }
}

// ------------------------------------------------------------------------------------------------ drawing

/// An image: its rows are all within the archive.
struct art {
  uint32_t width, height;
  const uint8_t *pixels;

  constexpr uint32_t row_bytes() const noexcept { return width / 2 + width % 2; }
};

/// Find an image. A number beyond the last image selects the last one.
bool find_art(const uint8_t *archive, int32_t index, art &found) noexcept {
  const auto count = static_cast<int32_t>(word_at(archive, count_position));
  if (count < 1) {
    log_printf("q7bmp num error! num_q7bmp = %d", count);
    return false;
  }
  if (index < 0) {
    log_printf("q7bmp index error! index = %d", index);
    return false;
  }
  index = std::min(index, count - 1);
  const uint32_t size = word_at(archive, size_position);
  byte_reader record{{archive, size}};
  record.seek((static_cast<uint64_t>(index) + 1) * record_size);
  found.width = record.u32le();
  found.height = record.u32le();
  const uint64_t start = record.u32le();
  if (!record.ok() ||
      (found.height != 0 && (start > size || found.row_bytes() > (size - start) / found.height))) {
    log_printf("q7bmp data error! index = %d", index);
    return false;
  }
  found.pixels = archive + start;
  return true;
}

/// Columns of the layout for 320 pixels, in the order of the alignment codes.
struct layout_column {
  int32_t start, width;
};
constexpr layout_column layout_columns[] = {{0, 80},   {0, 160},   {80, 80}, {0, 320},
                                            {160, 80}, {160, 160}, {240, 80}};

position place_art(position at, const art &what, int32_t align) noexcept {
  const auto width = static_cast<int32_t>(what.width);
  const int64_t column = int64_t{align} - DRAVIK_QUARTER_1;
  if (column < 0 || column >= std::ssize(layout_columns))
    return placed(at, width, static_cast<int32_t>(what.height), align);
  const layout_column &in = layout_columns[column];
  if (width <= in.width)
    at.x = in.start + ((in.width - width) >> 1);
  return at;
}

/// Draw the part of each row that is in frame buffer memory. The first pixel of a part is drawn by itself if it
/// is the right one of its byte.
void paint_parts(const fb::surface &on, const art &what, position at, const kernels::ramp &ramp,
                 bool transparent) noexcept {
  const auto put = transparent ? kernels::active->levels_over : kernels::active->levels;
  const fb::memory_bounds memory = fb::memory_of(on);
  const uint8_t *from = what.pixels;
  for (uint32_t n = 0; n < what.height; ++n, from += what.row_bytes()) {
    const int64_t line = int64_t{at.y} + n;
    fb::row_part part = memory.part_of(at.x, line, what.width);
    if (part.empty())
      continue;
    pixel *to = on.at_far(at.x + static_cast<int64_t>(part.first), line);
    if (part.first % 2 != 0) {
      const uint8_t level = from[part.first / 2] & 0x0F;
      if (!transparent || level != 0)
        *to = ramp.colours[level];
      ++part.first, ++to;
    }
    if (!part.empty())
      put({to, 0, from + part.first / 2, 0, part.end - part.first, 1}, ramp);
  }
}

void paint(const art &what, position at, uint16_t fg, uint16_t bg) noexcept {
  const uint8_t number = fb::artwork_ramp(bg, fg);
  const kernels::ramp ramp = {number, fb::ramp_colours(number).data()};
  const bool transparent = bg == DRAVIK_TRANSPARENT;
  const fb::surface on = fb::screen();
  if (fb::is_oversized(on, what.width, what.height))
    return paint_parts(on, what, at, ramp, transparent);
  const auto put = transparent ? kernels::active->levels_over : kernels::active->levels;
  put({on.at(at), on.pitch, what.pixels, static_cast<ptrdiff_t>(what.row_bytes()), what.width, what.height},
      ramp);
}

int show(position at, uint32_t slot, int32_t index, uint16_t fg, uint16_t bg, int32_t align) noexcept {
  if (slot >= std::size(q7bmp_ptr)) {
    log_printf("q7bmp slot error! slot = %u", slot);
    return -1;
  }
  if (q7bmp_ptr[slot] == nullptr) {
    log_printf("q7bmp ptr is NULL");
    return -1;
  }
  art what;
  if (!find_art(q7bmp_ptr[slot], index, what))
    return -1;
  if (what.width != 0)
    paint(what, place_art(at, what, align), fg, bg);
  return 0;
}

} // namespace
} // namespace dravik::image

extern "C" {

int q7bmp_alloc(int32_t count, const char *const *paths) noexcept {
  return dravik::image::load_all(count, paths);
}

void q7bmp_free() noexcept {
  dravik::image::free_all();
}

int fb_q7bmp_show(int32_t x, int32_t y, uint32_t slot, int32_t index, uint16_t fg, uint16_t bg,
                  int32_t align) noexcept {
  return dravik::image::show({x, y}, slot, index, fg, bg, align);
}

int32_t get_q7bmp_ptr_num() noexcept {
  return q7bmp_ptr_num;
}

uint32_t get_q7bmp_str_num(int32_t slot) noexcept {
  const bool is_loaded = slot >= 0 && slot < q7bmp_ptr_num && slot < std::ssize(q7bmp_str_num);
  return is_loaded ? q7bmp_str_num[slot] : UINT32_MAX;
}

} // extern "C"
