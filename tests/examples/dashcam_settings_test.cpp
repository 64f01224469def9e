// The demonstration's settings: each changes something immediately, and is kept across a restart.

#include "examples/living_dashcam.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace dravik::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

class DashcamSettings : public testing::Test {
protected:
  /// The screen after these keys on a page; the settings are kept from call to call.
  shot press(const std::string &page, const std::string &keys) const {
    return shot_of(on_, {"--screen", page, "--press", keys});
  }
  shot show(const std::string &page) const { return shot_of(on_, {"--screen", page}); }
  std::string file() const { return on_.read("usr/local/dravik/dashcam.conf"); }

  const recording_board on_;
};

/// The part of the bar of a list's first row that is filled, of 150 pixels; white on the selected row.
uint32_t bar(const shot &seen) {
  uint32_t width = 0;
  while (width < 150 && seen.at(450 + width, 119) == DRAVIK_WHITE)
    ++width;
  return width;
}

TEST_F(DashcamSettings, BrightnessIsThatOfTheBacklight) {
  living_dashcam dashcam{on_, {"--screen", "settings", "--stay"}};
  dashcam.await_event("backlight: 1000");
  for (const char *expected : {"backlight: 200", "backlight: 400", "backlight: 600"}) {
    dashcam.set({"gpio.62=1"});
    dashcam.await_line("key pressed");
    dashcam.set({"gpio.62=0"});
    dashcam.await_event(expected);
  }
  EXPECT_EQ(bar(dashcam.expect_end()), 90U);
  EXPECT_EQ(bar(show("settings")), 90U) << "after a restart";
}

TEST_F(DashcamSettings, BrightnessIsUsedAfterARestart) {
  press("settings", "ok");
  living_dashcam dashcam{on_, {"--screen", "home", "--stay"}};
  dashcam.await_event("backlight: 200");
  dashcam.set({"gpio.60=1"});
  dashcam.await_event("backlight: 1");
  dashcam.set({"gpio.60=0"});
  dashcam.await_event("backlight: 200");
  dashcam.expect_end();
}

TEST_F(DashcamSettings, VolumeIsUsedAfterARestart) {
  press("sound", "ok,ok");
  on_.remove("sound/mixer");
  living_dashcam dashcam{on_, {"--screen", "home", "--stay"}};
  dashcam.await_line("screen home");
  dashcam.expect_end();
  EXPECT_THAT(on_.read("sound/mixer"), HasSubstr("numid 1 = 113\n"));
}

TEST_F(DashcamSettings, MicrophoneIsShownInTheStatusBar) {
  const auto sign = [](const shot &seen) { return seen.area(514, 8, 28, 28); };
  const std::vector<uint16_t> on = sign(show("menu"));
  EXPECT_NE(sign(press("sound", "next,next,ok")), on);
  EXPECT_NE(sign(show("home")), on);
}

TEST_F(DashcamSettings, ThemeColoursEveryPage) {
  const uint16_t leaf = 0x3C03;
  EXPECT_EQ(press("theme", "next,next,ok").at(320, 43), leaf);
  for (const char *page : {"home", "menu", "settings", "card"})
    EXPECT_EQ(show(page).at(320, 43), leaf) << page;
}

TEST_F(DashcamSettings, LanguageSwitchesEveryPage) {
  const char *const named[] = {"menu",  "playback", "gallery",   "journey", "sensor", "card",
                               "sound", "settings", "languages", "theme",   "clock",  "system"};
  const auto title = [](const shot &seen) { return seen.area(60, 46, 300, 44); };
  std::vector<std::vector<uint16_t>> english;
  for (const char *page : named)
    english.push_back(title(show(page)));
  EXPECT_NE(title(press("languages", "next,next,ok")), english[8]);
  for (size_t i = 0; i < std::size(named); ++i)
    EXPECT_NE(title(show(named[i])), english[i]) << named[i];
  EXPECT_THAT(file(), HasSubstr("language=2\n"));
}

TEST_F(DashcamSettings, LanguageOfTheCommandLineIsNotKept) {
  shot_of(on_, {"--screen", "settings", "--language", "de", "--press", "ok"});
  EXPECT_THAT(file(), HasSubstr("language=0\n"));
}

/// One figure of the clock of the status bar, from 0: those are 16 pixels wide, colons 8.
std::vector<uint16_t> clock_figure(const shot &seen, uint32_t number) {
  constexpr uint32_t places[] = {0, 16, 32, 40, 56};
  return seen.area(264 + places[number], 9, 16, 24);
}

TEST_F(DashcamSettings, ClockIsSetByHourAndMinute) {
  const shot later = press("clock", "ok,ok,next,ok"); // 14:32 becomes 16:33
  const shot expected = shot_of(on_, {"--screen", "menu"}, sim::screen::of_size(640, 480), "14:32:08");
  for (const uint32_t figure : {0, 1, 3, 4})
    EXPECT_EQ(clock_figure(later, figure), clock_figure(expected, figure)) << "kept";
  EXPECT_NE(clock_figure(later, 1), clock_figure(later, 3)) << "6 and 3";
  EXPECT_EQ(clock_figure(later, 3), clock_figure(later, 4)) << "3 and 3";
  EXPECT_THAT(file(), HasSubstr("clock=121\n"));
  EXPECT_THAT(on_.events(), Not(Contains(HasSubstr("clock:")))) << "the board's clock is left alone";
}

TEST_F(DashcamSettings, MinuteReturnsTo0WithoutANewHour) {
  const shot seen =
      shot_of(on_, {"--screen", "clock", "--press", "next,ok"}, sim::screen::of_size(640, 480), "14:59:08");
  EXPECT_EQ(clock_figure(seen, 3), clock_figure(seen, 4)) << "0 and 0";
  EXPECT_THAT(file(), HasSubstr("clock=1381\n")) << "59 minutes back";
}

/// The threshold is 1500 mg, 1000 mg if the sensitivity is high, 2000 mg if it is low.
TEST_F(DashcamSettings, ImpactSensorHasAThreshold) {
  const auto log_after = [&](const std::string &acceleration) {
    on_.write("tmp/dravik.log", "");
    on_.clear_events();
    living_dashcam dashcam{on_, {"--screen", "home", "--stay"}};
    dashcam.await_line("screen home");
    dashcam.set({"accel=0," + acceleration + ",1000"});
    dashcam.set({"temperature=55.2"});
    dashcam.await_temperature(55);
    dashcam.set({"accel=0,0,1000", "temperature=45.2"});
    dashcam.await_temperature(45);
    dashcam.expect_end();
    return on_.read("tmp/dravik.log");
  };
  EXPECT_THAT(log_after("1250"), Not(HasSubstr("impact of")));
  press("settings", "next,next,ok");
  EXPECT_THAT(file(), HasSubstr("impact=2\n"));
  EXPECT_THAT(log_after("1250"), HasSubstr("impact of 1250 mg"));
  press("settings", "next,next,ok");
  EXPECT_THAT(log_after("1750"), Not(HasSubstr("impact of")));
}

TEST_F(DashcamSettings, DestinationIsKept) {
  press("journey", "next,ok");
  EXPECT_THAT(file(), HasSubstr("destination=1\n"));
}

TEST_F(DashcamSettings, MalformedFileIsReadAsFarAsItIsValid) {
  on_.write("usr/local/dravik/dashcam.conf", std::string(500, 'x') +
                                                 "\nbrightness=99999999999\ntheme=-7\n=3\nvolume\n"
                                                 "language=99\nclock=121\nbrightness=67\n");
  press("sound", "next,ok");
  EXPECT_EQ(file(),
            "brightness=60\nvolume=60\nmute=1\nmicrophone=1\nimpact=1\ntheme=0\nlanguage=6\nclock=121\n"
            "destination=5\n");
}

TEST_F(DashcamSettings, FlashThatCannotBeWrittenIsReported) {
  on_.set_fault("open", "/usr/local/dravik/dashcam.conf.new", "EROFS");
  EXPECT_EQ(bar(press("settings", "ok")), 30U) << "the setting has its effect";
  EXPECT_THAT(on_.read("tmp/dravik.log"), HasSubstr("] settings: cannot be saved\n"));
}

} // namespace
} // namespace dravik::test
