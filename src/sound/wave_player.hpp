// WAV and raw PCM files, from their set-up to their end.
#pragma once

#include <cstdint>

namespace dravik::sound {

/// Plays a file of kind `wav` or `raw_pcm`. Gives 1 when it was decoded, 0 without a device, -1 when there is
/// no such file.
int32_t play_wave(const char *path, uint32_t type) noexcept;

} // namespace dravik::sound
