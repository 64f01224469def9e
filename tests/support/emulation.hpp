// What tests do otherwise under qemu-user, which runs programs for ARM on the host.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <string_view>

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

/// What programs on a board wrote on standard error: under emulation, which passes on no Landlock and no filter of
/// system calls, without the launcher's warnings, to root and to other users.
inline std::string without_warnings(std::string errors) {
  constexpr std::string_view warnings[] = {
      "dravik-sim: warning: no Landlock: an application of root can write devices of this host\n",
      "dravik-sim: warning: this kernel has none of the means that keep an application off this machine\n"};
  for (const std::string_view warning : warnings)
    for (size_t place; is_emulated() && (place = errors.find(warning)) != errors.npos;)
      errors.erase(place, warning.size());
  return errors;
}

} // namespace dravik::test

/// Skips the test, with the reason, where scripts/arm-run runs it.
#define SKIP_UNDER_EMULATION(reason)                                                                         \
  if (dravik::test::is_emulated())                                                                           \
  GTEST_SKIP() << "qemu-user " reason

/// Skips a test that starts a program of the host on a board, such as a shell.
#define SKIP_HOST_PROGRAM_UNDER_EMULATION()                                                                  \
  SKIP_UNDER_EMULATION("loads no preload library for ARM into programs of the host")
