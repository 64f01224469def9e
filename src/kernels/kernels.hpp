// The inner loops that exist for several machines. Objects that are compiled for one machine include this
// header alone: no inline function of theirs may stand in for one of another machine.
#pragma once

#include <cstddef>
#include <cstdint>

namespace dravik::kernels {

/// A pixel in screen memory; may alias, since the same memory is filled by wider stores.
using pixel [[gnu::may_alias]] = uint16_t;

/// Rows of a picture on their way to the screen: `count` rows of `width` pixels. Sources need no alignment, and
/// are not read past the end of a row.
struct picture {
  pixel *to;
  ptrdiff_t pitch; ///< bytes from one line of the screen to the next
  const uint8_t *from;
  ptrdiff_t stride; ///< bytes from one row of the picture to the next
  size_t width;
  size_t count;
};

/// A ramp of ::gc: its number and its 16 colours.
struct ramp {
  uint8_t number;
  const uint16_t *colours;
};

/// The loops of one machine. Rows are stored from left to right; screen memory is not read.
struct machine {
  const char *name;

  /// Levels of four bits, the left pixel in the high half of a byte, in the colours of a ramp.
  void (*levels)(const picture &what, const ramp &in) noexcept;
  /// The same; level 0 leaves its pixel.
  void (*levels_over)(const picture &what, const ramp &in) noexcept;
  /// RGB565; pixels of the key colour are left out.
  void (*keyed)(const picture &what, uint16_t key) noexcept;
  /// The pixels that are not left out, all in one colour. With `without_black`, 0x0000 is left out too.
  void (*silhouette)(const picture &what, uint16_t key, bool without_black, uint16_t colour) noexcept;
  /// Blue, green and red, a byte each.
  void (*bgr24)(const picture &what) noexcept;
  /// Blue, green, red and a byte that is ignored.
  void (*bgr32)(const picture &what) noexcept;
  /// Bytes that select one of 256 colours.
  void (*indexed)(const picture &what, const uint16_t *palette) noexcept;
};

/// Those of any machine.
extern const machine plain;
#ifdef DRAVIK_X86_KERNELS
extern const machine x86_64_v2; ///< with SSSE3 and SSE4.2
extern const machine x86_64_v4; ///< with AVX-512 and its masked stores
#endif

/// The CRC-32 register after some bytes more; neither inverted at the start nor at the end.
using crc32_loop = uint32_t (*)(uint32_t value, const uint8_t *bytes, size_t size) noexcept;
uint32_t crc32_by_tables(uint32_t value, const uint8_t *bytes, size_t size) noexcept;
#ifdef DRAVIK_X86_KERNELS
uint32_t crc32_by_16(uint32_t value, const uint8_t *bytes, size_t size) noexcept; ///< with PCLMULQDQ
uint32_t crc32_by_64(uint32_t value, const uint8_t *bytes, size_t size) noexcept; ///< with VPCLMULQDQ too
#endif

/// The loops of the machine at hand. Before the library's constructor ran, the plain ones.
extern const machine *active;
extern crc32_loop crc32;

} // namespace dravik::kernels
