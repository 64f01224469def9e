// A sound card that accepts every frame immediately: ALSA's calls, defined by the program itself.
#pragma once

#include <chrono>

namespace bench {

using steady = std::chrono::steady_clock;

/// Forgets when frames were offered.
void await_first_frame();

/// When the first frame since then was offered; waits for it.
steady::time_point first_frame();

} // namespace bench
