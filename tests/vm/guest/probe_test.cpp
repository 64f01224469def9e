// The answers of the devices: the host compares them with those of the simulated board.

#include "guest.hpp"

#include <gtest/gtest.h>

namespace {

using namespace dravik::vm;

TEST(Probe, AnswersAsSimulatedBoard) {
  run("grep -q mmcblk0p1 /proc/mounts || mount /dev/mmcblk0p1 /tmp/mmcblk0p1");
  write_text("/etc/asound.conf", "ctl.!default { type hw card codec }\n");
  EXPECT_EQ(run("board_probe"), 0);
  EXPECT_EQ(ask("compare"), "ok");
}

} // namespace
