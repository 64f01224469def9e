// "gpio" and "led".

#include "ctl_fixture.hpp"

namespace dravik::ctl_test {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

using CtlGpio = CtlTool;

TEST_F(CtlGpio, ReadsALine) {
  EXPECT_EQ(checked_output({"gpio", "get", "68"}), "line: 68\nlevel: 0\n");
  board_.write("gpio/68", "1\n");
  EXPECT_EQ(asked({"gpio", "get", "68"}, "."), R"({"line":68,"level":1})");
  EXPECT_TRUE(board_.events().empty());
}

TEST_F(CtlGpio, DrivesALine) {
  EXPECT_EQ(checked_output({"gpio", "set", "17", "1"}), "line: 17\nlevel: 1\n");
  EXPECT_EQ(asked({"gpio", "set", "18", "0"}, "."), R"({"line":18,"level":0})");
  EXPECT_THAT(board_.events(), ElementsAre("gpio: 17 = 1", "gpio: 18 = 0"));
}

TEST_F(CtlGpio, ReportsWhenTheDriverRefuses) {
  expect_refusal({"gpio", "get", "256"}, 1,
                 "gpio: line 256 cannot be read (AMBA_DEBUG_IOC_GET_GPIO: Invalid argument)");
  board_.set_fault("set", "/dev/ambad");
  expect_refusal({"gpio", "set", "17", "1"}, 1,
                 "gpio: line 17 cannot be driven (AMBA_DEBUG_IOC_SET_GPIO: Input/output error)");
  expect_refusal({"led", "red"}, 1, "led: cannot be set (AMBA_DEBUG_IOC_SET_GPIO: Input/output error)");
}

TEST_F(CtlGpio, ReportsWhenTheDriverIsNotLoaded) {
  board_.write("proc/modules", "other 5238 0 - Live 0x00000000\n");
  for (const words &given :
       {words{"gpio", "get", "68"}, words{"gpio", "set", "82", "1"}, words{"led", "red"}}) {
    const run_result result = run(given);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, StartsWith("dravik-ctl: gpio: driver cannot be opened (/dev/ambad: "));
    EXPECT_THAT(result.err, testing::EndsWith("); try 'modprobe ambad'\n"));
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
  }
}

TEST_F(CtlGpio, RejectsInvalidArguments) {
  expect_misuse({"gpio", "read", "68"}, "gpio: invalid action 'read'; must be get or set");
  expect_misuse({"gpio", "get", "x"}, "gpio: invalid LINE 'x'; must be a number");
  expect_misuse({"gpio", "get", "4294967296"}, "gpio: invalid LINE '4294967296'; must be a number");
  expect_misuse({"gpio", "get", "68", "1"}, "gpio: extra LEVEL; must be 'get LINE'");
  expect_misuse({"gpio", "set", "68"}, "gpio: missing or invalid LEVEL; must be 0 or 1");
  expect_misuse({"gpio", "set", "68", "2"}, "gpio: missing or invalid LEVEL; must be 0 or 1");
}

using CtlLed = CtlTool;

TEST_F(CtlLed, ShowsEveryColour) {
  const std::pair<const char *, const char *> colours[] = {
      {"red", "1\n0\n"}, {"green", "0\n1\n"}, {"orange", "1\n1\n"}, {"off", "0\n0\n"}};
  for (const auto &[colour, levels] : colours) {
    EXPECT_EQ(checked_output({"led", colour}), std::string{"led: "} + colour + "\n");
    EXPECT_EQ(board_.read("gpio/82") + board_.read("gpio/83"), levels) << colour;
  }
  EXPECT_EQ(asked({"led", "green"}, ".led"), "green");
}

TEST_F(CtlLed, RejectsInvalidColour) {
  for (const std::string word : {"blue", "RED", ""})
    expect_misuse({"led", word}, "led: invalid colour '" + word + "'; must be off, red, green or orange");
}

} // namespace
} // namespace dravik::ctl_test
