// CRC-32 by tables, for any machine. The tables are constants, so any number of threads may use them.

#include "base/unaligned.hpp"
#include "kernels/kernels.hpp"

#include <array>

namespace dravik::kernels {
namespace {

constexpr uint32_t reflected_polynomial = 0xEDB88320;
/// Bytes per step. Their table lookups are independent; larger machines have more registers and cache.
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

inline uint32_t take_byte(uint32_t value, uint8_t byte) noexcept {
  return tables[0][(value ^ byte) & 0xFF] ^ value >> 8;
}

/// Return the register after four aligned bytes that `followers` bytes follow, without the effect of those.
inline uint32_t take_word(uint32_t value, const uint8_t *bytes, size_t followers) noexcept {
  value ^= load<uint32_t, alignof(uint32_t)>(bytes);
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

} // namespace

uint32_t crc32_by_tables(uint32_t value, const uint8_t *bytes, size_t size) noexcept {
  for (; size > 0 && reinterpret_cast<uintptr_t>(bytes) % alignof(uint32_t) != 0; --size)
    value = take_byte(value, *bytes++);
  for (; size >= step; size -= step, bytes += step)
    value = take_step(value, bytes);
  for (; size >= 4; size -= 4, bytes += 4)
    value = take_word(value, bytes, 0);
  for (; size > 0; --size)
    value = take_byte(value, *bytes++);
  return value;
}

} // namespace dravik::kernels
