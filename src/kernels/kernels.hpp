// Inner loops that exist for several machines. Objects compiled for one machine include only this header, so
// that none of their inline functions is used on another machine.
#pragma once

#include <cstddef>
#include <cstdint>

namespace dravik::kernels {

/// A pixel in frame buffer memory. It may alias, since wider stores fill the same memory.
using pixel [[gnu::may_alias]] = uint16_t;

/// Rows to draw: `count` rows of `width` pixels. Sources need no alignment, and are not read beyond the end
/// of a row.
struct picture {
  pixel *to;
  ptrdiff_t pitch; ///< bytes per line of the screen
  const uint8_t *from;
  ptrdiff_t stride; ///< bytes per row of the image
  size_t width;
  size_t count;
};

/// A ramp of ::gc: its number and its 16 colours.
struct ramp {
  uint8_t number;
  const uint16_t *colours;
};

/// The largest number of glyphs in a run.
constexpr size_t glyphs_per_run = 8;

/// Glyphs side by side. Their pixels must not overlap.
struct glyph_run {
  pixel *to;
  ptrdiff_t pitch;              ///< bytes per line of the screen
  const uint8_t *const *glyphs; ///< rows of one bit per pixel, bit 7 the left one
  size_t count;                 ///< 1 to glyphs_per_run
  size_t width;                 ///< pixels per glyph, 1 to 16; a row has two bytes if it exceeds 8
  size_t height;
};

/// The loops of one machine. They store rows from left to right and do not read frame buffer memory.
struct machine {
  const char *name;

  /// Draw levels of four bits, the left pixel in bits 7:4, in the colours of a ramp.
  void (*levels)(const picture &what, const ramp &in) noexcept;
  /// As levels(); level 0 leaves its pixel unchanged.
  void (*levels_over)(const picture &what, const ramp &in) noexcept;
  /// Draw RGB565; pixels of the key colour are transparent.
  void (*keyed)(const picture &what, uint16_t key) noexcept;
  /// As keyed(), all pixels in one colour. If `without_black`, 0x0000 is transparent, too.
  void (*silhouette)(const picture &what, uint16_t key, bool without_black, uint16_t colour) noexcept;
  /// Draw pixels of three bytes: blue, green, red.
  void (*bgr24)(const picture &what) noexcept;
  /// Draw pixels of four bytes: blue, green, red, and one that is ignored.
  void (*bgr32)(const picture &what) noexcept;
  /// Draw indexes of one byte into 256 colours.
  void (*indexed)(const picture &what, const uint16_t *palette) noexcept;
  /// Draw opaque text: clear and set bits in a colour each.
  void (*glyphs)(const glyph_run &what, uint16_t clear, uint16_t set) noexcept;
};

/// The loops for any machine.
extern const machine plain;
#ifdef DRAVIK_X86_KERNELS
extern const machine x86_64_v2; ///< with SSSE3 and SSE4.2
extern const machine x86_64_v4; ///< with AVX-512 and its masked stores
#endif
#ifdef DRAVIK_ARM_KERNELS
extern const machine neon; ///< with NEON, 32-bit and 64-bit
#endif

/// Return the CRC-32 register after more bytes, inverted neither before nor after.
using crc32_loop = uint32_t (*)(uint32_t value, const uint8_t *bytes, size_t size) noexcept;
uint32_t crc32_by_tables(uint32_t value, const uint8_t *bytes, size_t size) noexcept;
#ifdef DRAVIK_X86_KERNELS
uint32_t crc32_by_16(uint32_t value, const uint8_t *bytes, size_t size) noexcept; ///< with PCLMULQDQ
uint32_t crc32_by_64(uint32_t value, const uint8_t *bytes, size_t size) noexcept; ///< with VPCLMULQDQ too
#endif
#ifdef DRAVIK_ARM_KERNELS
/// With the CRC instructions of ARMv8.
uint32_t crc32_by_instructions(uint32_t value, const uint8_t *bytes, size_t size) noexcept;
#endif

/// The loops of this machine; the plain ones until the library's constructor has run.
extern const machine *active;
extern crc32_loop crc32;

} // namespace dravik::kernels
