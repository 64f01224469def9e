// The text of scenarios: every step, and every error with its position.

#include "scenario/parser.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace dravik::sim::scenario {
namespace {

using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;
using std::chrono_literals::operator""min;

std::vector<step> parsed(std::string_view text) {
  std::vector<step> steps;
  problem error;
  EXPECT_TRUE(parse(text, steps, error)) << error.line << ":" << error.column << ": " << error.text;
  return steps;
}

/// The only step of a line.
template <class Action> Action only(std::string_view line) {
  const std::vector<step> steps = parsed(line);
  if (steps.size() == 1 && std::holds_alternative<Action>(steps[0].does))
    return std::get<Action>(steps[0].does);
  ADD_FAILURE() << line << ": another step";
  return {};
}

std::string problem_of(std::string_view text) {
  std::vector<step> steps;
  problem error;
  EXPECT_FALSE(parse(text, steps, error)) << text;
  return std::to_string(error.line) + ":" + std::to_string(error.column) + ": " + error.text;
}

void expect_part(const std::optional<rectangle> &part, uint32_t x, uint32_t y, uint32_t width,
                 uint32_t height) {
  ASSERT_TRUE(part);
  EXPECT_EQ(part->x, x);
  EXPECT_EQ(part->y, y);
  EXPECT_EQ(part->width, width);
  EXPECT_EQ(part->height, height);
}

// ------------------------------------------------------------------------------------------- steps

TEST(ScenarioParser, AcceptsFileWithoutSteps) {
  EXPECT_TRUE(parsed("").empty());
  EXPECT_TRUE(parsed("\n\r\n \t\n# a comment\n  # another").empty());
}

TEST(ScenarioParser, KeepsLineAndTextOfEachStep) {
  const std::vector<step> steps = parsed("# first\n\n  press  ok # why\r\nwait 1s");
  ASSERT_EQ(steps.size(), 2U);
  EXPECT_EQ(steps[0].line, 3U);
  EXPECT_EQ(steps[0].text, "press  ok");
  EXPECT_EQ(steps[1].line, 4U);
  EXPECT_EQ(steps[1].text, "wait 1s");
}

TEST(ScenarioParser, ReadsTimes) {
  EXPECT_EQ(only<wait_time>("wait 1ms").time, 1ms);
  EXPECT_EQ(only<wait_time>("wait 1.5s").time, 1500ms);
  EXPECT_EQ(only<wait_time>("wait 0.5min").time, 30s);
  EXPECT_EQ(only<wait_time>("wait 60min").time, 60min);
  EXPECT_EQ(only<set_timeout>("timeout 7s").time, 7s);
  EXPECT_EQ(only<wait_silence>("wait silence 200ms").time, 200ms);
}

TEST(ScenarioParser, ReadsAwaitedTexts) {
  EXPECT_EQ(only<wait_text>("wait console \"ready\"").source, text_source::console);
  EXPECT_EQ(only<wait_text>("wait log \"x\"").source, text_source::log);
  EXPECT_EQ(only<wait_text>("wait event \"x\"").source, text_source::event);
  EXPECT_EQ(only<wait_text>(R"(wait log "a # \"b\"\\\n\r\t ä" # c)").text, "a # \"b\"\\\n\r\t ä");
}

TEST(ScenarioParser, ReadsAwaitedScreens) {
  EXPECT_FALSE(only<wait_change>("wait screen change").part);
  expect_part(only<wait_change>("wait screen change in 1,2 3x4").part, 1, 2, 3, 4);
  const auto still = only<wait_still>("wait screen still 300ms in 0,0 16384x16384");
  EXPECT_EQ(still.time, 300ms);
  expect_part(still.part, 0, 0, 16384, 16384);
  const auto whole = only<wait_picture>("wait screen \"a/b.png\"").picture;
  EXPECT_EQ(whole.file, "a/b.png");
  EXPECT_FALSE(whole.part);
  EXPECT_EQ(whole.tolerance, 0U);
  const auto part = only<expect_picture>("expect screen \"b.png\" in 10,20 30x40 tolerance 255").picture;
  expect_part(part.part, 10, 20, 30, 40);
  EXPECT_EQ(part.tolerance, 255U);
  EXPECT_EQ(only<expect_picture>("expect screen \"b.png\" tolerance 8").picture.tolerance, 8U);
}

TEST(ScenarioParser, ReadsInputs) {
  EXPECT_EQ(only<set_input>("set temperature 81.5").change, "temperature=81.5");
  EXPECT_EQ(only<set_input>("set accel 0,-2600,1000").change, "accel=0,-2600,1000");
  EXPECT_EQ(only<set_input>("set adc.3 0x3ff").change, "adc.3=0x3ff");
  EXPECT_EQ(only<set_input>("set gpio.60 1").change, "gpio.60=1");
  EXPECT_EQ(only<set_input>("set hdmi on").change, "hdmi=on");
  for (const std::string state : {"in", "out", "locked", "mount", "umount"})
    EXPECT_EQ(only<set_input>("card " + state).change, "card=" + state);
}

TEST(ScenarioParser, ReadsKeys) {
  EXPECT_THAT(only<press_keys>("press next").lines, testing::ElementsAre(61));
  EXPECT_FALSE(only<press_keys>("press next").time);
  EXPECT_FALSE(only<press_keys>("press next").until);
  EXPECT_THAT(only<press_keys>("press ok 1.5s").lines, testing::ElementsAre(62));
  EXPECT_EQ(only<press_keys>("press ok 1.5s").time, 1500ms);
  EXPECT_THAT(only<press_keys>("press 255 next next ok").lines, testing::ElementsAre(255, 61, 61, 62));
  EXPECT_EQ(only<press_keys>("press next ok 2s").time, 2s);
  const auto until = only<press_keys>("press ok until log \"back\"").until;
  ASSERT_TRUE(until);
  EXPECT_EQ(until->source, text_source::log);
  EXPECT_EQ(until->text, "back");
  EXPECT_TRUE(only<hold_key>("hold ok").is_down);
  EXPECT_FALSE(only<hold_key>("release ok").is_down);
}

TEST(ScenarioParser, ReadsTextsThatReportKeys) {
  const auto texts = only<set_key_texts>(R"(keys event "line 61 = 1" "line 61 = 0")");
  EXPECT_EQ(texts.source, text_source::event);
  EXPECT_EQ(texts.pressed, "line 61 = 1");
  EXPECT_EQ(texts.released, "line 61 = 0");
}

TEST(ScenarioParser, ReadsFilesOfTheBoard) {
  const auto text = only<write_file_of_board>(R"(write "/tmp/a b" "x\n")");
  EXPECT_EQ(text.path, "/tmp/a b");
  EXPECT_EQ(text.text, "x\n");
  EXPECT_EQ(text.bytes, 0U);
  EXPECT_EQ(only<write_file_of_board>("write \"/a\" 3KiB").bytes, 3072U);
  EXPECT_EQ(only<write_file_of_board>("write \"/a\" 4095MiB").bytes, 4293918720U);
  EXPECT_EQ(only<remove_file_of_board>("remove \"/tmp/..a/b..\"").path, "/tmp/..a/b..");
}

TEST(ScenarioParser, ReadsConditionsOfFiles) {
  const auto any = only<wait_file>("wait file \"/tmp/a\"").file;
  EXPECT_EQ(any.path, "/tmp/a");
  EXPECT_EQ(any.text, "");
  EXPECT_TRUE(any.is_wanted);
  EXPECT_FALSE(only<wait_file>("wait no file \"/tmp/a\"").file.is_wanted);
  EXPECT_EQ(only<expect_file>(R"(expect file "/tmp/a" "b\n")").file.text, "b\n");
  EXPECT_TRUE(only<expect_file>("expect file \"/tmp/a\"").file.is_wanted);
  EXPECT_FALSE(only<expect_file>(R"(expect no file "/tmp/a" "b")").file.is_wanted);
}

TEST(ScenarioParser, ReadsFaults) {
  const fault open = only<inject_fault>("fault open /dev/fb0 ENODEV").injected;
  EXPECT_EQ(open.request, "open");
  EXPECT_EQ(open.target, "/dev/fb0");
  EXPECT_EQ(open.error, "ENODEV");
  EXPECT_EQ(only<inject_fault>("fault underrun sound").injected.error, "");
  EXPECT_FALSE(only<remove_faults>("fault none").only);
  EXPECT_EQ(only<remove_faults>("fault none open /dev/fb0").only->target, "/dev/fb0");
}

TEST(ScenarioParser, ReadsExpectations) {
  EXPECT_EQ(only<expect_text>("expect log \"a\"").wanted, presence::some);
  EXPECT_EQ(only<expect_text>("expect no console \"a\"").wanted, presence::none);
  EXPECT_EQ(only<expect_text>("expect never event \"a\"").wanted, presence::never);
  EXPECT_TRUE(only<expect_level>("expect sound above -20dB").is_above);
  EXPECT_EQ(only<expect_level>("expect sound below -0.5dB").decibels, -0.5);
  EXPECT_FALSE(only<expect_level>("expect sound below -90dB").is_above);
  only<expect_no_sound>("expect no sound");
}

TEST(ScenarioParser, ReadsTheOtherSteps) {
  only<wait_sound>("wait sound");
  EXPECT_EQ(only<type_text>(R"(type "status\n")").text, "status\n");
  EXPECT_EQ(only<take_shot>("shot \"now/menu.png\"").file, "now/menu.png");
  only<start_application>("start");
  only<stop_application>("stop");
  EXPECT_EQ(only<end_of_application>("end").status, 0U);
  EXPECT_EQ(only<end_of_application>("end status 255").status, 255U);
}

// ------------------------------------------------------------------------------------------- errors

struct rejected {
  const char *text;
  const char *problem;
};

constexpr rejected rejected_texts[] = {
    {"wait 1s\npres ok", "2:1: unknown step 'pres'"},
    {"  \"wait\" 1s", "1:3: unknown step 'wait'"},
    {"wait log \"a", "1:10: missing closing quote"},
    {"wait log \"a\"b", "1:13: missing space after a quoted text"},
    {"wait log a\"b\"", "1:11: a quoted text must begin after a space"},
    {R"(wait log "a\x")", R"(1:12: invalid escape; must be \", \\, \n, \r or \t)"},
    {R"(wait log "a\)", R"(1:12: invalid escape; must be \", \\, \n, \r or \t)"},
    {"wait log \"ä\" \"b\"", "1:14: unexpected 'b'"},
    {"wait log \"\a\"", "1:11: control character"},
    {"wait\v1s", "1:5: control character"},

    {"wait", "1:5: missing a time, console, log, event, file, screen, sound, silence or no"},
    {"wait no", "1:8: missing file"},
    {"wait no log \"x\"", "1:9: invalid 'log'; must be file"},
    {"wait file", "1:10: missing path"},
    {"wait file /tmp/a", "1:11: path must be in quotes"},
    {"wait file \"tmp/a\"", "1:11: invalid path 'tmp/a'; must be the absolute path of a file, without '..'"},
    {"wait file \"/tmp/a\" b", "1:20: text must be in quotes"},
    {"wait file \"/tmp/a\" \"\"", "1:20: empty text"},
    {"wait file \"/tmp/a\" \"b\" \"c\"", "1:24: unexpected 'c'"},
    {"wait soon", "1:6: invalid time 'soon'; must be 1ms to 60min, in ms, s or min"},
    {"wait \"1s\"", "1:6: time must not be in quotes"},
    {"wait 1s 2s", "1:9: unexpected '2s'"},
    {"wait log", "1:9: missing text"},
    {"wait log # \"x\"", "1:15: missing text"},
    {"wait log mount", "1:10: text must be in quotes"},
    {"wait log \"\"", "1:10: empty text"},
    {"wait silence", "1:13: missing time"},
    {"wait sound 1s", "1:12: unexpected '1s'"},
    {"timeout", "1:8: missing time"},
    {"timeout 0s", "1:9: invalid time '0s'; must be 1ms to 60min, in ms, s or min"},

    {"wait screen", "1:12: missing file name"},
    {"wait screen menu.png", "1:13: file name must be in quotes"},
    {"wait screen still", "1:18: missing time"},
    {"wait screen change in", "1:22: missing position"},
    {"wait screen change in 1", "1:23: invalid position '1'; must be X,Y"},
    {"wait screen change in -1,0 1x1", "1:23: invalid position '-1,0'; must be X,Y"},
    {"wait screen change in 1,2", "1:26: missing size"},
    {"wait screen change in 1,2 0x5", "1:27: invalid size '0x5'; must be WIDTHxHEIGHT"},
    {"wait screen change in 1,2 5x16385", "1:27: invalid size '5x16385'; must be WIDTHxHEIGHT"},
    {"expect screen \"a.png\" tolerance", "1:32: missing tolerance"},
    {"expect screen \"a.png\" tolerance 256", "1:33: invalid tolerance '256'; must be 0 to 255"},
    {"expect screen \"a.png\" about", "1:23: unexpected 'about'"},

    {"set", "1:4: missing key"},
    {"set temperature", "1:16: missing value"},
    {"set temperature 118", "1:17: invalid 'temperature=118'; must be -1 to 117"},
    {"set weather 1", "1:13: unknown input 'weather=1'; try 'dravik-sim set --help'"},
    {"set accel 0, 0, 0", "1:11: invalid 'accel=0,'; must be X,Y,Z, each -16000 to 16000"},
    {"card away", "1:6: invalid 'card=away'; must be in, locked, out, mount or umount"},
    {"card", "1:5: missing value"},

    {"press ok next long", "1:15: invalid time 'long'; must be 1ms to 60min, in ms, s or min"},
    {"press ok 1s next", "1:13: unexpected 'next'"},
    {"press ok \"next\"", "1:10: time must not be in quotes"},
    {"press ok until", "1:15: missing console, log or event"},
    {"press ok until rain", "1:16: invalid 'rain'; must be console, log or event"},
    {"press ok until console", "1:23: missing text"},
    {"press ok until console \"a\" 1s", "1:28: unexpected '1s'"},
    {"keys", "1:5: missing console, log or event"},
    {"keys rain", "1:6: invalid 'rain'; must be console, log or event"},
    {"keys console", "1:13: missing text"},
    {"keys console \"a\"", "1:17: missing text"},
    {"keys console \"a\" \"b\" \"c\"", "1:22: unexpected 'c'"},
    {"press", "1:6: missing key"},
    {"press menu", "1:7: invalid key 'menu'; must be next, ok or 0 to 255"},
    {"press ok long", "1:10: invalid time 'long'; must be 1ms to 60min, in ms, s or min"},
    {"press ok 1s 2s", "1:13: unexpected '2s'"},
    {"hold 256", "1:6: invalid key '256'; must be next, ok or 0 to 255"},
    {"release", "1:8: missing key"},
    {"release ok 1s", "1:12: unexpected '1s'"},

    {"fault", "1:6: missing request"},
    {"fault dance /dev/fb0 EIO", "1:7: unknown request 'dance'"},
    {"fault open", "1:11: missing path"},
    {"fault open /dev/fb0 EAGAIN", "1:21: unknown error 'EAGAIN'"},
    {"fault none dance", "1:12: unknown request 'dance'"},
    {"fault open /dev/fb0 EIO now", "1:25: unexpected 'now'"},
    {"type status", "1:6: text must be in quotes"},

    {"write", "1:6: missing path"},
    {"write \"/tmp/../etc/a\" \"b\"",
     "1:7: invalid path '/tmp/../etc/a'; must be the absolute path of a file, without '..'"},
    {"write \"/tmp/\" \"b\"", "1:7: invalid path '/tmp/'; must be the absolute path of a file, without '..'"},
    {"write \"/tmp/a\"", "1:15: missing size"},
    {"write \"/tmp/a\" \"\"", "1:16: empty text"},
    {"write \"/tmp/a\" 1", "1:16: invalid size '1'; must be 1KiB to 4095MiB, in KiB or MiB"},
    {"write \"/tmp/a\" 0MiB", "1:16: invalid size '0MiB'; must be 1KiB to 4095MiB, in KiB or MiB"},
    {"write \"/tmp/a\" 1.5MiB", "1:16: invalid size '1.5MiB'; must be 1KiB to 4095MiB, in KiB or MiB"},
    {"write \"/tmp/a\" 4096MiB", "1:16: invalid size '4096MiB'; must be 1KiB to 4095MiB, in KiB or MiB"},
    {"write \"/tmp/a\" 99999999999MiB",
     "1:16: invalid size '99999999999MiB'; must be 1KiB to 4095MiB, in KiB or MiB"},
    {"write \"/tmp/a\" 1MiB 2MiB", "1:21: unexpected '2MiB'"},
    {"remove", "1:7: missing path"},
    {"remove \"/a\" \"b\"", "1:13: unexpected 'b'"},
    {"start now", "1:7: unexpected 'now'"},

    {"expect", "1:7: missing console, log, event, file, screen, sound, no or never"},
    {"expect rain", "1:8: invalid 'rain'; must be console, log, event, file, screen, sound, no or never"},
    {"expect file", "1:12: missing path"},
    {"expect no file", "1:15: missing path"},
    {"expect never file", "1:14: invalid 'file'; must be console, log or event"},
    {"expect no", "1:10: missing console, log or event"},
    {"expect never sound", "1:14: invalid 'sound'; must be console, log or event"},
    {"expect sound", "1:13: missing above or below"},
    {"expect sound loud", "1:14: invalid 'loud'; must be above or below"},
    {"expect sound above", "1:19: missing level"},
    {"expect sound above 1dB", "1:20: invalid level '1dB'; must be -90dB to 0dB"},
    {"expect sound above -20", "1:20: invalid level '-20'; must be -90dB to 0dB"},
    {"expect sound above nandB", "1:20: invalid level 'nandB'; must be -90dB to 0dB"},

    {"shot", "1:5: missing file name"},
    {"shot \"menu.jpg\"",
     "1:6: invalid file name 'menu.jpg'; must be a relative path to a .png file, without '..'"},
    {"stop now", "1:6: unexpected 'now'"},
    {"end status", "1:11: missing status"},
    {"end status 256", "1:12: invalid status '256'; must be 0 to 255"},
    {"end 0", "1:5: unexpected '0'"},
};

TEST(ScenarioParser, ReportsErrorsWithTheirPosition) {
  for (const rejected &each : rejected_texts)
    EXPECT_EQ(problem_of(each.text), each.problem) << each.text;
}

TEST(ScenarioParser, RejectsTimesOutOfRange) {
  for (const std::string time : {"0ms", "0.4ms", "-1s", "60.1min", "1e3ms", "1", "s", "1 s", "nans", "infs",
                                 "1ss", "99999999999999999999999s", "1h", ".s", "+1s"})
    EXPECT_THAT(problem_of("wait " + time), testing::HasSubstr("1:6: invalid time '")) << time;
}

TEST(ScenarioParser, RejectsPicturesOutsideItsDirectory) {
  for (const std::string file : {"/tmp/a.png", "../a.png", "a/../../b.png", "a/..", "a\\nb.png", ".pn"})
    EXPECT_THAT(problem_of("expect screen \"" + file + "\""), testing::HasSubstr("1:15: invalid file name"));
  EXPECT_EQ(only<take_shot>("shot \"a/..b.png\"").file, "a/..b.png");
}

TEST(ScenarioParser, CountsCharactersOfUtf8InColumns) {
  EXPECT_EQ(problem_of("wait log \"äöü€😀\" x"), "1:18: unexpected 'x'");
}

TEST(ScenarioParser, ReportsTheFirstErrorOnly) {
  std::vector<step> steps;
  problem error;
  EXPECT_FALSE(parse("wait 1s\nstop\nnonsense\nmore nonsense\n", steps, error));
  EXPECT_EQ(error.line, 3U);
  EXPECT_EQ(steps.size(), 2U);
}

// ------------------------------------------------------------------------------------------- limits

TEST(ScenarioParser, LimitsLines) {
  const std::string comment = "stop #" + std::string(most_line_bytes - 6, 'x');
  EXPECT_EQ(parsed(comment).size(), 1U);
  EXPECT_EQ(problem_of("\n" + comment + "x\n"), "2:1: line too long; must be at most 1000 bytes");
}

TEST(ScenarioParser, LimitsSteps) {
  std::string text;
  for (size_t i = 0; i < most_steps; ++i)
    text += "stop\n";
  EXPECT_EQ(parsed(text + "# more\n\n").size(), most_steps);
  EXPECT_EQ(problem_of(text + "\nstop\n"), "10002:1: too many steps; must be at most 10000");
}

TEST(ScenarioParser, LimitsTheFile) {
  EXPECT_TRUE(parsed(std::string(most_bytes, '\n')).empty());
  EXPECT_EQ(problem_of(std::string(most_bytes + 1, '\n')), "1:1: scenario too long; must be at most 1 MiB");
}

} // namespace
} // namespace dravik::sim::scenario
