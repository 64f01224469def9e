// The board tool as a whole: help, version, invalid arguments, output on failure.

#include "ctl_fixture.hpp"
#include "support/emulation.hpp"
#include "support/paths.hpp"
#include "support/tool_rules.hpp"

#include <fcntl.h>

namespace dravik::ctl_test {
namespace {

using testing::HasSubstr;

using CtlCommandLine = CtlTool;

TEST_F(CtlCommandLine, PrintsTheVersionOfTheProject) {
  EXPECT_EQ(checked_output({"--version"}), "dravik-ctl " DRAVIK_VERSION "\n");
}

TEST_F(CtlCommandLine, PrintsHelpOfCommonForm) {
  test::expect_help_of_tool("dravik-ctl",
                            [this](const words &arguments) { return checked_output(arguments); });
}

TEST_F(CtlCommandLine, DescribesOutputInEveryHelp) {
  for (const std::string &command : test::commands_of(checked_output({"--help"})))
    EXPECT_THAT(checked_output({command, "--help"}), HasSubstr("\nOutput:")) << command;
}

TEST_F(CtlCommandLine, HasEveryCommandInAllPlaces) {
  test::expect_places_of_commands({.overview = checked_output({"--help"}),
                                   .sources = "tools/dravik-ctl",
                                   .build_file = "tools/dravik-ctl/CMakeLists.txt",
                                   .page = "docs/board-tool.md",
                                   .in_page = "| `",
                                   .tests = "tests/tools",
                                   .test_prefix = "ctl_"});
}

TEST_F(CtlCommandLine, RejectsInvalidArguments) {
  const std::string hint = "; try 'dravik-ctl --help'";
  expect_misuse({}, "missing COMMAND" + hint);
  expect_misuse({"paint"}, "unknown command 'paint'" + hint);
  expect_misuse({"--json"}, "unknown command '--json'" + hint);
  expect_usage_error({"info", "--frob"}, "unknown option '--frob'");
  expect_usage_error({"info", "now"}, "extra argument 'now'");
  expect_usage_error({"info", "--json", "--json"}, "option '--json' given twice");
  expect_usage_error({"info", "--json=yes"}, "option '--json' accepts no value");
  expect_usage_error({"show", "a.bmp", "--at"}, "option '--at' requires a value");
  expect_usage_error({"gpio"}, "missing get|set");
  expect_usage_error({"gpio", "get"}, "missing LINE");
  expect_usage_error({"led"}, "missing COLOUR");
  expect_usage_error({"temperature", "1"}, "extra argument '1'");
  expect_usage_error({"play"}, "missing FILE");
}

TEST_F(CtlCommandLine, PrintsErrorsOnOneLine) {
  expect_refusal({"show", "a\nb\x1B[31m"}, 1, "a?b?[31m: No such file or directory");
}

TEST_F(CtlCommandLine, LeavesStandardOutputEmptyOnFailureWithJson) {
  expect_refusal({"net", "nonesuch", "--json"}, 1, "net: no interface 'nonesuch'");
}

/// On failure, standard output is empty, except for three commands.
TEST_F(CtlCommandLine, PrintsOnlyFindingsOnFailure) {
  board_.remove("proc/ambarella/adc");
  board_.remove("proc/ambarella/hdmi_edid");
  board_.remove("dev/i2c-0");
  board_.remove("dev/fb0");
  board_.remove("sys/class/backlight/pwm-backlight.0/bl_power");
  board_.remove("proc/modules");
  const words failing[] = {{"adc"},
                           {"temperature"},
                           {"temperature", "--watch"},
                           {"accel"},
                           {"hdmi"},
                           {"backlight"},
                           {"gpio", "get", "1"},
                           {"led", "red"},
                           {"region"},
                           {"recordings"},
                           {"play", "none.wav"},
                           {"show", "none.bmp"},
                           {"text", "0", "0", "x"},
                           {"net", "nonesuch"}};
  for (words given : failing)
    for (const bool is_json : {false, true}) {
      if (is_json)
        given.emplace_back("--json");
      const run_result result = run(given);
      EXPECT_EQ(result.status, 1) << given[0];
      EXPECT_EQ(result.out, "") << given[0];
    }
  EXPECT_EQ(run({"card", "check"}).out.substr(0, 12), "present: no\n");
}

TEST_F(CtlCommandLine, ReportsAMachineThatIsNotABoard) {
  for (const char *part : {"dev", "proc", "sys", "tmp"})
    std::filesystem::remove_all(board_.path(part));
  board_.set_fault("open", "sound", "ENODEV");
  board_.write("beep.pcm", std::string(4800, '\x11'));
  const words failing[] = {{"adc"},
                           {"temperature"},
                           {"accel"},
                           {"hdmi"},
                           {"backlight"},
                           {"gpio", "get", "1"},
                           {"led", "red"},
                           {"region"},
                           {"recordings"},
                           {"play", board_.path("beep.pcm")},
                           {"text", "0", "0", "x"}};
  for (const words &given : failing) {
    const run_result result = run(given);
    EXPECT_EQ(result.status, 1) << given[0];
    EXPECT_THAT(result.err, testing::EndsWith(": run it on a board, or under dravik-sim\n"));
  }
}

/// A summary succeeds if values are missing; a value that cannot be read is null.
TEST_F(CtlCommandLine, ReportsMissingValuesAsNull) {
  board_.remove("proc/ambarella/adc");
  board_.remove("dev/fb0");
  board_.remove("proc/modules");
  EXPECT_EQ(asked({"info"}, "[.screen, .region, .devices.adc, .devices.gpio]"), "[null,null,false,false]");
  EXPECT_EQ(asked({"card"}, "[.locked, .free_mib]"), "[null,null]");
  board_.write("sys/class/backlight/pwm-backlight.0/brightness", "bright\n");
  EXPECT_EQ(asked({"backlight"}, "."), R"({"power":"on","brightness":null})");
  board_.write("sys/class/backlight/pwm-backlight.0/bl_power", "\n");
  expect_refusal({"backlight"}, 1,
                 "backlight: files in /sys/class/backlight/pwm-backlight.0/ contain no number");
}

TEST_F(CtlCommandLine, FailsIfOutputCannotBeWritten) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  const run_result result = {0, "", ""};
  test::application tool{
      board_, "/bin/sh", {"-c", std::string{"exec "} + dravik_ctl_path + " adc > /dev/full"}};
  EXPECT_EQ(tool.finish(), 1);
  EXPECT_EQ(tool.errors(), "dravik-ctl: standard output: No space left on device\n");
  EXPECT_EQ(result.out, tool.output());
}

} // namespace
} // namespace dravik::ctl_test
