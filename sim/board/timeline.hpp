// When a board's recording of sound begins: sound/timeline.
#pragma once

#include <cstdint>

namespace dravik::sim {

int64_t monotonic_ns() noexcept;

/// Whether the silence between sounds is recorded too, as long as it was.
bool records_gaps() noexcept;

/// The moment of the recording's first frame. When the board does not have one yet, that is now.
int64_t timeline_begin_ns() noexcept;

} // namespace dravik::sim
