// Scenarios played: texts, inputs, sound, the application's end.

#include "sim/follower.hpp"
#include "sim/scenario_stage.hpp"
#include "support/emulation.hpp"
#include "support/paths.hpp"

#include <cmath>
#include <csignal>

namespace dravik::test {
namespace {

using testing::HasSubstr;
using testing::Not;

class ScenarioPlay : public ScenarioStage {
protected:
  /// Samples of one level, for a third of a second, and half a second of silence.
  void add_tone(int16_t level) const {
    std::string bytes;
    for (int i = 0; i < 40000; ++i) {
      const int16_t sample = i >= 16000 ? int16_t{0} : i % 2 == 0 ? level : static_cast<int16_t>(-level);
      bytes.append(reinterpret_cast<const char *>(&sample), sizeof sample);
    }
    board_.write("usr/local/dravik/tone.pcm", bytes);
  }
};

constexpr const char *ready = "timeout 60s\nwait console \"guest ready\"\n";
constexpr const char *play_tone = "type \"play /usr/local/dravik/tone.pcm\\n\"\n";

// ------------------------------------------------------------------------------------------- texts

TEST_F(ScenarioPlay, HoldsForADriveAsExpected) {
  expect_held(std::string{ready} + R"(
type "fill f800\n"
wait log "done fill"
expect log "f800"     # the rest of the same line
)");
}

TEST_F(ScenarioPlay, IgnoresWhatTheBoardHadBefore) {
  board_.write("events", "led: old\n");
  board_.write("tmp/dravik.log", "old line\n");
  board_.write("dev/ttyS0", "old console\n");
  expect_failed("timeout 300ms\nwait event \"old\"", "not within 300ms; nothing came", {});
  expect_failed("timeout 300ms\nwait log \"old\"", "not within 300ms; nothing came", {});
  expect_held("expect never console \"old\"\nexpect no log \"old\"\nexpect never event \"old\"");
}

/// The first application makes the old text of the port that of the console.
TEST_F(ScenarioPlay, IgnoresWhatAPlainPortHadBefore) {
  board_.write("dev/ttyS0", "old console\n");
  expect_held(std::string{ready} + "expect never console \"old\"");
}

TEST_F(ScenarioPlay, FindsEachTextAfterTheOneBefore) {
  expect_held(std::string{ready} + R"(
type "first\n"
type "second\n"
type "first\n"
wait console "done first"
wait console "done second"
wait console "done first"
expect no console "done first"
expect no console "done second"
expect log "done first"
expect never log "done third"
)");
}

TEST_F(ScenarioPlay, ReportsWhatCameInsteadOfAText) {
  expect_failed(std::string{ready} + "timeout 300ms\nwait console \"rain\"",
                "not within 300ms; last line: 'guest ready'");
}

TEST_F(ScenarioPlay, ReportsATextThatCameEarlier) {
  expect_failed(std::string{ready} + "type \"one\\n\"\ntype \"two\\n\"\nwait console \"done two\"\n" +
                    "timeout 300ms\nwait console \"done one\"",
                "not within 300ms; it came earlier: 'done one'; last line: 'done two'");
}

TEST_F(ScenarioPlay, EscapesControlCharactersInMessages) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  board_.write("events", "");
  expect_failed("timeout 60s\nwait event \"ttyS0: a\"\ntimeout 200ms\nwait event \"b\"",
                "not within 200ms; last line: 'ttyS0: a\\x1b[31m'",
                {"sh", "-c", "printf 'a\\033[31m\\n' >/dev/ttyS0; read line </dev/ttyS0; sleep 60"});
}

TEST_F(ScenarioPlay, ReportsFailedExpectationsOfTexts) {
  expect_failed(std::string{ready} + "expect console \"rain\"", "it did not come; last line: 'guest ready'");
  expect_failed(std::string{ready} + "expect console \"guest\"",
                "it came before what was awaited last; last line: 'guest ready'");
  expect_failed(std::string{ready} + "expect never console \"ready\"", "it came: 'guest ready'");
  expect_failed(std::string{ready} + "type \"x\\n\"\nwait log \"done\"\nexpect no log \"x\"", "it came: ");
}

TEST_F(ScenarioPlay, StopsAtTheFirstFailure) {
  const outcome result = played(std::string{ready} + "expect log \"rain\"\nshot \"after.png\"\n");
  EXPECT_EQ(result.exit_status(), 1);
  EXPECT_FALSE(exists("after.png"));
}

// ------------------------------------------------------------------------------------------- inputs

TEST_F(ScenarioPlay, SetsInputs) {
  expect_held(std::string{ready} + R"(
set accel 0,-2600,1000
set adc.3 0x155
set hdmi on
type "read\n"
wait console "accel 0 -2600 1000 adc "
wait console " 341 temperature "
wait console " hdmi 1 card"
)");
}

TEST_F(ScenarioPlay, ReportsAnInputThatCannotBeSet) {
  std::filesystem::remove(board_.path("proc/ambarella/adc"));
  std::filesystem::create_directory(board_.path("proc/ambarella/adc"));
  expect_failed("set adc.0 1", board_.path() + "/proc/ambarella/adc: Is a directory", {});
}

TEST_F(ScenarioPlay, PressesKeys) {
  expect_held(std::string{ready} + R"(
press next
wait console "line 61 = 1"
wait console "line 61 = 0"
press next
press next 300ms
wait console "line 61 = 1"
wait console "line 61 = 0"
wait console "line 61 = 1"
wait console "line 61 = 0"
hold ok
wait console "line 62 = 1"
press 60
wait console "line 60 = 0"
expect no console "line 62 = 0"
release ok
wait console "line 62 = 0"
)");
}

TEST_F(ScenarioPlay, PressesSeveralKeys) {
  expect_held(std::string{ready} + R"(
press next ok
wait console "line 61 = 1"
wait console "line 61 = 0"
wait console "line 62 = 1"
wait console "line 62 = 0"
)");
}

TEST_F(ScenarioPlay, HoldsAKeyUntilAText) {
  expect_held(std::string{ready} + R"(
press ok until console "line 62 = 1"
wait console "line 62 = 0"
)");
  expect_failed(std::string{ready} + "timeout 300ms\npress ok until log \"rain\"", "not within 300ms; ");
}

/// The place from which texts are awaited is the one before the key.
TEST_F(ScenarioPlay, AwaitsReportsOfKeys) {
  expect_held(std::string{ready} + R"(
keys console "= 1" "= 0"
press next next ok
wait console "line 61 = 1"
wait console "line 61 = 0"
wait console "line 61 = 1"
wait console "line 61 = 0"
wait console "line 62 = 1"
expect console "line 62 = 0"
hold ok
expect console "line 62 = 1"
release ok
expect console "line 62 = 0"
)");
}

TEST_F(ScenarioPlay, ReportsAKeyThatTheApplicationDoesNotReport) {
  expect_failed(std::string{ready} + "keys log \"rain\" \"snow\"\ntimeout 300ms\npress ok",
                "not within 300ms; no report 'rain'; ");
  expect_failed(std::string{ready} + "keys console \"= 1\" \"snow\"\ntimeout 3s\npress next",
                "not within 3s; no report 'snow'; last line: 'line 6");
}

TEST_F(ScenarioPlay, WritesAndRemovesFilesOfTheBoard) {
  EXPECT_EQ(played(R"(
write "/tmp/new/a.txt" "one\n"
expect file "/tmp/new/a.txt"
expect file "/tmp/new/a.txt" "ne\n"
expect no file "/tmp/new/a.txt" "two"
write "/tmp/new/a.txt" "two\n"
expect no file "/tmp/new/a.txt" "one"
write "/tmp/b" 1025KiB
remove "/tmp/new/a.txt"
expect no file "/tmp/new/a.txt"
)",
                   {}, {})
                .exit_status(),
            0);
  EXPECT_EQ(board_.read("tmp/b"), std::string(1025 * 1024, '\0'));
  EXPECT_FALSE(board_.exists("tmp/new/a.txt"));
}

TEST_F(ScenarioPlay, ReportsFilesThatAreNotAsExpected) {
  board_.write("tmp/a", "\033one");
  expect_failed("expect file \"/tmp/b\"", "the file does not exist", {});
  expect_failed("expect no file \"/tmp/a\"", "the file exists", {});
  expect_failed("expect file \"/tmp/a\" \"two\"", "the file contains '\\x1bone'", {});
  expect_failed("expect no file \"/tmp/a\" \"one\"", "the file contains '\\x1bone'", {});
  expect_failed("remove \"/tmp/b\"", "/tmp/b: No such file or directory", {});
  expect_failed("write \"/tmp/a/b\" \"two\"", board_.path() + "/tmp/a", {});
}

TEST_F(ScenarioPlay, AwaitsFiles) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  expect_failed("timeout 200ms\nwait file \"/tmp/b\"", "not within 200ms; the file does not exist", {});
  const char *const writer = "sleep 0.3; echo up >/tmp/b; sleep 0.3; echo one >/tmp/b; sleep 0.3; rm /tmp/b; "
                             "read line </dev/ttyS0";
  EXPECT_EQ(
      played("timeout 60s\nwait file \"/tmp/b\"\nwait file \"/tmp/b\" \"one\"\nwait no file \"/tmp/b\"\nstop",
             {}, {"sh", "-c", writer})
          .exit_status(),
      0);
}

TEST_F(ScenarioPlay, LeavesFilesOutsideTheBoardAlone) {
  write("outside", "kept");
  std::filesystem::create_symlink(at("outside"), board_.path("tmp/link"));
  expect_failed("expect file \"/tmp/link\"", "the file does not exist", {});
  EXPECT_EQ(played("write \"/tmp/link\" \"x\"\nexpect file \"/tmp/link\" \"x\"", {}, {}).exit_status(), 0);
  EXPECT_EQ(board_.read(at("outside").substr(1)), "x") << "a link is one on the board";
  EXPECT_EQ(played("remove \"/tmp/link\"", {}, {}).exit_status(), 0);
  EXPECT_EQ(text_of("outside"), "kept");
}

TEST_F(ScenarioPlay, InjectsAndRemovesFaults) {
  board_.write("faults", "# mine\nopen /dev/fb0 EIO\n");
  EXPECT_EQ(played("fault read /dev/i2c-0 EIO\nfault underrun sound", {}, {}).exit_status(), 0);
  EXPECT_EQ(board_.read("faults"), "# mine\nopen /dev/fb0 EIO\nread /dev/i2c-0 EIO\nunderrun sound\n");
  EXPECT_EQ(played("fault none read /dev/i2c-0", {}, {}).exit_status(), 0);
  EXPECT_EQ(board_.read("faults"), "# mine\nopen /dev/fb0 EIO\nunderrun sound\n");
  EXPECT_EQ(played("fault none", {}, {}).exit_status(), 0);
  EXPECT_EQ(board_.read("faults"), "# mine\n");
}

TEST_F(ScenarioPlay, ReportsTypingWithoutAReader) {
  expect_failed("timeout 300ms\ntype \"x\"",
                "not within 300ms; console: no application has the serial port open", {});
}

TEST_F(ScenarioPlay, LetsTimePass) {
  const outcome result = played("wait 250ms", {"--junit", at("report.xml")}, {});
  EXPECT_EQ(result.exit_status(), 0);
  const std::string report = text_of("report.xml");
  const size_t time = report.rfind("time=\"");
  ASSERT_NE(time, std::string::npos);
  EXPECT_GE(std::stod(report.substr(time + 6)), 0.25);
}

// ------------------------------------------------------------------------------------------- sound

TEST_F(ScenarioPlay, MeasuresSound) {
  add_tone(16384);
  expect_held(std::string{ready} + "expect no sound\n" + play_tone + R"(
wait sound
wait silence 300ms
expect sound above -6.1dB
expect sound below -6dB
set gpio.100 1
expect no sound
wait silence 100ms
)" + play_tone +
              "wait sound\n");
}

TEST_F(ScenarioPlay, ReportsLevels) {
  add_tone(3277); // a tenth
  const std::string tone = std::string{ready} + play_tone + "wait sound\nwait silence 200ms\n";
  expect_failed(tone + "expect sound above -10dB", "the level is -20.0dB");
  expect_failed(tone + "expect sound below -30dB", "the level is -20.0dB");
  expect_failed(tone + "expect no sound", "the level is -20.0dB");
  expect_failed(std::string{ready} + "expect sound above -80dB", "the level is -99.0dB");
}

TEST_F(ScenarioPlay, ReportsMissingSoundAndSilence) {
  expect_failed(std::string{ready} + "timeout 300ms\nwait sound", "not within 300ms; nothing was played");
  add_tone(16384);
  expect_failed(std::string{ready} + play_tone + "wait sound\ntimeout 50ms\nwait silence 10s",
                "not within 50ms; the level of the sound is -6.0dB");
}

// ------------------------------------------------------------------------------------------- the application

TEST_F(ScenarioPlay, AwaitsTheEndOfTheApplication) {
  expect_held(std::string{ready} + "type \"end 7\\n\"\nend status 7");
  expect_held(std::string{ready} + "stop\nend");
  expect_failed(std::string{ready} + "type \"end 7\\n\"\nend", "the application ended with exit status 7");
  expect_failed(std::string{ready} + "timeout 200ms\nend", "not within 200ms; the application runs");
}

TEST_F(ScenarioPlay, ReadsAllTextOfAnApplicationThatEnded) {
  expect_held(std::string{ready} + "type \"end 0\\n\"\nend\nexpect console \"ending 0\"");
  expect_held(std::string{ready} + "type \"end 0\\n\"\nwait console \"ending 0\"");
}

TEST_F(ScenarioPlay, FailsIfTheApplicationEndsMeanwhile) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  expect_failed(std::string{ready} + "type \"end 3\\n\"\nwait console \"rain\"",
                "the application ended with exit status 3; last line: ");
  expect_failed(std::string{ready} + "type \"end 3\\n\"\nwait 10min",
                "the application ended with exit status 3");
  expect_failed("wait log \"x\"", "the application ended with exit status 137, signal 9",
                {"sh", "-c", "kill -KILL $$"});
}

/// The event of a line that never ended comes when the application has ended.
TEST_F(ScenarioPlay, FailsIfTheApplicationFailedAfterTheLastStep) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  const outcome result =
      played("timeout 60s\nwait event \"ttyS0: up\"", {}, {"sh", "-c", "printf up >/dev/ttyS0; exit 4"});
  EXPECT_EQ(result.exit_status(), 1);
  EXPECT_EQ(messages(result), "dravik-sim: " + scenario() + ": the application ended with exit status 4");
}

TEST_F(ScenarioPlay, StartsTheApplicationAgainAfterAReboot) {
  const outcome result =
      played(std::string{ready} + "type \"reboot\\n\"\nwait event \"shell: /sbin/reboot\"\n" +
             "wait console \"guest ready\"\ntype \"end 0\\n\"\nend");
  EXPECT_EQ(result.exit_status(), 0) << result.errors;
}

TEST_F(ScenarioPlay, StartsTheApplicationWhenAStepDoes) {
  expect_held("write \"/tmp/a\" \"x\"\nwait 300ms\nexpect never console \"guest\"\nstart\n" +
              std::string{ready} +
              "stop\nend\nstart\nwait console \"guest ready\"\ntype \"end 7\\n\"\nend status 7\n" +
              "start\nwait console \"guest ready\"");
}

TEST_F(ScenarioPlay, ReportsAStartThatIsNotPossible) {
  expect_failed("start\nstart", "the application runs");
  expect_failed("start", "the scenario was played without an application", {});
  EXPECT_THAT(messages(played("stop\nstart\n")), HasSubstr(":1: stop: the application has not been started"));
}

TEST_F(ScenarioPlay, EndsTheApplicationInOrder) {
  expect_held(ready);
  EXPECT_THAT(board_.read("console"), HasSubstr("ending 0"));
  EXPECT_FALSE(board_.exists("dev/ttyS0.keeper"));
}

TEST_F(ScenarioPlay, KillsAnApplicationThatDoesNotEnd) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  const outcome result =
      played("timeout 60s\nwait event \"ttyS0: up\"", {},
             {"sh", "-c", "trap '' TERM; echo up >/dev/ttyS0; while read x; do :; done </dev/ttyS0"});
  EXPECT_EQ(result.exit_status(), 0);
  EXPECT_EQ(messages(result),
            "dravik-sim: warning: the application did not end within 5s after SIGTERM; it was killed");
}

TEST_F(ScenarioPlay, RejectsStepsThatNeedAnApplication) {
  expect_failed("stop", "the scenario was played without an application", {});
  expect_failed("end", "the scenario was played without an application", {});
}

TEST_F(ScenarioPlay, ReportsAnApplicationThatCannotBeStarted) {
  const outcome result = played("wait log \"x\"", {}, {at("nothing")});
  EXPECT_EQ(result.exit_status(), 1);
  EXPECT_THAT(messages(result), HasSubstr("nothing: "));
  EXPECT_THAT(messages(result), HasSubstr(":1: wait log \"x\": the application ended with exit status 1"));
}

TEST_F(ScenarioPlay, EndsInOrderWhenInterrupted) {
  write("drive.scenario", "wait 60min\n");
  follower events{board_.path()};
  FILE *errors = std::tmpfile();
  const pid_t child = ::fork();
  if (child == 0)
    become({"/usr/bin/env", std::string{"LD_PRELOAD="} + preloaded_first, "ASAN_OPTIONS=detect_leaks=0",
            launcher_path, "play", board_.path(), scenario(), "--", guest_path},
           ::fileno(errors), ::fileno(errors));
  EXPECT_TRUE(events.sees("ttyS0: guest ready"));
  ::kill(child, SIGTERM);
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : -1, 1);
  EXPECT_THAT(contents(errors), HasSubstr("drive.scenario:1: wait 60min: interrupted\n"));
  EXPECT_THAT(board_.read("console"), HasSubstr("ending 0"));
}

// ------------------------------------------------------------------------------------------- the command

TEST_F(ScenarioPlay, RejectsFilesThatAreNoScenario) {
  const outcome result = played("wait 1s\n  pres ok\n");
  EXPECT_EQ(result.exit_status(), 2);
  EXPECT_EQ(messages(result), "dravik-sim: play: " + scenario() + ":2:3: unknown step 'pres'");
  EXPECT_FALSE(board_.exists("console")) << "the application was started";
}

TEST_F(ScenarioPlay, ReportsAMissingFile) {
  const outcome result = launched({"play", board_.path(), at("missing")});
  EXPECT_EQ(result.exit_status(), 1);
  EXPECT_EQ(messages(result), "dravik-sim: " + at("missing") + ": No such file or directory");
}

TEST_F(ScenarioPlay, RejectsInvalidArguments) {
  EXPECT_EQ(launched({"play", board_.path()}).exit_status(), 2);
  EXPECT_EQ(launched({"play", board_.path(), "x", "--fast"}).exit_status(), 2);
  write("drive.scenario", "wait 1ms");
  EXPECT_EQ(launched({"play", at("nowhere"), scenario()}).exit_status(), 1);
}

// ------------------------------------------------------------------------------------------- the report

TEST_F(ScenarioPlay, ReportsEachStep) {
  const outcome result = played(
      "wait console \"ready\"\ntype \"<&'\\t\\\"äöü\\n\"\n\nwait console \"done <&'\"\nexpect log \"]]> \xff\"\nwait 1s\n",
      {"--junit", at("report.xml")});
  EXPECT_EQ(result.exit_status(), 1);
  EXPECT_EQ(run({"xmllint", "--noout", at("report.xml")}).errors, "");
  const std::string report = text_of("report.xml");
  EXPECT_THAT(report,
              HasSubstr(R"(<testsuite name="drive" tests="5" failures="1" errors="0" skipped="1" time=")"));
  EXPECT_THAT(report, HasSubstr(R"(name="2: type &quot;&lt;&amp;'\t\&quot;äöü\n&quot;" file=")" + scenario() +
                                R"(" line="2")"));
  EXPECT_THAT(report, HasSubstr(R"(<failure message=")" + scenario() +
                                R"(:5: expect log &quot;]]&gt; ?&quot;: it did not come; )"));
  EXPECT_THAT(report, HasSubstr("<skipped/>"));
}

TEST_F(ScenarioPlay, ReportsAScenarioThatHeld) {
  expect_held("timeout 1s", {"--junit", at("report.xml")});
  EXPECT_EQ(run({"xmllint", "--noout", at("report.xml")}).exit_status(), 0);
  EXPECT_THAT(text_of("report.xml"), HasSubstr(R"(tests="1" failures="0" errors="0" skipped="0")"));
  EXPECT_THAT(text_of("report.xml"), Not(HasSubstr("<failure")));
}

TEST_F(ScenarioPlay, MakesTheDirectoryOfTheReport) {
  EXPECT_EQ(played("timeout 1s", {"--junit", at("out/now/report.xml")}, {}).exit_status(), 0);
  EXPECT_TRUE(exists("out/now/report.xml"));
}

TEST_F(ScenarioPlay, FailsIfTheReportCannotBeWritten) {
  write("file", "in the way");
  const outcome result = played("timeout 1s", {"--junit", at("file/report.xml")}, {});
  EXPECT_EQ(result.exit_status(), 1);
  EXPECT_EQ(messages(result), "dravik-sim: " + at("file") + ": Not a directory");
}

} // namespace
} // namespace dravik::test
