// BMP files kept in memory slots and drawn from there. Only 16-bit files can be drawn.

#include "base/heap_block.hpp"
#include "base/unaligned.hpp"
#include "base/unique_file.hpp"
#include "fb/fill.hpp"
#include "fb/vectors.hpp"
#include "image/bmp_format.hpp"
#include "image/placement.hpp"
#include "kernels/kernels.hpp"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>

extern "C" {
constinit uint8_t *bmp_mem_ptr[DRAVIK_BMP_SLOTS] = {};
constinit int32_t bmp_mem_num = 0;
}

namespace dravik::image {
namespace {

using fb::pixel;

constexpr size_t block_step = 256;

/// Size of the block of each slot, which limits what its header may claim; 0 for a freed block.
struct allocation {
  const uint8_t *block;
  size_t size;
};
constinit std::array<allocation, std::size(bmp_mem_ptr)> allocations = {};

// ------------------------------------------------------------------------------------------------ loading

int load_slot(size_t slot, const char *dir, const char *name) noexcept {
  bmp_mem_ptr[slot] = nullptr;
  allocations[slot] = {};
  std::array<char, PATH_MAX> path;
  const int length = std::snprintf(path.data(), path.size(), "%s/%s", dir, name);
  if (length < 0 || static_cast<size_t>(length) >= path.size())
    return log_printf("path too long: %s", name);
  unique_file file = open_unbuffered(path.data(), "r");
  if (file == nullptr)
    return log_printf("fopen %s err", path.data());

  const int64_t end = seek_to_end(file.get());
  const size_t size = end < 0 ? 0 : static_cast<size_t>(end);
  const size_t block_size = size / block_step * block_step + block_step;
  heap_block block = block_size > size ? allocate_block(block_size) : heap_block{};
  if (block == nullptr) {
    file.reset();
    return log_printf("%s(): malloc err", "bmp_mem_load");
  }
  std::rewind(file.get());
  const size_t got = std::fread(block.get(), 1, size, file.get());
  std::memset(block.get() + got, 0, block_size - got);
  allocations[slot] = {block.get(), block_size};
  bmp_mem_ptr[slot] = block.release();
  return std::fclose(file.release());
}

int load_all(int32_t count, const char *dir, const char *const *names) noexcept {
  const int32_t slots = std::clamp<int32_t>(count, 0, std::size(bmp_mem_ptr));
  int result = 0;
  for (int32_t i = 0; i < slots; ++i)
    result = load_slot(static_cast<size_t>(i), dir, names[i]);
  bmp_mem_num = slots;
  return result;
}

void free_all() noexcept {
  for (int32_t i = 0; i < std::min<int32_t>(bmp_mem_num, std::size(bmp_mem_ptr)); ++i) {
    allocation &known = allocations[static_cast<size_t>(i)];
    if (known.block == bmp_mem_ptr[i] && known.size == 0)
      continue; // empty, or already freed
    std::free(bmp_mem_ptr[i]);
    known = {bmp_mem_ptr[i], 0};
  }
}

// ------------------------------------------------------------------------------------------------ drawing

/// Return the bytes of a slot. A block that the application stored there has the size in its header.
std::span<const uint8_t> slot_bytes(int32_t slot) noexcept {
  const uint8_t *block = bmp_mem_ptr[slot];
  if (block == nullptr)
    return {};
  const allocation &known = allocations[static_cast<size_t>(slot)];
  if (known.block == block)
    return {block, known.size};
  const uint32_t size =
      read_bmp_header(std::span<const uint8_t, bmp_header_size>{block, bmp_header_size}).file_size;
  return {block, std::max<size_t>(size, bmp_header_size)};
}

/// An image in a slot, and its position.
struct picture {
  bmp_header header;
  position at;
  fb::surface on;
  const uint8_t *rows;

  /// Return the position of the n-th row stored.
  position place_of(uint32_t n) const noexcept { return at.moved(0, header.height - 1 - n); }
  pixel *row(uint32_t n) const noexcept { return on.at(place_of(n)); }
};

/// Return the bytes from one row to the next: `width * 2` in the keyed modes, a multiple of four in the copy
/// mode. Intentional: an image of odd width drifts in the keyed modes.
size_t stride(const bmp_header &header, int32_t mode) noexcept {
  return mode == DRAVIK_BMP_COPY ? bmp_row_size(header.width, 16) : size_t{header.width} * 2;
}

bool is_drawable(const bmp_header &header, int32_t mode) noexcept {
  return header.bits == 16 && mode >= DRAVIK_BMP_COPY && mode <= DRAVIK_BMP_SILHOUETTE;
}

/// Copy pixel pairs from any address that is a multiple of `Alignment` to aligned words.
template <size_t Alignment> void copy_pairs(pixel *to, const uint8_t *from, size_t count) noexcept {
#pragma GCC unroll 4
  for (; count >= 2; count -= 2, to += 2, from += sizeof(uint32_t))
    fb::store_pair(to, load<uint32_t, Alignment>(from));
  if (count != 0)
    *to = load<uint16_t, Alignment>(from);
}

/// The C library's copy may store words that are not aligned, which memory of a device need not accept.
void copy_to_words(pixel *to, const uint8_t *from, size_t count) noexcept {
  if (fb::splits_word(to) && count != 0) {
    *to++ = load<uint16_t>(from);
    from += sizeof(uint16_t);
    --count;
  }
  if (const auto address = reinterpret_cast<uintptr_t>(from); address % 4 == 0)
    copy_pairs<4>(to, from, count);
  else if (address % 2 == 0)
    copy_pairs<2>(to, from, count);
  else
    copy_pairs<1>(to, from, count);
}

using quad = fb::vector_of_4;

/// Copy rows of at least 16 bytes in pieces of 16; the last one of a row may overlap the one before.
void copy_short_rows(pixel *to, ptrdiff_t pitch, const uint8_t *from, size_t size, uint32_t count) noexcept {
  const size_t last = size - sizeof(quad);
  for (; count > 0; --count, to = fb::step(to, pitch), from += size) {
    for (size_t at = 0; at < last; at += sizeof(quad))
      fb::store(to + at / sizeof(pixel), load<quad>(from + at));
    fb::store(to + last / sizeof(pixel), load<quad>(from + last));
  }
}

/// Copy a row of whole words.
void copy_row(pixel *to, const uint8_t *from, size_t size) noexcept {
  if constexpr (fb::has_wide_registers) {
    std::memcpy(to, from, size);
  } else {
    copy_to_words(to, from, size / sizeof(pixel));
  }
}

/// Short rows do not justify a call each. If the bottom row fits in frame buffer memory, all do.
void copy(const picture &from) noexcept {
  constexpr size_t worth_a_call = 256;
  const uint32_t width = from.header.width;
  const size_t size = stride(from.header, DRAVIK_BMP_COPY);
  const fb::memory_bounds memory = fb::memory_of(from.on);
  const uint8_t *row = from.rows;
  if (fb::has_wide_registers && size >= sizeof(quad) && size <= worth_a_call &&
      stored_bytes(memory, from.place_of(0), width, size) == size)
    return copy_short_rows(from.row(0), -from.on.pitch, row, size, from.header.height);
  for (uint32_t n = 0; n < from.header.height; ++n, row += size)
    copy_row(from.row(n), row, stored_bytes(memory, from.place_of(n), width, size));
}

/// From the bottom line up.
kernels::picture keyed_rows(const picture &from, int32_t mode) noexcept {
  const auto distance = static_cast<ptrdiff_t>(stride(from.header, mode));
  return {from.row(0), -from.on.pitch, from.rows, distance, from.header.width, from.header.height};
}

void draw(const picture &from, int32_t mode) noexcept {
  if (from.header.height == 0)
    return;
  if (mode == DRAVIK_BMP_COPY)
    return copy(from);
  const kernels::picture rows = keyed_rows(from, mode);
  if (mode == DRAVIK_BMP_KEYED)
    return kernels::active->keyed(rows, DRAVIK_MAGENTA_KEY);
  kernels::active->silhouette(rows, DRAVIK_MAGENTA_KEY, true, bmp_silhouette);
}

/// Return whether the image fits on the screen; log if not.
bool is_on_screen(const bmp_header &header, position at, const fb::surface &on) noexcept {
  if (fits(on, at, header.width, header.height))
    return true;
  const position last = last_pixel(at, header.width, header.height);
  log_printf("BMP image is out of range!");
  log_printf("Canvas size : %4d x %4d (%4d,%4d)-->(%4d,%4d)", on.width, on.height, 0, 0, on.width - 1,
             on.height - 1);
  log_printf("Image size : %4d x %4d (%4d,%4d)-->(%4d,%4d)", static_cast<int>(header.width),
             static_cast<int>(header.height), at.x, at.y, last.x, last.y);
  return false;
}

int show(position at, int32_t slot, int32_t mode, uint8_t align) noexcept {
  if (slot < 0 || slot >= bmp_mem_num || slot >= std::ssize(bmp_mem_ptr)) {
    log_printf("BMP mem index err: %d, max = %d", slot, bmp_mem_num);
    return -1;
  }
  const std::span<const uint8_t> bytes = slot_bytes(slot);
  if (bytes.size() < bmp_header_size) {
    log_printf("BMP mem ptr is NULL, bmp_mem_idx=%d", slot);
    return -1;
  }
  const bmp_header header = read_bmp_header(bytes.first<bmp_header_size>());
  if (!header.has_signature) {
    log_printf("BMP type err, bmp_mem_idx=%d", slot);
    return -1;
  }
  const fb::surface on = fb::screen();
  if (header.width > static_cast<uint32_t>(on.width) || header.height > static_cast<uint32_t>(on.height)) {
    log_printf("BMP image size is too big : %d x %d, fb size : %dx%d", static_cast<int>(header.width),
               static_cast<int>(header.height), on.width, on.height);
    return -1;
  }
  at = placed(at, static_cast<int32_t>(header.width), static_cast<int32_t>(header.height), align);
  if (!is_on_screen(header, at, on))
    return -1;
  if (is_drawable(header, mode) &&
      header.data_offset + uint64_t{header.height} * stride(header, mode) > bytes.size()) {
    log_printf("BMP data err, bmp_mem_idx=%d", slot);
    return -1;
  }
  publish_bmp_header(header);
  if (is_drawable(header, mode))
    draw({header, at, on, bytes.data() + header.data_offset}, mode);
  return 0;
}

} // namespace
} // namespace dravik::image

extern "C" {

int bmp_mem_alloc(int32_t count, const char *dir, const char *const *names) noexcept {
  return dravik::image::load_all(count, dir, names);
}

int bmp_mem_show(uint32_t x, uint32_t y, int32_t slot, int32_t mode, uint8_t align) noexcept {
  return dravik::image::show(dravik::fb::position_of(x, y), slot, mode, align);
}

void bmp_mem_free() noexcept {
  dravik::image::free_all();
}

} // extern "C"
