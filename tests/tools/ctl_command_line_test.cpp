// The board tool as a whole: help, version, words that make no sense, output that is lost.

#include "ctl_fixture.hpp"

#include <fcntl.h>
#include <sstream>

namespace dravik::ctl_test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

using CtlCommandLine = CtlTool;

constexpr const char *commands[] = {"info",   "gpio", "led",  "backlight", "adc",        "temperature",
                                    "accel",  "hdmi", "net",  "card",      "recordings", "play",
                                    "volume", "mic",  "show", "text",      "region"};

TEST_F(CtlCommandLine, VersionIsThatOfTheProject) {
  EXPECT_EQ(told({"--version"}), "dravik-ctl " DRAVIK_CTL_VERSION "\n");
}

TEST_F(CtlCommandLine, HelpNamesEveryCommandAndHasExamples) {
  const std::string help = told({"--help"});
  for (const std::string command : commands)
    EXPECT_THAT(help, HasSubstr("\n  " + command + " ")) << command;
  EXPECT_THAT(help, HasSubstr("Examples:\n"));
}

TEST_F(CtlCommandLine, EveryCommandHasHelpWithAnExampleAndItsKeys) {
  for (const std::string command : commands) {
    const std::string help = told({command, "a", "--help", "--frob"});
    EXPECT_THAT(help, StartsWith("dravik-ctl " + command)) << command;
    EXPECT_THAT(help, HasSubstr("\nTells:")) << command;
    EXPECT_THAT(help, HasSubstr("\nExample")) << command;
    EXPECT_THAT(help, HasSubstr("\n  dravik-ctl " + command)) << command;
  }
}

TEST_F(CtlCommandLine, HelpFitsAScreen) {
  std::string all = told({"--help"});
  for (const std::string command : commands)
    all += told({command, "--help"});
  std::istringstream lines{all};
  for (std::string line; std::getline(lines, line);)
    EXPECT_LE(line.size(), 120U) << line;
}

TEST_F(CtlCommandLine, RefusesWordsThatMakeNoSense) {
  expect_misuse({}, "no command given");
  expect_misuse({"paint"}, "unknown command 'paint'");
  expect_misuse({"--json"}, "unknown command '--json'");
  expect_misuse({"info", "--frob"}, "info: unknown option --frob");
  expect_misuse({"info", "now"}, "info: too many arguments");
  expect_misuse({"info", "--json", "--json"}, "info: option --json given twice");
  expect_misuse({"gpio", "get"}, "gpio: too few arguments");
  expect_misuse({"led"}, "led: too few arguments");
  expect_misuse({"temperature", "1"}, "temperature: too many arguments");
  expect_misuse({"play"}, "play: too few arguments");
}

TEST_F(CtlCommandLine, AComplaintIsOneLineWhateverTheName) {
  expect_refusal({"show", "a\nb\x1B[31m"}, 1, "a?b?[31m: No such file or directory");
}

TEST_F(CtlCommandLine, WithJsonAFailureLeavesStandardOutputEmpty) {
  expect_refusal({"net", "nonesuch", "--json"}, 1, "there is no network interface nonesuch");
}

TEST_F(CtlCommandLine, LostOutputIsAFailure) {
  const run_result result = {0, "", ""};
  test::application tool{board_, "/bin/sh", {"-c", "exec " DRAVIK_CTL " adc > /dev/full"}};
  EXPECT_EQ(tool.finish(), 1);
  EXPECT_EQ(tool.errors(), "dravik-ctl: standard output: No space left on device\n");
  EXPECT_EQ(result.out, tool.output());
}

} // namespace
} // namespace dravik::ctl_test
