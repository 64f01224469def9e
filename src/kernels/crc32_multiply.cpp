// CRC-32 by carry-less multiplication, compiled for registers of 16 bytes and for those of 64; KERNELS_CRC32
// is the name of the function.
//
// A block that n bits follow has the same effect as the block times x^n modulo the polynomial. Four registers
// run through the bytes; each is multiplied and added to the bytes 4 registers further on. The last 16 bytes
// then have the checksum, started at 0, of everything before.

#include "kernels/kernels.hpp"

#include <immintrin.h>

namespace dravik::kernels {
namespace {

constexpr uint32_t reflected_polynomial = 0xEDB88320;

/// Return x^n modulo the polynomial, in reflected order, as a factor of a reflected product.
constexpr int64_t power(unsigned n) noexcept {
  uint32_t value = 0x80000000;
  for (; n != 0; --n)
    value = value >> 1 ^ ((value & 1) != 0 ? reflected_polynomial : 0);
  return static_cast<int64_t>(uint64_t{value} << 1);
}

static_assert(power(32) == int64_t{reflected_polynomial} << 1);

/// Factors that move both halves of 16 bytes by a number of bits.
template <unsigned Bits> __m128i factors() noexcept {
  constexpr int64_t first_half = power(Bits + 32), last_half = power(Bits - 32);
  return _mm_set_epi64x(last_half, first_half);
}

__m128i load(const uint8_t *from) noexcept {
  return _mm_loadu_si128(reinterpret_cast<const __m128i *>(from));
}

/// Return a register moved by `factors`, added to the bytes at its new position.
__m128i folded(__m128i value, __m128i by, __m128i onto) noexcept {
  const __m128i low = _mm_clmulepi64_si128(value, by, 0x00), high = _mm_clmulepi64_si128(value, by, 0x11);
  return _mm_xor_si128(_mm_xor_si128(low, high), onto);
}

/// Return the checksum register after 16 bytes and the bytes that do not fill a register.
uint32_t finished(__m128i value, const uint8_t *rest, size_t size) noexcept {
  alignas(16) uint8_t bytes[16];
  _mm_store_si128(reinterpret_cast<__m128i *>(bytes), value);
  return crc32_by_tables(crc32_by_tables(0, bytes, sizeof bytes), rest, size);
}

#ifdef __VPCLMULQDQ__

using vector = __m512i;

vector load_vector(const uint8_t *from) noexcept {
  return _mm512_loadu_si512(from);
}

vector with_start(vector first, uint32_t value) noexcept {
  return _mm512_xor_si512(first, _mm512_zextsi128_si512(_mm_cvtsi32_si128(static_cast<int>(value))));
}

template <unsigned Bits> vector vector_factors() noexcept {
  return _mm512_broadcast_i32x4(factors<Bits>());
}

vector folded(vector value, vector by, vector onto) noexcept {
  const vector low = _mm512_clmulepi64_epi128(value, by, 0x00),
               high = _mm512_clmulepi64_epi128(value, by, 0x11);
  return _mm512_xor_si512(_mm512_xor_si512(low, high), onto);
}

/// Combine the four parts of a register.
__m128i joined(vector value) noexcept {
  const __m128i by = factors<128>();
  const __m128i two = folded(_mm512_castsi512_si128(value), by, _mm512_extracti32x4_epi32(value, 1));
  const __m128i three = folded(two, by, _mm512_extracti32x4_epi32(value, 2));
  return folded(three, by, _mm512_extracti32x4_epi32(value, 3));
}

#else

using vector = __m128i;

vector load_vector(const uint8_t *from) noexcept {
  return load(from);
}

vector with_start(vector first, uint32_t value) noexcept {
  return _mm_xor_si128(first, _mm_cvtsi32_si128(static_cast<int>(value)));
}

template <unsigned Bits> vector vector_factors() noexcept {
  return factors<Bits>();
}

__m128i joined(vector value) noexcept {
  return value;
}

#endif

constexpr size_t at_once = 4;
constexpr size_t step = at_once * sizeof(vector);

/// Return the checksum register of whole steps as 16 bytes. Advances `bytes` and `size`.
__m128i fold_steps(uint32_t value, const uint8_t *&bytes, size_t &size) noexcept {
  vector sums[at_once];
  for (size_t i = 0; i < at_once; ++i)
    sums[i] = load_vector(bytes + i * sizeof(vector));
  sums[0] = with_start(sums[0], value);
  const vector by_step = vector_factors<step * 8>();
  for (bytes += step, size -= step; size >= step; bytes += step, size -= step)
    for (size_t i = 0; i < at_once; ++i)
      sums[i] = folded(sums[i], by_step, load_vector(bytes + i * sizeof(vector)));
  const vector by_one = vector_factors<sizeof(vector) * 8>();
  for (size_t i = 1; i < at_once; ++i)
    sums[i] = folded(sums[i - 1], by_one, sums[i]);
  return joined(sums[at_once - 1]);
}

} // namespace

uint32_t KERNELS_CRC32(uint32_t value, const uint8_t *bytes, size_t size) noexcept {
  if (size < step)
    return KERNELS_CRC32_SHORTER(value, bytes, size);
  __m128i sum = fold_steps(value, bytes, size);
  const __m128i by = factors<128>();
  for (; size >= sizeof sum; bytes += sizeof sum, size -= sizeof sum)
    sum = folded(sum, by, load(bytes));
  return finished(sum, bytes, size);
}

} // namespace dravik::kernels
