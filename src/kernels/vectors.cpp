// Loops for machines with vector registers, compiled once per machine; KERNELS_MACHINE is its name.
//
// With masked stores of 16 bits (AVX-512), blocks of 32 pixels are drawn without branches. Without them,
// drawing with transparent pixels uses the plain loops.

#include "kernels/kernels.hpp"

#ifdef __x86_64__
#include <immintrin.h>
#endif

namespace dravik::kernels {
namespace {

/// Return the address `bytes` further on, or back.
pixel *step(pixel *from, ptrdiff_t bytes) noexcept {
  return reinterpret_cast<pixel *>(reinterpret_cast<uint8_t *>(from) + bytes);
}

template <class PutRow> void each_row(const picture &what, PutRow put_row) noexcept {
  pixel *to = what.to;
  const uint8_t *from = what.from;
  for (size_t n = 0; n < what.count; ++n, to = step(to, what.pitch), from += what.stride)
    put_row(to, from, what.width);
}

#ifdef __AVX512BW__

constexpr size_t block = 32; ///< pixels per register

/// Return the mask of the first `count` pixels of a block.
__mmask32 first(size_t count) noexcept {
  return count >= block ? ~__mmask32{0} : static_cast<__mmask32>((uint32_t{1} << count) - 1);
}
__mmask64 first_of_64(size_t count) noexcept {
  return count >= 64 ? ~__mmask64{0} : static_cast<__mmask64>((uint64_t{1} << count) - 1);
}

/// Call put(to, from, number of pixels) for each block of up to 32 pixels; a source pixel has
/// `HalfBytes` / 2 bytes.
template <size_t HalfBytes, class Put> void each_block(const picture &what, Put put) noexcept {
  each_row(what, [put](pixel *to, const uint8_t *from, size_t width) {
    for (; width >= block; width -= block, to += block, from += block * HalfBytes / 2)
      put(to, from, block);
    if (width != 0)
      put(to, from, width);
  });
}

void store(pixel *to, __mmask32 wanted, __m512i colours) noexcept {
  _mm512_mask_storeu_epi16(to, wanted, colours);
}

// ----------------------------------------------------------------------------------------------- levels

/// The 16 colours twice: a lookup uses five bits of an index.
__m512i ramp_twice(const ramp &in) noexcept {
  return _mm512_broadcast_i64x4(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(in.colours)));
}

/// Return the level of each pixel in the low four bits of its word.
__m512i levels_of(const uint8_t *from, size_t count) noexcept {
  const auto wanted = static_cast<__mmask16>(first((count + 1) / 2));
  const __m512i bytes = _mm512_cvtepu8_epi32(_mm_maskz_loadu_epi8(wanted, from));
  return _mm512_or_si512(_mm512_srli_epi32(bytes, 4), _mm512_slli_epi32(bytes, 16));
}

void levels(const picture &what, const ramp &in) noexcept {
  const __m512i colours = ramp_twice(in);
  each_block<1>(what, [colours](pixel *to, const uint8_t *from, size_t count) {
    store(to, first(count), _mm512_permutexvar_epi16(levels_of(from, count), colours));
  });
}

void levels_over(const picture &what, const ramp &in) noexcept {
  const __m512i colours = ramp_twice(in);
  const __m512i level_bits = _mm512_set1_epi16(0x0F);
  each_block<1>(what, [colours, level_bits](pixel *to, const uint8_t *from, size_t count) {
    const __m512i at = levels_of(from, count);
    const __mmask32 present = _mm512_mask_test_epi16_mask(first(count), at, level_bits);
    store(to, present, _mm512_permutexvar_epi16(at, colours));
  });
}

// ------------------------------------------------------------------------------------------- colour keys

void keyed(const picture &what, uint16_t key) noexcept {
  const __m512i keys = _mm512_set1_epi16(static_cast<short>(key));
  each_block<4>(what, [keys](pixel *to, const uint8_t *from, size_t count) {
    const __m512i colours = _mm512_maskz_loadu_epi16(first(count), from);
    store(to, _mm512_mask_cmpneq_epi16_mask(first(count), colours, keys), colours);
  });
}

void silhouette(const picture &what, uint16_t key, bool without_black, uint16_t colour) noexcept {
  const __m512i keys = _mm512_set1_epi16(static_cast<short>(key));
  const __m512i others = without_black ? _mm512_setzero_si512() : keys;
  const __m512i paint = _mm512_set1_epi16(static_cast<short>(colour));
  each_block<4>(what, [keys, others, paint](pixel *to, const uint8_t *from, size_t count) {
    const __m512i colours = _mm512_maskz_loadu_epi16(first(count), from);
    const __mmask32 kept = _mm512_mask_cmpneq_epi16_mask(first(count), colours, keys);
    store(to, _mm512_mask_cmpneq_epi16_mask(kept, colours, others), paint);
  });
}

// ------------------------------------------------------------------------------------------ true colour

/// Return RGB565 in the low half of each word, from blue, green and red in its bytes.
__m512i rgb565_of(__m512i pixels) noexcept {
  const __m512i red = _mm512_and_si512(_mm512_srli_epi32(pixels, 8), _mm512_set1_epi32(0xF800));
  const __m512i green = _mm512_and_si512(_mm512_srli_epi32(pixels, 5), _mm512_set1_epi32(0x07E0));
  const __m512i blue = _mm512_and_si512(_mm512_srli_epi32(pixels, 3), _mm512_set1_epi32(0x001F));
  return _mm512_or_si512(_mm512_or_si512(red, green), blue);
}

/// Return words of 16 pixels each as 32 pixels.
__m512i joined(__m512i left, __m512i right) noexcept {
  alignas(64) static constexpr uint16_t low_halves[block] = {0,  2,  4,  6,  8,  10, 12, 14, 16, 18, 20,
                                                             22, 24, 26, 28, 30, 32, 34, 36, 38, 40, 42,
                                                             44, 46, 48, 50, 52, 54, 56, 58, 60, 62};
  return _mm512_permutex2var_epi16(left, _mm512_load_si512(low_halves), right);
}

/// Load up to 16 pixels of three bytes, one per word; the highest bytes are 0.
__m512i words_of_24(const uint8_t *from, size_t count) noexcept {
  const __m512i bytes = _mm512_maskz_loadu_epi8(first_of_64(count * 3), from);
  const __m512i quarters = _mm512_setr_epi32(0, 1, 2, 0, 3, 4, 5, 0, 6, 7, 8, 0, 9, 10, 11, 0);
  const __m128i places = _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
  return _mm512_shuffle_epi8(_mm512_permutexvar_epi32(quarters, bytes), _mm512_broadcast_i32x4(places));
}

__m512i words_of_32(const uint8_t *from, size_t count) noexcept {
  return _mm512_maskz_loadu_epi32(static_cast<__mmask16>(first(count)), from);
}

/// Return the pixels of a block from two registers of words.
template <size_t PixelSize, class Words>
void put_true_colour(pixel *to, const uint8_t *from, size_t count, Words words_of) noexcept {
  constexpr size_t half = block / 2;
  const size_t left = count < half ? count : half;
  store(to, first(count),
        joined(rgb565_of(words_of(from, left)), rgb565_of(words_of(from + half * PixelSize, count - left))));
}

void bgr24(const picture &what) noexcept {
  each_block<6>(what, [](pixel *to, const uint8_t *from, size_t count) {
    put_true_colour<3>(to, from, count, words_of_24);
  });
}

void bgr32(const picture &what) noexcept {
  each_block<8>(what, [](pixel *to, const uint8_t *from, size_t count) {
    put_true_colour<4>(to, from, count, words_of_32);
  });
}

/// A lookup uses six bits of an index; the other two select one of four.
void indexed(const picture &what, const uint16_t *palette) noexcept {
  const __m512i sixth = _mm512_set1_epi16(0x40), seventh = _mm512_set1_epi16(0x80);
  const auto part = [palette](size_t n) { return _mm512_loadu_si512(palette + n * block); };
  const __m512i colours[] = {part(0), part(1), part(2), part(3), part(4), part(5), part(6), part(7)};
  each_block<2>(what, [&](pixel *to, const uint8_t *from, size_t count) {
    const __m512i at = _mm512_cvtepu8_epi16(_mm256_maskz_loadu_epi8(first(count), from));
    const auto look_up = [&](size_t n) { return _mm512_permutex2var_epi16(colours[n], at, colours[n + 1]); };
    const __mmask32 upper = _mm512_test_epi16_mask(at, sixth), last = _mm512_test_epi16_mask(at, seventh);
    const __m512i low = _mm512_mask_blend_epi16(upper, look_up(0), look_up(2));
    const __m512i high = _mm512_mask_blend_epi16(upper, look_up(4), look_up(6));
    store(to, first(count), _mm512_mask_blend_epi16(last, low, high));
  });
}

// ------------------------------------------------------------------------------------------------- text

/// For each pixel of a block: the byte of its bit among those of a row of all glyphs, and the bit.
struct bit_places {
  __m512i bytes, bits;
};

__m512i all_words(size_t value) noexcept {
  return _mm512_set1_epi16(static_cast<short>(value));
}

/// A number of pixels times 2, times `by_width`, over 65536 is the number of glyphs.
template <size_t RowBytes>
bit_places bit_places_of(size_t first_pixel, size_t width, __m512i by_width) noexcept {
  alignas(64) static constexpr uint16_t numbers[block] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10,
                                                          11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21,
                                                          22, 23, 24, 25, 26, 27, 28, 29, 30, 31};
  const __m512i pixels = _mm512_add_epi16(_mm512_load_si512(numbers), all_words(first_pixel));
  const __m512i glyph = _mm512_mulhi_epu16(_mm512_add_epi16(pixels, pixels), by_width);
  const __m512i column = _mm512_sub_epi16(pixels, _mm512_mullo_epi16(glyph, all_words(width)));
  const __m512i byte =
      RowBytes == 1 ? glyph : _mm512_add_epi16(_mm512_add_epi16(glyph, glyph), _mm512_srli_epi16(column, 3));
  const __m512i from_right = _mm512_andnot_si512(column, all_words(7));
  return {_mm512_or_si512(byte, all_words(0x8000)), _mm512_sllv_epi16(all_words(1), from_right)};
}

constexpr size_t bytes_at_once = sizeof(__m128i); ///< of each glyph

/// Store bytes of all glyphs row by row: of each row, `RowBytes` bytes of every glyph. Each pass moves an index
/// bit of the glyph from the highest to the lowest place.
template <size_t RowBytes>
void store_rows(uint8_t *to, const glyph_run &what, size_t first_byte, size_t size) noexcept {
  const auto wanted = static_cast<__mmask16>(first(size));
  __m128i parts[glyphs_per_run] = {};
  for (size_t n = 0; n < what.count; ++n)
    parts[n] = _mm_maskz_loadu_epi8(wanted, what.glyphs[n] + first_byte);
  for (size_t pass = 0; pass < 3; ++pass) {
    __m128i mixed[glyphs_per_run];
    for (size_t n = 0; n < glyphs_per_run / 2; ++n) {
      const __m128i a = parts[n], b = parts[n + glyphs_per_run / 2];
      mixed[2 * n] = RowBytes == 1 ? _mm_unpacklo_epi8(a, b) : _mm_unpacklo_epi16(a, b);
      mixed[2 * n + 1] = RowBytes == 1 ? _mm_unpackhi_epi8(a, b) : _mm_unpackhi_epi16(a, b);
    }
    for (size_t n = 0; n < glyphs_per_run; ++n)
      parts[n] = mixed[n];
  }
  for (size_t n = 0; n < glyphs_per_run; ++n)
    _mm_store_si128(reinterpret_cast<__m128i *>(to) + n, parts[n]);
}

/// Return the bytes of a row of all glyphs in each quarter.
template <size_t RowBytes> __m512i row_bytes_at(const uint8_t *from) noexcept {
  if constexpr (RowBytes == 1)
    return _mm512_broadcastq_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(from)));
  return _mm512_broadcast_i32x4(_mm_load_si128(reinterpret_cast<const __m128i *>(from)));
}

template <size_t RowBytes> void put_glyphs(const glyph_run &what, __m512i clear, __m512i set) noexcept {
  constexpr size_t line_bytes = glyphs_per_run * RowBytes, rows_at_once = bytes_at_once / RowBytes;
  const size_t width = what.count * what.width;
  const ptrdiff_t pitch = what.pitch;
  const auto glyph_width = static_cast<uint32_t>(what.width);
  const __m512i by_width = all_words((0x8000 + glyph_width - 1) / glyph_width);
  pixel *to = what.to;
  for (size_t row = 0; row < what.height; row += rows_at_once) {
    const size_t rows = what.height - row < rows_at_once ? what.height - row : rows_at_once;
    alignas(64) uint8_t lines[rows_at_once * line_bytes];
    store_rows<RowBytes>(lines, what, row * RowBytes, rows * RowBytes);
    for (size_t at = 0; at < width; at += block) {
      const bit_places places = bit_places_of<RowBytes>(at, glyph_width, by_width);
      const __mmask32 wanted = first(width - at);
      pixel *line = to + at;
      for (size_t n = 0; n < rows; ++n, line = step(line, pitch)) {
        const __m512i bytes =
            _mm512_shuffle_epi8(row_bytes_at<RowBytes>(lines + n * line_bytes), places.bytes);
        store(line, wanted, _mm512_mask_blend_epi16(_mm512_test_epi16_mask(bytes, places.bits), clear, set));
      }
    }
    to = step(to, static_cast<ptrdiff_t>(rows) * pitch);
  }
}

/// Call put(pixels of the row, its bytes) for each row of each glyph, one glyph after the other.
template <size_t RowBytes, class Put> void each_glyph_row(const glyph_run &what, Put put) noexcept {
  for (size_t n = 0; n < what.count; ++n) {
    const ptrdiff_t pitch = what.pitch;
    pixel *line = what.to + n * what.width;
    const uint8_t *row = what.glyphs[n], *const end = row + what.height * RowBytes;
    for (; row != end; row += RowBytes, line = step(line, pitch))
      put(line, row);
  }
}

void put_narrow_glyphs(const glyph_run &what, uint16_t clear, uint16_t set) noexcept {
  const __m128i clears = _mm_set1_epi16(static_cast<short>(clear)),
                sets = _mm_set1_epi16(static_cast<short>(set)),
                bits = _mm_setr_epi16(0x80, 0x40, 0x20, 0x10, 8, 4, 2, 1);
  const auto wanted = static_cast<__mmask8>(first(what.width));
  each_glyph_row<1>(what, [=](pixel *line, const uint8_t *row) {
    const __mmask8 is_set = _mm_test_epi16_mask(_mm_set1_epi8(static_cast<char>(*row)), bits);
    _mm_mask_storeu_epi16(line, wanted, _mm_mask_blend_epi16(is_set, clears, sets));
  });
}

void put_wide_glyphs(const glyph_run &what, uint16_t clear, uint16_t set) noexcept {
  const __m256i clears = _mm256_set1_epi16(static_cast<short>(clear)),
                sets = _mm256_set1_epi16(static_cast<short>(set)),
                bits = _mm256_setr_epi16(0x80, 0x40, 0x20, 0x10, 8, 4, 2, 1, static_cast<short>(0x8000),
                                         0x4000, 0x2000, 0x1000, 0x800, 0x400, 0x200, 0x100);
  const auto wanted = static_cast<__mmask16>(first(what.width));
  each_glyph_row<2>(what, [=](pixel *line, const uint8_t *row) {
    short bytes;
    __builtin_memcpy(&bytes, row, sizeof bytes);
    const __mmask16 is_set = _mm256_test_epi16_mask(_mm256_set1_epi16(bytes), bits);
    _mm256_mask_storeu_epi16(line, wanted, _mm256_mask_blend_epi16(is_set, clears, sets));
  });
}

void glyphs(const glyph_run &what, uint16_t clear, uint16_t set) noexcept {
  constexpr size_t worth_mixing = 3;
  if (what.count < worth_mixing)
    return what.width <= 8 ? put_narrow_glyphs(what, clear, set) : put_wide_glyphs(what, clear, set);
  const __m512i clears = _mm512_set1_epi16(static_cast<short>(clear));
  const __m512i sets = _mm512_set1_epi16(static_cast<short>(set));
  if (what.width <= 8)
    return put_glyphs<1>(what, clears, sets);
  put_glyphs<2>(what, clears, sets);
}

#else

typedef uint8_t bytes_of_16 __attribute__((vector_size(16)));
typedef uint16_t words_of_8 __attribute__((vector_size(16)));
typedef uint32_t words_of_4 __attribute__((vector_size(16)));
typedef uint64_t words_of_2 __attribute__((vector_size(16)));

template <class Vector> Vector load(const void *from) noexcept {
  Vector loaded;
  __builtin_memcpy(&loaded, from, sizeof loaded);
  return loaded;
}

template <class Vector> void store(pixel *to, Vector colours) noexcept {
  __builtin_memcpy(to, &colours, sizeof colours);
}

// ----------------------------------------------------------------------------------------------- levels

/// Look up bytes by 16 indexes below 16.
bytes_of_16 look_up(bytes_of_16 table, bytes_of_16 indexes) noexcept {
  return reinterpret_cast<bytes_of_16>(
      _mm_shuffle_epi8(reinterpret_cast<__m128i>(table), reinterpret_cast<__m128i>(indexes)));
}

/// The low and the high bytes of 16 colours.
struct colour_bytes {
  bytes_of_16 low, high;

  explicit colour_bytes(const uint16_t *colours) noexcept {
    const auto first = load<bytes_of_16>(colours), last = load<bytes_of_16>(colours + 8);
    low = __builtin_shufflevector(first, last, 0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
    high = __builtin_shufflevector(first, last, 1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31);
  }
};

/// Draw the 16 pixels of the first eight bytes, or of the last eight.
template <int First>
void put_16_levels(pixel *to, bytes_of_16 left, bytes_of_16 right, const colour_bytes &colours) noexcept {
  constexpr int a = First, b = First + 16;
  const auto words_of = [&](bytes_of_16 levels) {
    return reinterpret_cast<words_of_8>(__builtin_shufflevector(
        look_up(colours.low, levels), look_up(colours.high, levels), a, b, a + 1, b + 1, a + 2, b + 2, a + 3,
        b + 3, a + 4, b + 4, a + 5, b + 5, a + 6, b + 6, a + 7, b + 7));
  };
  const words_of_8 lefts = words_of(left), rights = words_of(right);
  store(to, __builtin_shufflevector(lefts, rights, 0, 8, 1, 9, 2, 10, 3, 11));
  store(to + 8, __builtin_shufflevector(lefts, rights, 4, 12, 5, 13, 6, 14, 7, 15));
}

/// Draw the pixels of a row after the last block of 16.
void put_rest_of_levels(pixel *to, const uint8_t *from, size_t width, const uint16_t *colours) noexcept {
  for (; width >= 2; width -= 2, to += 2, ++from) {
    to[0] = colours[*from >> 4];
    to[1] = colours[*from & 15];
  }
  if (width != 0)
    *to = colours[*from >> 4];
}

void levels(const picture &what, const ramp &in) noexcept {
  const colour_bytes colours{in.colours};
  each_row(what, [&colours, &in](pixel *to, const uint8_t *from, size_t width) {
    for (; width >= 32; width -= 32, to += 32, from += 16) {
      const auto bytes = load<bytes_of_16>(from);
      put_16_levels<0>(to, bytes >> 4, bytes & 15, colours);
      put_16_levels<8>(to + 16, bytes >> 4, bytes & 15, colours);
    }
    if (width >= 16) {
      const auto bytes = reinterpret_cast<bytes_of_16>(words_of_2{load<uint64_t>(from)});
      put_16_levels<0>(to, bytes >> 4, bytes & 15, colours);
      width -= 16, to += 16, from += 8;
    }
    put_rest_of_levels(to, from, width, in.colours);
  });
}

void levels_over(const picture &what, const ramp &in) noexcept {
  plain.levels_over(what, in);
}

// ------------------------------------------------------------------------------------------- colour keys

void keyed(const picture &what, uint16_t key) noexcept {
  plain.keyed(what, key);
}

void silhouette(const picture &what, uint16_t key, bool without_black, uint16_t colour) noexcept {
  plain.silhouette(what, key, without_black, colour);
}

// ------------------------------------------------------------------------------------------ true colour

words_of_4 rgb565_of(words_of_4 pixels) noexcept {
  return (pixels >> 8 & 0xF800) | (pixels >> 5 & 0x07E0) | (pixels >> 3 & 0x001F);
}

/// Return words of four pixels each as eight pixels.
words_of_8 joined(words_of_4 left, words_of_4 right) noexcept {
  return __builtin_shufflevector(reinterpret_cast<words_of_8>(left), reinterpret_cast<words_of_8>(right), 0,
                                 2, 4, 6, 8, 10, 12, 14);
}

/// Load four pixels of three bytes from byte `skipped` of 16, one per word; the highest bytes are undefined.
template <int Skipped> words_of_4 words_of_24(bytes_of_16 bytes) noexcept {
  constexpr int s = Skipped;
  return reinterpret_cast<words_of_4>(__builtin_shufflevector(bytes, bytes, s, s + 1, s + 2, s + 2, s + 3,
                                                              s + 4, s + 5, s + 5, s + 6, s + 7, s + 8, s + 8,
                                                              s + 9, s + 10, s + 11, s + 11));
}

/// Draw the pixels of a row after the last block of eight.
template <size_t PixelSize> void put_rest(pixel *to, const uint8_t *from, size_t width) noexcept {
  for (; width != 0; --width, from += PixelSize)
    *to++ = static_cast<uint16_t>((from[2] << 8 & 0xF800) | (from[1] << 3 & 0x07E0) | from[0] >> 3);
}

void bgr24(const picture &what) noexcept {
  each_row(what, [](pixel *to, const uint8_t *from, size_t width) {
    for (; width >= 8; width -= 8, to += 8, from += 24)
      store(to, joined(rgb565_of(words_of_24<0>(load<bytes_of_16>(from))),
                       rgb565_of(words_of_24<4>(load<bytes_of_16>(from + 8)))));
    put_rest<3>(to, from, width);
  });
}

void bgr32(const picture &what) noexcept {
  each_row(what, [](pixel *to, const uint8_t *from, size_t width) {
    for (; width >= 8; width -= 8, to += 8, from += 32)
      store(to, joined(rgb565_of(load<words_of_4>(from)),
                       rgb565_of(load<words_of_4>(from + sizeof(words_of_4)))));
    put_rest<4>(to, from, width);
  });
}

void indexed(const picture &what, const uint16_t *palette) noexcept {
  plain.indexed(what, palette);
}

void glyphs(const glyph_run &what, uint16_t clear, uint16_t set) noexcept {
  plain.glyphs(what, clear, set);
}

#endif

} // namespace

#define DRAVIK_NAME_OF(machine) #machine
#define DRAVIK_TEXT_OF(machine) DRAVIK_NAME_OF(machine)

constinit const machine KERNELS_MACHINE = {
    DRAVIK_TEXT_OF(KERNELS_MACHINE), levels, levels_over, keyed, silhouette, bgr24, bgr32, indexed, glyphs};

} // namespace dravik::kernels
