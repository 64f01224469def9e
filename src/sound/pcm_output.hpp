// The one playback stream of the library, between opening and closing it.
#pragma once

#include <cstdint>

namespace dravik::sound {

/// The kinds of sound, as the engine stores them.
enum : uint32_t { raw_pcm = 0, wav = 1, mp3 = 2 };

/// The kind of the sound being set up: written before set_snd_param() is called.
extern uint32_t snd_file_type;

/// Write interleaved frames; wait for space and recover from underruns. Return the number of frames, or -1 if
/// the device fails or a stop is requested while it cannot be recovered.
int32_t pcm_write(uint32_t frames, const uint8_t *data) noexcept;

/// After a broken pipe: 1 when the stream can go on, else -1.
int32_t xrun_recovery(int32_t capture) noexcept;

/// Closes the stream, if there is one; what is still in its buffer is not heard.
void close_playback() noexcept;

} // namespace dravik::sound
