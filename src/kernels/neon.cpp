// Loops for ARM processors with NEON.
//
// 32-bit loads and stores name elements of a byte or a pixel, so that they work at any address of a pixel,
// also where frame buffer memory is mapped as a device. Without masked stores, words are faster for artwork
// with transparent pixels, and lookups of 256 colours are not for vectors: these use the plain loops.

#include "kernels/kernels.hpp"

#include <arm_neon.h>

namespace dravik::kernels {
namespace {

constexpr size_t block = 8; ///< pixels per register

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

// ----------------------------------------------------------------------------------------------- levels

/// The low and the high bytes of 16 colours, looked up by 16 indexes.
class colour_bytes {
public:
  explicit colour_bytes(const uint16_t *colours) noexcept
      : bytes_(vld2q_u8(reinterpret_cast<const uint8_t *>(colours))) {}

  uint8x16x2_t of(uint8x16_t levels) const noexcept {
    return {{look_up(bytes_.val[0], levels), look_up(bytes_.val[1], levels)}};
  }
  uint8x8x2_t of(uint8x8_t levels) const noexcept {
    return {{look_up(bytes_.val[0], levels), look_up(bytes_.val[1], levels)}};
  }

private:
#ifdef __aarch64__
  static uint8x8_t look_up(uint8x16_t table, uint8x8_t at) noexcept {
    return vqtbl1_u8(table, at);
  }
  static uint8x16_t look_up(uint8x16_t table, uint8x16_t at) noexcept {
    return vqtbl1q_u8(table, at);
  }
#else
  static uint8x8_t look_up(uint8x16_t table, uint8x8_t at) noexcept {
    return vtbl2_u8({{vget_low_u8(table), vget_high_u8(table)}}, at);
  }
  static uint8x16_t look_up(uint8x16_t table, uint8x16_t at) noexcept {
    return vcombine_u8(look_up(table, vget_low_u8(at)), look_up(table, vget_high_u8(at)));
  }
#endif

  uint8x16x2_t bytes_;
};

/// Return the levels of eight bytes in the order of their pixels.
uint8x8x2_t levels_of(uint8x8_t bytes) noexcept {
  return vzip_u8(vshr_n_u8(bytes, 4), vand_u8(bytes, vdup_n_u8(15)));
}

uint8x8_t load_4(const uint8_t *from) noexcept {
  uint8x8_t bytes = vld1_dup_u8(from);
  bytes = vld1_lane_u8(from + 1, bytes, 1);
  bytes = vld1_lane_u8(from + 2, bytes, 2);
  return vld1_lane_u8(from + 3, bytes, 3);
}

void levels(const picture &what, const ramp &in) noexcept {
  const colour_bytes colours{in.colours};
  each_row(what, [&colours, &in](pixel *to, const uint8_t *from, size_t width) {
    for (; width >= 2 * block; width -= 2 * block, to += 2 * block, from += block) {
      const uint8x8x2_t all = levels_of(vld1_u8(from));
      vst2q_u8(reinterpret_cast<uint8_t *>(to), colours.of(vcombine_u8(all.val[0], all.val[1])));
    }
    if (width == 0)
      return;
    if (width >= block) {
      vst2_u8(reinterpret_cast<uint8_t *>(to), colours.of(levels_of(load_4(from)).val[0]));
      width -= block, to += block, from += block / 2;
    }
    for (; width >= 2; width -= 2, to += 2, ++from) {
      to[0] = in.colours[*from >> 4];
      to[1] = in.colours[*from & 15];
    }
    if (width != 0)
      *to = in.colours[*from >> 4];
  });
}

void levels_over(const picture &what, const ramp &in) noexcept {
  plain.levels_over(what, in);
}

// ------------------------------------------------------------------------------------------- colour keys

/// Draw the pixels that `leaves_out`(pixels) does not select, each as `paint`(pixels).
template <class LeavesOut, class Paint>
void put_keyed(const picture &what, LeavesOut leaves_out, Paint paint) noexcept {
  const auto put_some = [=](pixel *to, uint16x8_t colours, uint64_t left_out, size_t count) {
    const uint16x8_t painted = paint(colours);
    alignas(16) uint16_t pixels[block];
    vst1q_u16(pixels, painted);
    for (size_t i = 0; i < count; ++i, left_out >>= 8)
      if ((left_out & 1) == 0)
        to[i] = pixels[i];
  };
  const auto mask_of = [=](uint16x8_t colours) {
    return vget_lane_u64(vreinterpret_u64_u8(vmovn_u16(leaves_out(colours))), 0);
  };
  each_row(what, [=](pixel *to, const uint8_t *from, size_t width) {
    for (; width >= block; width -= block, to += block, from += 2 * block) {
      const uint16x8_t colours = vreinterpretq_u16_u8(vld1q_u8(from));
      const uint64_t left_out = mask_of(colours);
      if (left_out == 0)
        vst1q_u16(to, paint(colours));
      else if (left_out != ~uint64_t{0})
        put_some(to, colours, left_out, block);
    }
    for (; width != 0; --width, ++to, from += 2) {
      const uint16x8_t colour = vdupq_n_u16(static_cast<uint16_t>(from[0] | from[1] << 8));
      put_some(to, colour, mask_of(colour), 1);
    }
  });
}

void keyed(const picture &what, uint16_t key) noexcept {
  const uint16x8_t keys = vdupq_n_u16(key);
  put_keyed(
      what, [keys](uint16x8_t colours) { return vceqq_u16(colours, keys); },
      [](uint16x8_t colours) { return colours; });
}

void silhouette(const picture &what, uint16_t key, bool without_black, uint16_t colour) noexcept {
  const uint16x8_t keys = vdupq_n_u16(key), others = vdupq_n_u16(without_black ? 0 : key);
  const uint16x8_t painted = vdupq_n_u16(colour);
  put_keyed(
      what,
      [keys, others](uint16x8_t colours) {
        return vorrq_u16(vceqq_u16(colours, keys), vceqq_u16(colours, others));
      },
      [painted](uint16x8_t) { return painted; });
}

// ------------------------------------------------------------------------------------------ true colour

uint16x8_t rgb565_of(uint8x8_t red, uint8x8_t green, uint8x8_t blue) noexcept {
  const uint16x8_t with_green = vsriq_n_u16(vshll_n_u8(red, 8), vshll_n_u8(green, 8), 5);
  return vsriq_n_u16(with_green, vshll_n_u8(blue, 8), 11);
}

/// Draw the pixels of a row after the last block.
template <size_t PixelSize> void put_rest(pixel *to, const uint8_t *from, size_t width) noexcept {
  for (; width != 0; --width, from += PixelSize)
    *to++ = static_cast<uint16_t>((from[2] << 8 & 0xF800) | (from[1] << 3 & 0x07E0) | from[0] >> 3);
}

void bgr24(const picture &what) noexcept {
  each_row(what, [](pixel *to, const uint8_t *from, size_t width) {
    for (; width >= block; width -= block, to += block, from += 3 * block) {
      const uint8x8x3_t bgr = vld3_u8(from);
      vst1q_u16(to, rgb565_of(bgr.val[2], bgr.val[1], bgr.val[0]));
    }
    put_rest<3>(to, from, width);
  });
}

void bgr32(const picture &what) noexcept {
  each_row(what, [](pixel *to, const uint8_t *from, size_t width) {
    for (; width >= block; width -= block, to += block, from += 4 * block) {
      const uint8x8x4_t bgr = vld4_u8(from);
      vst1q_u16(to, rgb565_of(bgr.val[2], bgr.val[1], bgr.val[0]));
    }
    put_rest<4>(to, from, width);
  });
}

void indexed(const picture &what, const uint16_t *palette) noexcept {
  plain.indexed(what, palette);
}

// ------------------------------------------------------------------------------------------------- text

/// Store the first `count` pixels of a register, up to 8.
void store_first(pixel *to, uint16x8_t colours, size_t count) noexcept {
  if (count == block)
    return vst1q_u16(to, colours);
  uint16x4_t four = vget_low_u16(colours);
  if ((count & 4) != 0) {
    vst1_u16(to, four);
    four = vget_high_u16(colours);
    to += 4;
  }
  if ((count & 2) != 0) {
    vst1_lane_u16(to, four, 0);
    vst1_lane_u16(to + 1, four, 1);
    four = vext_u16(four, four, 2);
    to += 2;
  }
  if ((count & 1) != 0)
    vst1_lane_u16(to, four, 0);
}

void glyphs(const glyph_run &what, uint16_t clear, uint16_t set) noexcept {
  const uint16x8_t clears = vdupq_n_u16(clear), sets = vdupq_n_u16(set);
  const uint8x8_t bits = vcreate_u8(0x0102040810204080);
  const auto colours_of = [=](const uint8_t *byte) {
    const uint8x8_t is_set = vtst_u8(vld1_dup_u8(byte), bits);
    return vbslq_u16(vreinterpretq_u16_s16(vmovl_s8(vreinterpret_s8_u8(is_set))), sets, clears);
  };
  const size_t width = what.width, height = what.height, left = width < block ? width : block;
  const ptrdiff_t pitch = what.pitch;
  for (size_t n = 0; n < what.count; ++n) {
    pixel *to = what.to + n * width;
    const uint8_t *row = what.glyphs[n];
    for (size_t y = 0; y < height; ++y, to = step(to, pitch)) {
      store_first(to, colours_of(row++), left);
      if (width > block)
        store_first(to + block, colours_of(row++), width - block);
    }
  }
}

} // namespace

constinit const machine neon = {"neon", levels, levels_over, keyed, silhouette,
                                bgr24,  bgr32,  indexed,     glyphs};

} // namespace dravik::kernels
