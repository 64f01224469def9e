// The answers of the devices: the host compares them with those of the simulated board.

#include "guest.hpp"

#include <gtest/gtest.h>
#include <iostream>

namespace {

using namespace dravik::vm;

TEST(Probe, AnswersAsSimulatedBoard) {
  run("grep -q mmcblk0p1 /proc/mounts || mount /dev/mmcblk0p1 /tmp/mmcblk0p1");
  write_text("/etc/asound.conf", "ctl.!default { type hw card codec }\n");
  for (const std::string &line : lines_of(output_of("board_probe")))
    std::cout << "probe: " << line << '\n';
  EXPECT_EQ(ask("compare"), "ok");
}

} // namespace
