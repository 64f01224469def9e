// What tests do otherwise under qemu-user, which runs programs for ARM on the host.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>

namespace dravik::test {

/// Whether scripts/arm-run runs this program.
inline bool is_emulated() {
  return std::getenv("DRAVIK_EMULATED") != nullptr;
}

/// The number of rounds of a random test: fewer under emulation, which is ten times as slow.
inline int rounds(int count) {
  return is_emulated() ? std::max(count / 40, 1) : count;
}

/// The step of a test through all values: under emulation a prime, so that all remainders occur.
template <class Number = int32_t> Number stride() {
  return is_emulated() ? Number{11} : Number{1};
}

} // namespace dravik::test

/// Skips the test, with the reason, where scripts/arm-run runs it.
#define SKIP_UNDER_EMULATION(reason)                                                                         \
  if (dravik::test::is_emulated())                                                                           \
  GTEST_SKIP() << "qemu-user " reason
