// Loops for any machine: words, and the compiler's vectors on machines with 16-byte registers.

#include "base/unaligned.hpp"
#include "fb/bit_row.hpp"
#include "fb/colour_table.hpp"
#include "fb/colours.hpp"
#include "fb/pair_row.hpp"
#include "fb/vectors.hpp"
#include "kernels/kernels.hpp"

#include <algorithm>
#include <array>
#include <bit>

namespace dravik::kernels {
namespace {

template <class PutRow> void each_row(const picture &what, PutRow put_row) noexcept {
  pixel *to = what.to;
  const uint8_t *from = what.from;
  for (size_t n = 0; n < what.count; ++n, to = fb::step(to, what.pitch), from += what.stride)
    put_row(to, from, what.width);
}

// ----------------------------------------------------------------------------------------------- levels

/// The colours of a ramp, and the pixel pairs made of them.
struct ramp_pairs {
  std::array<uint16_t, DRAVIK_RAMP_STEPS> colours;
  fb::pair_table pairs;
};

/// Return the pixel pairs of a ramp, cached until the colours of the ramp change. A new cache is valid for a
/// ramp of zeros.
[[gnu::noinline]] const ramp_pairs &pairs_of(const ramp &in) noexcept {
  static constinit std::array<ramp_pairs, DRAVIK_RAMPS> tables = {};
  ramp_pairs &table = tables[in.number];
  if (std::equal(table.colours.begin(), table.colours.end(), in.colours))
    return table;
  std::copy_n(in.colours, table.colours.size(), table.colours.begin());
  fb::make_pairs(table.pairs, [&table](size_t level) { return table.colours[level]; });
  return table;
}

/// Levels are examined a machine word at a time: two per byte, the left one in bits 7:4.
using levels_word = size_t;
constexpr size_t levels_a_word = sizeof(levels_word) * 2;
constexpr levels_word lowest_of_levels = ~levels_word{0} / 15, lowest_of_bytes = ~levels_word{0} / 255;

/// Return the lowest bit of each level, set if the level is not 0.
constexpr levels_word present_in(levels_word word) noexcept {
  return (word | word >> 1 | word >> 2 | word >> 3) & lowest_of_levels;
}

/// Draw the levels that are not 0: first bytes with two of them as pairs, then single ones.
void put_present(pixel *to, levels_word word, levels_word present, const ramp_pairs &table) noexcept {
  const levels_word both = present & present >> 4 & lowest_of_bytes;
  for (levels_word left = both; left != 0; left &= left - 1) {
    const auto at = static_cast<unsigned>(std::countr_zero(left));
    fb::store(to + at / 4, table.pairs[word >> at & 0xFF]);
  }
  for (levels_word left = present ^ both * 0x11; left != 0; left &= left - 1) {
    const auto at = static_cast<unsigned>(std::countr_zero(left));
    to[(at / 4) ^ 1] = table.colours[word >> at & 0x0F];
  }
}

/// Draw a row; level 0 leaves its pixel unchanged. Most words of artwork are empty or full.
void put_levels_over(pixel *to, const uint8_t *from, size_t width, const ramp_pairs &table) noexcept {
  for (; width >= levels_a_word; width -= levels_a_word, to += levels_a_word, from += sizeof(levels_word)) {
    const auto word = load<levels_word>(from);
    const levels_word present = present_in(word);
    if (present == lowest_of_levels) {
      fb::put_pair_row(to, from, levels_a_word, table.pairs);
    } else {
      put_present(to, word, present, table);
    }
  }
  levels_word rest = 0;
  for (size_t i = 0; i < (width + 1) / 2; ++i)
    rest |= levels_word{from[i]} << (8 * i);
  if (width % 2 != 0)
    rest &= ~(levels_word{0x0F} << (width / 2 * 8)); // the padding of the row
  put_present(to, rest, present_in(rest), table);
}

void levels(const picture &what, const ramp &in) noexcept {
  const ramp_pairs &table = pairs_of(in);
  each_row(what, [&table](pixel *to, const uint8_t *from, size_t width) {
    fb::put_pair_row(to, from, width, table.pairs);
  });
}

void levels_over(const picture &what, const ramp &in) noexcept {
  const ramp_pairs &table = pairs_of(in);
  each_row(what, [&table](pixel *to, const uint8_t *from, size_t width) {
    put_levels_over(to, from, width, table);
  });
}

// ------------------------------------------------------------------------------------------- colour keys

/// Makes the key colour transparent, and black if `WithoutBlack`; leaves other colours unchanged.
template <bool WithoutBlack> struct key_colour {
  uint16_t key;

  template <class Pixel> constexpr auto leaves_out(Pixel colour) const noexcept {
    if constexpr (WithoutBlack) {
      return (colour == key) | (colour == 0);
    } else {
      return colour == key;
    }
  }
};

/// Draw the pixels of a row that `key` does not make transparent, in the colours of `paint`. Machines with
/// 16-byte registers examine eight pixels at a time. `from` is a multiple of `Alignment`.
template <size_t Alignment, class Key, class Paint>
void put_keyed_row(pixel *to, const uint8_t *from, size_t width, Key key, Paint paint) noexcept {
  const auto put_some = [=](size_t first, size_t last) {
#pragma GCC unroll 4
    for (size_t i = first; i < last; ++i)
      if (const auto colour = load<uint16_t, Alignment>(from + i * 2); !key.leaves_out(colour))
        to[i] = paint(colour);
  };
  size_t done = 0;
  for (; fb::has_wide_registers && width - done >= 8; done += 8) {
    const auto colours = load<fb::vector_of_8, Alignment>(from + done * 2);
    const auto left_out = reinterpret_cast<fb::vector_of_2>(key.leaves_out(colours));
    if ((left_out[0] | left_out[1]) == 0) {
      fb::store(to + done, paint(colours));
    } else if ((left_out[0] & left_out[1]) != UINT64_MAX) {
      put_some(done, done + 8);
    }
  }
  put_some(done, width);
}

template <class Key, class Paint> void put_keyed(const picture &what, Key key, Paint paint) noexcept {
  each_row(what, [=](pixel *to, const uint8_t *from, size_t width) {
    if (fb::has_wide_registers || reinterpret_cast<uintptr_t>(from) % alignof(pixel) != 0)
      return put_keyed_row<1>(to, from, width, key, paint);
    put_keyed_row<alignof(pixel)>(to, from, width, key, paint);
  });
}

void keyed(const picture &what, uint16_t key) noexcept {
  put_keyed(what, key_colour<false>{key}, []<class Pixel>(Pixel colour) { return colour; });
}

void silhouette(const picture &what, uint16_t key, bool without_black, uint16_t colour) noexcept {
  const auto paint = [colour]<class Pixel>(Pixel) { return static_cast<Pixel>(Pixel{} + colour); };
  if (without_black) {
    put_keyed(what, key_colour<true>{key}, paint);
  } else {
    put_keyed(what, key_colour<false>{key}, paint);
  }
}

// ------------------------------------------------------------------------------------------ true colour

/// Convert one pixel, or each one of a vector.
template <class Words> constexpr Words rgb565_of(Words pixels) noexcept {
  return fb::truncated_rgb565<fb::channel_order::bgr>(pixels);
}

/// Return a pixel of a row, without reading past it.
uint32_t rgb565_at(const uint8_t *bytes) noexcept {
  return fb::truncated_rgb565(bytes[2], bytes[1], bytes[0]);
}

/// Return two pixels of a row, without reading past them: each channel of both at a time.
template <size_t PixelSize> uint32_t rgb565_pair_at(const uint8_t *bytes) noexcept {
  const auto both = [bytes](size_t at) { return fb::pixel_pair(bytes[at], bytes[PixelSize + at]); };
  return (both(2) & 0x00F8'00F8) << 8 | (both(1) & 0x00FC'00FC) << 3 | (both(0) >> 3 & 0x001F'001F);
}

/// Store two pixels, or as many pairs as the vectors have words: the left pixels of the pairs come from the
/// first vector, the right ones from the second.
template <class Words> void put_pairs(pixel *to, Words left, Words right) noexcept {
  fb::store(to, rgb565_of(right) << 16 | rgb565_of(left));
}

/// A word is read per pixel, so the last pixels of a 24-bit row are drawn one by one.
template <size_t PixelSize> void put_true_colour_row(pixel *to, const uint8_t *from, size_t width) noexcept {
  constexpr size_t pair = 2 * PixelSize, reads_ahead = PixelSize == 3 ? 1 : 0;
  [[maybe_unused]] constexpr auto every_other = [](const uint8_t *row) {
    return fb::vector_of_4{load<uint32_t>(row), load<uint32_t>(row + pair), load<uint32_t>(row + 2 * pair),
                           load<uint32_t>(row + 3 * pair)};
  };
  if constexpr (fb::has_wide_registers) {
    for (; width >= 8 + reads_ahead; width -= 8, to += 8, from += 4 * pair)
      put_pairs(to, every_other(from), every_other(from + PixelSize));
    for (; width >= 2 + reads_ahead; width -= 2, to += 2, from += pair)
      put_pairs(to, load<uint32_t>(from), load<uint32_t>(from + PixelSize));
  }
  if (fb::splits_word(to) && width != 0) {
    *to++ = static_cast<uint16_t>(rgb565_at(from));
    from += PixelSize;
    --width;
  }
#pragma GCC unroll 2
  for (; width >= 2; width -= 2, to += 2, from += pair)
    fb::store_pair(to, rgb565_pair_at<PixelSize>(from));
  if (width != 0)
    *to = static_cast<uint16_t>(rgb565_at(from));
}

void bgr24(const picture &what) noexcept {
  each_row(what, put_true_colour_row<3>);
}

void bgr32(const picture &what) noexcept {
  each_row(what, put_true_colour_row<4>);
}

void indexed(const picture &what, const uint16_t *palette) noexcept {
  each_row(what, [palette](pixel *to, const uint8_t *from, size_t width) {
    if (fb::splits_word(to) && width != 0) {
      *to++ = palette[*from++];
      --width;
    }
    for (; width >= 2; width -= 2, to += 2, from += 2)
      fb::store_pair(to, fb::pixel_pair(palette[from[0]], palette[from[1]]));
    if (width != 0)
      *to = palette[*from];
  });
}

// ------------------------------------------------------------------------------------------------- text

void glyphs(const glyph_run &what, uint16_t clear, uint16_t set) noexcept {
  const fb::opaque_bits paint{clear, set};
  const size_t size = what.height * (what.width <= 8 ? 1 : 2);
  pixel *to = what.to;
  for (size_t n = 0; n < what.count; ++n, to += what.width)
    fb::put_bit_rows({what.glyphs[n], size}, to, what.pitch, static_cast<uint32_t>(what.width), paint);
}

} // namespace

constinit const machine plain = {"plain", levels, levels_over, keyed, silhouette,
                                 bgr24,   bgr32,  indexed,     glyphs};

} // namespace dravik::kernels
