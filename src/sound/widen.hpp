// Mono to stereo.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace dravik::sound {

/// Sends each 16-bit sample to both channels: 2 * `samples` bytes become 4 * `samples`. The blocks are apart.
inline void widen(const uint8_t *__restrict mono, size_t samples, uint8_t *__restrict stereo) noexcept {
  for (size_t i = 0; i < samples; ++i) {
    uint16_t sample;
    std::memcpy(&sample, mono + 2 * i, sizeof sample);
    const uint32_t frame = sample * 0x10001U;
    std::memcpy(stereo + 4 * i, &frame, sizeof frame);
  }
}

} // namespace dravik::sound
