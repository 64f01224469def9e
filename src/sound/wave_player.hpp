// WAV and raw PCM files: configuring the device, decoding and closing.
#pragma once

#include "sound/pcm_output.hpp"

#include <cstdint>

namespace dravik::sound {

/// Play a WAV or raw PCM file. Return 1 if it was decoded, 0 without a device, -1 if it does not exist.
int32_t play_wave(const char *path, sound_format format) noexcept;

} // namespace dravik::sound
