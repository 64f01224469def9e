// "accel".

#include "ctl_fixture.hpp"
#include "support/emulation.hpp"
#include "support/paths.hpp"

#include <csignal>

namespace dravik::ctl_test {
namespace {

using test::application;

class CtlAccel : public CtlTool {
protected:
  void SetUp() override { board_.set("accel", "250,-500,1000"); }

  /// The last transfer to the sensor belongs to its low-power mode.
  void expect_low_power() const {
    const std::vector<std::string> events = board_.events();
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events.back(), "i2c-0: 0x18 register 0x23 = 0xd7");
  }
};

TEST_F(CtlAccel, ReadsOnce) {
  EXPECT_EQ(checked_output({"accel"}), "x: 250\ny: -500\nz: 1000\n");
  expect_low_power();
  EXPECT_EQ(asked({"accel"}, "."), R"({"x":250,"y":-500,"z":1000})");
}

TEST_F(CtlAccel, WatchesAsOftenAsTold) {
  EXPECT_EQ(checked_output({"accel", "--watch", "--count", "3", "--interval", "10"}),
            "     250    -500    1000\n     250    -500    1000\n     250    -500    1000\n");
  EXPECT_EQ(checked_output({"accel", "--watch", "--count", "2", "--json"}),
            "{\"x\": 250, \"y\": -500, \"z\": 1000}\n{\"x\": 250, \"y\": -500, \"z\": 1000}\n");
  expect_low_power();
}

TEST_F(CtlAccel, WatchesUntilInterrupted) {
  for (const int signal : {SIGINT, SIGTERM}) {
    board_.set("accel", "0,0,1000");
    application tool{board_, dravik_ctl_path, {"accel", "--watch", "--interval", "10"}};
    tool.await_output("1000\n");
    board_.set("accel", "0,0,-800");
    tool.await_output("-800\n");
    tool.send(signal);
    EXPECT_EQ(tool.finish(), 0);
    EXPECT_EQ(tool.errors(), "");
    expect_low_power();
  }
}

TEST_F(CtlAccel, StopsImmediatelyOnInterrupt) {
  application tool{board_, dravik_ctl_path, {"accel", "--watch", "--interval", "60000"}};
  tool.await_output("\n");
  tool.send(SIGINT);
  EXPECT_EQ(tool.finish(), 0);
}

TEST_F(CtlAccel, EndsWhenItsReaderHasGone) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  const std::string status = board_.path("status");
  application tool{board_,
                   "/bin/sh",
                   {"-c", std::string{"{ "} + dravik_ctl_path + " accel --watch --interval 10; echo $? > " +
                              status + "; } | head -n 1"}};
  EXPECT_EQ(tool.finish(), 0);
  EXPECT_EQ(tool.output(), "     250    -500    1000\n");
  EXPECT_EQ(tool.errors(), "dravik-ctl: standard output: Broken pipe\n");
  EXPECT_EQ(board_.read("status"), "1\n");
  expect_low_power();
}

TEST_F(CtlAccel, ReportsWhenItIsAnotherSensor) {
  std::string registers = board_.read("i2c/0x18");
  registers[0x0F] = 0x32;
  board_.write("i2c/0x18", registers);
  expect_refusal({"accel"}, 1, "accelerometer: unexpected answer (error G-Sensor ID : 32)");
}

TEST_F(CtlAccel, ReportsWhenItDoesNotAnswer) {
  board_.remove("i2c/0x18");
  expect_refusal({"accel"}, 1,
                 "accelerometer: unexpected answer (I2C write error: No such device or address)");
}

TEST_F(CtlAccel, ReportsWhenItStopsAnswering) {
  application tool{board_, dravik_ctl_path, {"accel", "--watch", "--interval", "10"}};
  tool.await_output("1000\n");
  board_.set_fault("read", "/dev/i2c-0");
  EXPECT_EQ(tool.finish(), 1);
  EXPECT_EQ(tool.errors(),
            "dravik-ctl: accelerometer: cannot be read (unable to read I2C bus: Input/output error)\n");
}

TEST_F(CtlAccel, PrintsRegistersIfVerbose) {
  const run_result result = run({"accel", "--verbose"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "x: 250\ny: -500\nz: 1000\n");
  EXPECT_THAT(result.err,
              testing::StartsWith("gsensor_open() : done!\ngsensor_hw_init()+\nG-Sensor ID : 33\n"));
}

TEST_F(CtlAccel, ReportsWhenThereIsNoBus) {
  board_.remove("dev/i2c-0");
  expect_refusal(
      {"accel"}, 1,
      "accelerometer: bus cannot be opened (I2C open error : I2C_BUS_CH: No such file or directory)");
}

TEST_F(CtlAccel, RejectsInvalidArguments) {
  expect_misuse({"accel", "--count", "3"}, "accel: missing --watch; --count and --interval require it");
  expect_misuse({"accel", "--interval", "50"}, "accel: missing --watch; --count and --interval require it");
  for (const std::string count : {"0", "x", "-1"})
    expect_misuse({"accel", "--watch", "--count=" + count},
                  "accel: invalid --count '" + count + "'; must be at least 1");
  for (const std::string interval : {"9", "60001", "fast"})
    expect_misuse({"accel", "--watch", "--interval", interval},
                  "accel: invalid --interval '" + interval + "'; must be 10 to 60000");
}

} // namespace
} // namespace dravik::ctl_test
