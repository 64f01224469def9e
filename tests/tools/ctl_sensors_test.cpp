// The board's small reports: "adc", "temperature", "hdmi" and "backlight".

#include "ctl_fixture.hpp"
#include "support/emulation.hpp"
#include "support/paths.hpp"

#include <csignal>

namespace dravik::ctl_test {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char *adc_file = "/proc/ambarella/adc";
constexpr const char *edid_report = "/proc/ambarella/hdmi_edid";
constexpr const char *brightness_file = "/sys/class/backlight/pwm-backlight.0/brightness";
constexpr const char *power_file = "/sys/class/backlight/pwm-backlight.0/bl_power";
constexpr const char *no_adc = " (open /proc/ambarella/adc error!)";

class CtlAdc : public CtlTool {
protected:
  /// A line end is a digit of the value too, and repeats the digit before it; a line of 13 characters
  /// repeats the code before it.
  void SetUp() override { board_.write(adc_file, "adc[0] = 7\nadc[1] = 12\nadc[2] = 3ff\nadc[3] = 3ff"); }
};

TEST_F(CtlAdc, ReportsAllCodesAndLines) {
  EXPECT_EQ(checked_output({"adc"}), "codes: 119, 290, 290, 1023\n"
                                     "lines: adc[0] = 7, adc[1] = 12, adc[2] = 3ff, adc[3] = 3ff\n");
  EXPECT_EQ(asked({"adc"}, ".codes, .lines"),
            "[119,290,290,1023]\n"
            R"(["adc[0] = 7","adc[1] = 12","adc[2] = 3ff","adc[3] = 3ff"])");
}

TEST_F(CtlAdc, ReportsOneChannel) {
  EXPECT_EQ(checked_output({"adc", "1"}), "channel: 1\ncode: 290\nline: adc[1] = 12\n");
  EXPECT_EQ(asked({"adc", "3"}, "."), R"({"channel":3,"code":1023,"line":"adc[3] = 3ff"})");
}

TEST_F(CtlAdc, RejectsInvalidChannel) {
  for (const std::string word : {"4", "-", "1x", "", "0x1"})
    expect_misuse({"adc", word}, "adc: invalid CHANNEL '" + word + "'; must be 0 to 3");
  expect_usage_error({"adc", "1", "2"}, "extra argument '2'");
}

TEST_F(CtlAdc, ReportsWhenThereIsNone) {
  board_.remove(adc_file);
  expect_refusal({"adc"}, 1, std::string{"adc: cannot be read"} + no_adc);
  expect_refusal({"adc", "2", "--json"}, 1, std::string{"adc: cannot be read"} + no_adc);
}

TEST_F(CtlAdc, PrintsOutputOfLibraryIfVerbose) {
  board_.remove(adc_file);
  const run_result result = run({"adc", "--verbose"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, std::string{"open /proc/ambarella/adc error!\n"
                                    "dravik-ctl: adc: cannot be read"} +
                            no_adc + "\n");
}

using CtlTemperature = CtlTool;

TEST_F(CtlTemperature, ReportsDegrees) {
  board_.write(adc_file, "adc[0] = 0\nadc[1] = 2f7\n"); // code 759: -0.034 degrees
  EXPECT_EQ(checked_output({"temperature"}), "celsius: -0.034\nbeyond range: no\n");
  board_.write(adc_file, "adc[0] = 0\nadc[1] = 050\n"); // code 80
  EXPECT_EQ(asked({"temperature"}, "."), R"({"celsius":106.257,"beyond_range":false})");
  board_.write(adc_file, "adc0 = 0x200\nadc1 = 0x1cf\n"); // the manual's example
  EXPECT_EQ(checked_output({"temperature"}), "celsius: 30.007\nbeyond range: no\n");
}

TEST_F(CtlTemperature, ReportsWhenTheInputIsBeyondRange) {
  board_.write(adc_file, "adc[0] = 0\nadc[1] = 03f\n");
  EXPECT_EQ(checked_output({"temperature"}), "celsius: 117.000\nbeyond range: yes\n");
  board_.write(adc_file, "adc[0] = 0\nadc[1] = 300\n");
  EXPECT_EQ(checked_output({"temperature"}), "celsius: -1.000\nbeyond range: yes\n");
}

TEST_F(CtlTemperature, ReportsWhenThereIsNone) {
  board_.remove(adc_file);
  expect_refusal({"temperature"}, 1, std::string{"temperature: cannot be read"} + no_adc);
}

TEST_F(CtlTemperature, Watches) {
  board_.write(adc_file, "adc[0] = 0\nadc[1] = 050\n");
  EXPECT_EQ(checked_output({"temperature", "--watch", "--count", "2", "--interval", "10"}),
            " 106.257      no\n 106.257      no\n");
  test::application tool{board_, dravik_ctl_path, {"temperature", "--watch", "--interval", "10", "--json"}};
  tool.await_output("106.257");
  board_.write(adc_file, "adc[0] = 0\nadc[1] = 2f7\n");
  tool.await_output("{\"celsius\": -0.034, \"beyond_range\": false}\n");
  tool.send(SIGINT);
  EXPECT_EQ(tool.finish(), 0);
  EXPECT_EQ(tool.errors(), "");
  expect_misuse({"temperature", "--count", "1"},
                "temperature: missing --watch; --count and --interval require it");
}

TEST_F(CtlTemperature, StopsWatchingWhenItCannotBeRead) {
  test::application tool{board_, dravik_ctl_path, {"temperature", "--watch", "--interval", "10"}};
  tool.await_output("\n");
  board_.remove(adc_file);
  EXPECT_EQ(tool.finish(), 1);
  EXPECT_EQ(tool.errors(), std::string{"dravik-ctl: temperature: cannot be read"} + no_adc + "\n");
}

using CtlHdmi = CtlTool;

TEST_F(CtlHdmi, ReportsWhetherThereIsAMonitor) {
  board_.write(edid_report, "Basic EDID\nand more\n");
  EXPECT_EQ(checked_output({"hdmi"}), "monitor: yes\n");
  EXPECT_EQ(asked({"hdmi"}, ".monitor"), "true");
  board_.write(edid_report, "No HDMI\n");
  EXPECT_EQ(checked_output({"hdmi"}), "monitor: no\n");
}

TEST_F(CtlHdmi, ReportsWhenTheDriverSaysNeither) {
  const std::string neither = "hdmi: driver report missing or invalid";
  board_.write(edid_report, "EDID\n");
  expect_refusal({"hdmi"}, 1, neither);
  board_.remove(edid_report);
  expect_refusal({"hdmi"}, 1, neither);
}

class CtlBacklight : public CtlTool {
protected:
  bool was_asked(const std::string &event) const { return std::ranges::count(board_.events(), event) != 0; }
};

TEST_F(CtlBacklight, ReportsHowItIsSet) {
  EXPECT_EQ(checked_output({"backlight"}), "power: on\nbrightness: 500\n");
  board_.write(power_file, "1\n");
  EXPECT_EQ(asked({"backlight"}, "."), R"({"power":"off","brightness":500})");
  EXPECT_FALSE(was_asked("fb0: blank 0") || was_asked("fb0: blank 1"));
}

TEST_F(CtlBacklight, SetsItsBrightness) {
  EXPECT_EQ(checked_output({"backlight", "0"}), "power: on\nbrightness: 0\n");
  EXPECT_EQ(asked({"backlight", "1000"}, ".brightness"), "1000");
  EXPECT_THAT(board_.read(brightness_file), testing::StartsWith("1000"));
  EXPECT_FALSE(was_asked("fb0: blank 0")) << "only on and off are for the panel";
}

/// sysfs reports 4096 bytes for each attribute.
/// perl as a witness: a program of the host, which loads no library for ARM.
void expect_reported_page(const test::board &on) {
  if (test::is_emulated())
    return;
  // _exit(): a sanitizer would report what perl does not free.
  const std::string script = "$| = 1; open F, $ARGV[0]; print -s F; POSIX::_exit(0)";
  test::application size{on, "/usr/bin/perl", {"-MPOSIX", "-e", script, brightness_file}};
  EXPECT_EQ(size.finish(), 0);
  EXPECT_EQ(size.output(), "4096") << "the library is not preloaded";
}

TEST_F(CtlBacklight, ReadsAttributesThatAreShorterThanReported) {
  ASSERT_EQ(::setenv("LD_PRELOAD", reports_a_page_path, 1), 0);
  expect_reported_page(board_);
  EXPECT_EQ(checked_output({"backlight"}), "power: on\nbrightness: 500\n");
  EXPECT_EQ(checked_output({"backlight", "700"}), "power: on\nbrightness: 700\n");
  EXPECT_EQ(checked_output({"backlight", "off"}), "power: off\nbrightness: 700\n");
  ::unsetenv("LD_PRELOAD");
}

TEST_F(CtlBacklight, SwitchesThePanelWithIt) {
  EXPECT_EQ(checked_output({"backlight", "off"}), "power: off\nbrightness: 500\n");
  EXPECT_TRUE(was_asked("fb0: blank 1"));
  EXPECT_EQ(checked_output({"backlight", "on"}), "power: on\nbrightness: 500\n");
  EXPECT_TRUE(was_asked("fb0: blank 0"));
}

TEST_F(CtlBacklight, SwitchesWithoutAScreen) {
  board_.remove("dev/fb0");
  EXPECT_EQ(checked_output({"backlight", "off"}), "power: off\nbrightness: 500\n");
}

TEST_F(CtlBacklight, RejectsInvalidLevel) {
  for (const std::string word : {"1001", "1.5", "dim", "ON"})
    expect_misuse({"backlight", word},
                  "backlight: invalid setting '" + word + "'; must be on, off or 0 to 1000");
  EXPECT_EQ(board_.read(brightness_file), "500\n");
}

TEST_F(CtlBacklight, ReportsWhenTheDriverDoesNotTakeIt) {
  board_.set_fault("write", brightness_file);
  expect_refusal({"backlight", "700"}, 1, "backlight: setting not accepted by the driver");
  board_.clear_faults();
  board_.set_fault("write", power_file);
  expect_refusal({"backlight", "off"}, 1, "backlight: setting not accepted by the driver");
  EXPECT_EQ(checked_output({"backlight", "700"}), "power: on\nbrightness: 700\n");
}

TEST_F(CtlBacklight, ReportsWhenThereIsNone) {
  board_.remove(power_file);
  expect_refusal({"backlight", "700"}, 1,
                 "backlight: files in /sys/class/backlight/pwm-backlight.0/ cannot be opened");
}

} // namespace
} // namespace dravik::ctl_test
