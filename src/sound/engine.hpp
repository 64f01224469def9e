// What the players share with the engine whose thread they run on.
#pragma once

#include <cstdint>

namespace dravik::sound {

/// Whether the sound in progress is asked to end; any thread may ask at any time.
bool is_stop_requested() noexcept;

/// Counts what the MP3 player has decoded of the request in progress, in samples of one channel.
void add_decoded_samples(uint32_t count) noexcept;

} // namespace dravik::sound
