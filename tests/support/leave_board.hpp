// For a child of a test that becomes a program of the host.
#pragma once

/// Of the simulator, in programs that link it.
extern "C" [[gnu::weak]] void dravik_sim_use_board(const char *directory);

namespace dravik::test {

/// For a child that becomes a program of the host.
inline void leave_board() {
  if (dravik_sim_use_board != nullptr)
    dravik_sim_use_board(nullptr);
}

} // namespace dravik::test
