// CRC-32 by the instructions that ARMv8 has for it.

#include "kernels/kernels.hpp"

#include <arm_acle.h>

namespace dravik::kernels {
namespace {

using word = size_t;

uint32_t take_word(uint32_t value, word bytes) noexcept {
#ifdef __aarch64__
  return __crc32d(value, bytes);
#else
  return __crc32w(value, bytes);
#endif
}

} // namespace

uint32_t crc32_by_instructions(uint32_t value, const uint8_t *bytes, size_t size) noexcept {
  using aligned_word [[gnu::may_alias]] = word;
  for (; size != 0 && reinterpret_cast<uintptr_t>(bytes) % sizeof(word) != 0; --size)
    value = __crc32b(value, *bytes++);
  for (; size >= sizeof(word); size -= sizeof(word), bytes += sizeof(word))
    value = take_word(value, *reinterpret_cast<const aligned_word *>(bytes));
  for (; size != 0; --size)
    value = __crc32b(value, *bytes++);
  return value;
}

} // namespace dravik::kernels
