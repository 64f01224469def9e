// Tests of what qemu-user, which runs programs for ARM on the host, does otherwise than the kernel.
#pragma once

#include <cstdlib>
#include <gtest/gtest.h>

/// Skips the test, with the reason, where scripts/arm-run runs it.
#define SKIP_UNDER_EMULATION(reason)                                                                         \
  if (std::getenv("DRAVIK_EMULATED") != nullptr)                                                             \
  GTEST_SKIP() << "qemu-user " reason
