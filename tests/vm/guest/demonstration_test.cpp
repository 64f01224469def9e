// The screens of the demonstration on the panel: the host compares them with those of the simulated board.

#include "guest.hpp"

#include <gtest/gtest.h>

namespace {

using namespace dravik::vm;

class Demonstration : public ::testing::TestWithParam<std::string> {};

TEST_P(Demonstration, ShowsSameAsSimulatedBoard) {
  run("grep -q mmcblk0p1 /proc/mounts || mount /dev/mmcblk0p1 /tmp/mmcblk0p1");
  EXPECT_EQ(run("dashcam --screen " + GetParam() + " --time 14:32:08 2>/tmp/dashcam.log"), 0)
      << read_text("/tmp/dashcam.log");
  EXPECT_EQ(ask("picture " + GetParam()), "ok");
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(Demonstration);
INSTANTIATE_TEST_SUITE_P(Screens, Demonstration, ::testing::ValuesIn(lines_of(read_text("/etc/screens"))),
                         [](const auto &screen) { return screen.param; });

} // namespace
