// Runs tests inside a virtual machine, and nowhere else: they format cards, load drivers and reboot.

#include "guest.hpp"

#include <cstdio>
#include <gtest/gtest.h>

namespace {

/// The command line that the host gives to the kernel, and the driver that only the machine has.
bool is_virtual_machine() {
  using namespace dravik::vm;
  return read_text("/proc/cmdline").find("video=640x480-16 tests=") != std::string::npos &&
         read_text("/proc/modules").find("ambad ") != std::string::npos;
}

} // namespace

int main(int count, char **arguments) {
  if (!is_virtual_machine()) {
    std::fputs("vm_test: not a virtual machine of scripts/test vm\n", stderr);
    return 1;
  }
  ::testing::InitGoogleTest(&count, arguments);
  return RUN_ALL_TESTS();
}
