// "accel".

#include "ctl_fixture.hpp"

namespace dravik::ctl_test {
namespace {

using CtlAccel = CtlTool;

TEST_F(CtlAccel, SaysWhenThereIsNoBus) {
  board_.remove("dev/i2c-0");
  expect_refusal(
      {"accel"}, 1,
      "the accelerometer's bus cannot be opened (I2C open error : I2C_BUS_CH: No such file or directory)");
}

TEST_F(CtlAccel, RefusesWordsThatMakeNoSense) {
  expect_misuse({"accel", "--count", "3"}, "accel: --count and --interval go with --watch");
  expect_misuse({"accel", "--interval", "50"}, "accel: --count and --interval go with --watch");
  for (const std::string count : {"0", "x", "-1"})
    expect_misuse({"accel", "--watch", "--count=" + count}, "accel: --count takes a number from 1");
  for (const std::string interval : {"9", "60001", "fast"})
    expect_misuse({"accel", "--watch", "--interval", interval},
                  "accel: --interval takes a number from 10 to 60000");
}

} // namespace
} // namespace dravik::ctl_test
