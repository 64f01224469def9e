// Packed artwork: archives of 4-bit images in memory, painted through the ramps of the colour table.

#include "base/byte_reader.hpp"
#include "base/heap_block.hpp"
#include "base/unique_file.hpp"
#include "fb/bit_row.hpp"
#include "fb/colour_table.hpp"
#include "image/placement.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <sys/stat.h>

extern "C" {
constinit uint8_t *q7bmp_ptr[32] = {};
constinit uint32_t q7bmp_str_num[32] = {};
constinit int32_t q7bmp_ptr_num = 0;
}

namespace dravik::image {
namespace {

using fb::pixel;

constexpr std::array<char, 8> magic = {'K', 'O', 'R', 'V', 'E', 'X', 'Q', '7'};
constexpr size_t count_position = 8;
constexpr size_t size_position = 12;
constexpr uint64_t record_size = 16; ///< of the header too: record i is at (i + 1) * record_size

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

/// The whole file, or an empty block after the reason was told.
heap_block read_whole(const char *path, size_t &length) noexcept {
  const unique_file file = open_file(path, "rb");
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

/// The pixels of one image: `height` rows of (width + 1) / 2 bytes, all within the archive.
struct art {
  uint32_t width, height;
  const uint8_t *pixels;
};

/// Finds an image. A number past the last gives the last one.
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
  const uint64_t row_bytes = (uint64_t{found.width} + 1) / 2;
  if (!record.ok() || (found.height != 0 && (start > size || row_bytes > (size - start) / found.height))) {
    log_printf("q7bmp data error! index = %d", index);
    return false;
  }
  found.pixels = archive + start;
  return true;
}

/// The columns of the 320-pixel layout, from placement code 8 on.
struct layout_column {
  int32_t start, width;
};
constexpr int32_t first_column_code = 8;
constexpr layout_column layout_columns[] = {{0, 80},   {0, 160},   {80, 80}, {0, 320},
                                            {160, 80}, {160, 160}, {240, 80}};

position place_art(position at, const art &what, int32_t align) noexcept {
  const auto width = static_cast<int32_t>(what.width);
  const int64_t column = int64_t{align} - first_column_code;
  if (column < 0 || column >= std::ssize(layout_columns))
    return placed(at, width, static_cast<int32_t>(what.height), align);
  const layout_column &in = layout_columns[column];
  if (width <= in.width)
    at.x = in.start + ((in.width - width) >> 1);
  return at;
}

constexpr uint8_t white_on_black = 3;
constexpr fb::ramp_rule art_ramps[] = {
    {0x0821, 0xF800, 0},
    {0x0821, 0x07E0, 1},
    {0x0821, 0x001F, 2},
    {0x0821, 0x7BEF, 4},
    {0x0821, 0xFFE0, 5},
    {0x0821, 0xF81F, 6},
    {0x0821, 0x07FF, 7},
    {0x0821, 0xFBC0, 8},
    {0xFFFF, 0xF800, 9},
    {0xFFFF, 0x07E0, 10},
    {0xFFFF, 0x001F, 11},
    {0xFFFF, 0x7BEF, 13},
    {0xFFFF, 0xFFE0, 14},
    {0xFFFF, 0xF81F, 15},
    {0xFFFF, 0x07FF, 16},
    {0xFFFF, 0xFBC0, 17},
    {0xFFFF, fb::ramp_rule::any, 12},
    {0xF81F, 0x0821, 21},
    {0x1234, 0xFFFF, 27},
    {0x1234, fb::ramp_rule::any, 28},
    {0x0000, 0x0821, 12},
    {0x0000, 0x7BEF, 4},
};

/// The two pixels of every byte in the colours of one ramp.
struct pair_table {
  std::array<uint16_t, fb::ramp_steps> colours;
  std::array<uint32_t, 256> pairs;
};

/// The table of a ramp, kept from call to call and made anew when the ramp's colours have changed. A ramp of
/// zeros needs none made: a table begins as that.
const pair_table &pairs_of(uint8_t ramp) noexcept {
  static constinit std::array<pair_table, std::size(gc) / fb::ramp_steps> tables = {};
  pair_table &table = tables[ramp];
  const auto colours = fb::ramp_colours(ramp);
  if (std::ranges::equal(colours, table.colours))
    return table;
  std::ranges::copy(colours, table.colours.begin());
  for (size_t byte = 0; byte < table.pairs.size(); ++byte)
    table.pairs[byte] = fb::pixel_pair(colours[byte >> 4], colours[byte & 15]);
  return table;
}

void paint_opaque_row(pixel *to, const uint8_t *from, uint32_t width, const pair_table &table) noexcept {
  for (; width >= 4; width -= 4, to += 4, from += 2)
    fb::store(to, uint64_t{table.pairs[from[1]]} << 32 | table.pairs[from[0]]);
  for (; width >= 2; width -= 2, to += 2)
    fb::store(to, table.pairs[*from++]);
  if (width != 0)
    *to = static_cast<uint16_t>(table.pairs[*from]);
}

/// Level 0 leaves its pixel as it is. Artwork is mostly empty, so eight empty bytes are passed over at once.
void paint_transparent_row(pixel *to, const uint8_t *from, uint32_t width, const pair_table &table) noexcept {
  while (width >= 2) {
    if (uint64_t eight = 0; width >= 16) {
      std::memcpy(&eight, from, sizeof eight);
      if (eight == 0) {
        width -= 16;
        to += 16;
        from += 8;
        continue;
      }
    }
    const uint8_t both = *from++;
    if ((both & 0xF0) != 0 && (both & 0x0F) != 0) {
      fb::store(to, table.pairs[both]);
    } else if ((both & 0xF0) != 0) {
      to[0] = table.colours[both >> 4];
    } else if (both != 0) {
      to[1] = table.colours[both];
    }
    width -= 2;
    to += 2;
  }
  if (width != 0 && (*from & 0xF0) != 0)
    *to = table.colours[*from >> 4];
}

void paint(const art &what, position at, uint16_t fg, uint16_t bg) noexcept {
  const pair_table &table = pairs_of(fb::find_ramp(art_ramps, bg, fg, white_on_black));
  const auto paint_row = bg == 0 ? paint_transparent_row : paint_opaque_row;
  const fb::surface on = fb::screen();
  const bool oversized = fb::is_oversized(on, what.width, what.height);
  const size_t row_bytes = (size_t{what.width} + 1) / 2;
  pixel *to = on.at(at.x, at.y);
  const uint8_t *from = what.pixels;
  for (uint32_t row = 0; row < what.height; ++row) {
    const size_t width = oversized ? std::min<size_t>(what.width, fb::room(on, to)) : what.width;
    paint_row(to, from, static_cast<uint32_t>(width), table);
    to = fb::step(to, on.pitch);
    from += row_bytes;
  }
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
