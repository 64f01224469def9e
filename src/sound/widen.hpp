// Mono to stereo.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace dravik::sound {

/// Copy each 16-bit sample to both channels: 2 * `samples` bytes become 4 * `samples`. The blocks must not
/// overlap. Two stores: compilers make one interleaved vector store of them, but not of a product.
inline void widen(const uint8_t *__restrict mono, size_t samples, uint8_t *__restrict stereo) noexcept {
  for (size_t i = 0; i < samples; ++i) {
    uint16_t sample;
    std::memcpy(&sample, mono + 2 * i, sizeof sample);
    std::memcpy(stereo + 4 * i, &sample, sizeof sample);
    std::memcpy(stereo + 4 * i + 2, &sample, sizeof sample);
  }
}

} // namespace dravik::sound
