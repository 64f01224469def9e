// The message that brings a page up to date with the screen.
#pragma once

#include "host/frame_history.hpp"

#include <string>

namespace dravik::sim::message {

/// All pixels that changed after frame `seen`, as docs/live-board.md describes it.
std::string changes_since(const frame_history &frames, uint32_t seen);

} // namespace dravik::sim::message
