// "gpio" and "led".

#include "ctl_fixture.hpp"

namespace dravik::ctl_test {
namespace {

using CtlGpio = CtlTool;

TEST_F(CtlGpio, SaysWhenTheDriverIsNotLoaded) {
  board_.write("proc/modules", "other 5238 0 - Live 0x00000000\n");
  for (const words &given :
       {words{"gpio", "get", "68"}, words{"gpio", "set", "82", "1"}, words{"led", "red"}}) {
    const run_result result = run(given);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err,
                testing::StartsWith("dravik-ctl: the GPIO driver cannot be opened; is the module ambad "
                                    "loaded? (/dev/ambad: "));
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
  }
}

TEST_F(CtlGpio, RefusesWordsThatMakeNoSense) {
  expect_misuse({"gpio", "read", "68"}, "gpio: 'read' is neither get nor set");
  expect_misuse({"gpio", "get", "x"}, "gpio: 'x' is not the number of a line");
  expect_misuse({"gpio", "get", "4294967296"}, "gpio: '4294967296' is not the number of a line");
  expect_misuse({"gpio", "get", "68", "1"}, "gpio: get takes a line alone");
  expect_misuse({"gpio", "set", "68"}, "gpio: set takes a line and a level, 0 or 1");
  expect_misuse({"gpio", "set", "68", "2"}, "gpio: set takes a line and a level, 0 or 1");
}

using CtlLed = CtlTool;

TEST_F(CtlLed, RefusesWhatIsNoColour) {
  for (const std::string word : {"blue", "RED", ""})
    expect_misuse({"led", word}, "led: '" + word + "' is none of off, red, green, orange");
}

} // namespace
} // namespace dravik::ctl_test
