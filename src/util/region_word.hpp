// The word whose checksum represents a region number.
#pragma once

#include "dravik.h"

#include <array>
#include <cstdint>

namespace dravik::util {

/// Three fields of ten bits: the number between its neighbours, or three times the number itself if a
/// neighbour would wrap.
constexpr std::array<uint8_t, 4> region_word(uint32_t n) noexcept {
  const bool at_end = n == 0 || n == DRAVIK_REGION_NUMBERS - 1;
  const uint32_t after = at_end ? n : n + 1, before = at_end ? n : n - 1;
  const uint32_t word = before << 22 | n << 11 | after;
  return {static_cast<uint8_t>(word), static_cast<uint8_t>(word >> 8), static_cast<uint8_t>(word >> 16),
          static_cast<uint8_t>(word >> 24)};
}
static_assert(region_word(886) == std::array<uint8_t, 4>{0x77, 0xB3, 0x5B, 0xDD});

} // namespace dravik::util
