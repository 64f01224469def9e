// Start time of a board's sound recording: sound/timeline.
#pragma once

#include <cstdint>

namespace dravik::sim {

int64_t monotonic_ns() noexcept;

/// Whether the silence between sounds is recorded, with its length.
bool records_gaps() noexcept;

/// Return the time of the recording's first frame. If the board has none yet, that becomes now.
int64_t timeline_begin_ns() noexcept;

} // namespace dravik::sim
