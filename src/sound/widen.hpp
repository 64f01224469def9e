// Mono to stereo.
#pragma once

#include "base/unaligned.hpp"

#include <cstddef>
#include <cstdint>

namespace dravik::sound {

/// Copy each 16-bit sample to both channels: 2 * `samples` bytes become 4 * `samples`. The blocks must not
/// overlap. Two stores: compilers make one interleaved vector store of them, but not of a product.
inline void widen(const uint8_t *__restrict mono, size_t samples, uint8_t *__restrict stereo) noexcept {
  for (size_t i = 0; i < samples; ++i) {
    const auto sample = load<uint16_t, alignof(uint16_t)>(mono + 2 * i);
    store<alignof(uint16_t)>(stereo + 4 * i, sample);
    store<alignof(uint16_t)>(stereo + 4 * i + 2, sample);
  }
}

} // namespace dravik::sound
