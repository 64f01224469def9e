// CRC-32 of blocks and files. The tables are constants, so any number of threads may use them.

#include "util/crc32.hpp"

#include "base/heap_block.hpp"
#include "base/unique_file.hpp"
#include "dravik.h"

#include <array>
#include <cstring>

namespace dravik::util {
namespace {

constexpr uint32_t reflected_polynomial = 0xEDB88320;
/// Bytes per step. Their table lookups are independent; larger machines have more registers and
/// cache for them.
constexpr size_t step = 2 * sizeof(void *);

using byte_table = std::array<uint32_t, 256>;

/// Table k: the effect of a byte on the register after k more bytes.
constexpr std::array<byte_table, step> tables = [] {
  std::array<byte_table, step> made{};
  for (uint32_t byte = 0; byte < 256; ++byte) {
    uint32_t value = byte;
    for (int bit = 0; bit < 8; ++bit)
      value = value >> 1 ^ ((value & 1) != 0 ? reflected_polynomial : 0);
    made[0][byte] = value;
  }
  for (size_t k = 1; k < step; ++k)
    for (size_t byte = 0; byte < 256; ++byte)
      made[k][byte] = made[k - 1][byte] >> 8 ^ made[0][made[k - 1][byte] & 0xFF];
  return made;
}();
static_assert(tables[0][1] == 0x77073096 && tables[0][128] == 0xEDB88320 && tables[0][255] == 0x2D02EF8D);

uint32_t word_at(const uint8_t *bytes) noexcept {
  uint32_t word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

/// Return the register after four bytes that `followers` bytes follow, without the effect of those.
inline uint32_t take_word(uint32_t value, const uint8_t *bytes, size_t followers) noexcept {
  value ^= word_at(bytes);
  return tables[followers + 3][value & 0xFF] ^ tables[followers + 2][value >> 8 & 0xFF] ^
         tables[followers + 1][value >> 16 & 0xFF] ^ tables[followers][value >> 24];
}

/// Return the register after a step. Only its first four bytes depend on the register: they come last.
inline uint32_t take_step(uint32_t value, const uint8_t *bytes) noexcept {
  uint32_t rest = 0;
  for (size_t at = 4; at < step; ++at)
    rest ^= tables[step - 1 - at][bytes[at]];
  return rest ^ take_word(value, bytes, step - 4);
}

uint32_t crc32_of_file(const char *path) noexcept {
  unique_file file = open_unbuffered(path, "r");
  if (file == nullptr)
    return DRAVIK_NONE;
  const int64_t end = seek_to_end(file.get());
  std::rewind(file.get());
  const auto size = static_cast<size_t>(end);
  const heap_block block = end < 0 ? heap_block{} : allocate_block(size);
  if (block == nullptr)
    return DRAVIK_NONE;
  const size_t got = std::fread(block.get(), 1, size, file.get());
  std::memset(block.get() + got, 0, size - got);
  file.reset();
  return crc32({block.get(), size});
}

} // namespace

uint32_t crc32(std::span<const uint8_t> bytes) noexcept {
  uint32_t value = 0xFFFFFFFF;
  const uint8_t *next = bytes.data();
  size_t left = bytes.size();
  for (; left >= step; left -= step, next += step)
    value = take_step(value, next);
  for (; left >= 4; left -= 4, next += 4)
    value = take_word(value, next, 0);
  for (; left > 0; --left)
    value = tables[0][(value ^ *next++) & 0xFF] ^ value >> 8;
  return value ^ 0xFFFFFFFF;
}

} // namespace dravik::util

extern "C" {

uint32_t get_data_crc(const void *data, uint32_t length) noexcept {
  if (static_cast<int32_t>(length) < 1)
    return 0;
  return dravik::util::crc32({static_cast<const uint8_t *>(data), length});
}

uint32_t get_file_crc(const char *path) noexcept {
  return dravik::util::crc32_of_file(path);
}

} // extern "C"
