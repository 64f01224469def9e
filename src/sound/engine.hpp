// Shared state of the engine and the players on its thread.
#pragma once

#include <cstdint>

namespace dravik::sound {

/// Return whether the current playback is to stop. May be called from any thread.
bool is_stop_requested() noexcept;

/// Add to the count of decoded samples of the current request, per channel.
void add_decoded_samples(uint32_t count) noexcept;

} // namespace dravik::sound
