// The playback stream of the library, between opening and closing it.
#pragma once

#include <cstdint>

namespace dravik::sound {

enum class sound_format : uint8_t { raw_pcm, wav, mp3 };

/// Format that set_snd_param() configures; set it before the call.
extern sound_format snd_file_type;

/// Write interleaved frames; wait for space and recover from underruns. Return the number of frames, or -1 if
/// the device fails or a stop is requested while it cannot be recovered.
int32_t pcm_write(uint32_t frames, const uint8_t *data) noexcept;

/// Recover from a broken pipe. Return 1 if the stream can continue, else -1.
int32_t xrun_recovery(int32_t capture) noexcept;

/// Close the stream, if there is one. Frames left in its buffer are dropped.
void close_playback() noexcept;

} // namespace dravik::sound
