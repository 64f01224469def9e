// The demonstration: every screen on panels of several sizes, its command line, and its end.

#include "examples/demonstration.hpp"
#include "support/paths.hpp"

#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace dravik::test {
namespace {

using sim::screen;
using testing::Contains;
using testing::ElementsAre;
using testing::Gt;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

/// A panel with a second buffer below it and spare bytes at the end of each line.
screen roomy(uint32_t width, uint32_t height) {
  screen shown = screen::of_size(width, height);
  shown.yres_virtual = 2 * height;
  shown.line_length += 24;
  return shown;
}

shot screen_of(const std::string &name, const screen &shown, const std::string &time = "14:32:08",
               const std::string &language = "en") {
  const prepared_board on{shown};
  return shot_of(on, {"--screen", name, "--language", language}, shown, time);
}

// -------------------------------------------------------------------------------------------- every screen

const std::string names[] = {"splash",  "home",   "menu",   "playback", "player", "gallery",
                             "journey", "sensor", "card",   "settings", "sound",  "languages",
                             "theme",   "clock",  "system", "shutdown"};

struct panel {
  uint32_t width, height;
};
void PrintTo(const panel &shown, std::ostream *to) {
  *to << shown.width << 'x' << shown.height;
}

constexpr panel panels[] = {{640, 480}, {320, 240}};

class DashcamScreen : public testing::TestWithParam<std::tuple<std::string, panel>> {
protected:
  const std::string &name() const { return std::get<0>(GetParam()); }
  panel size() const { return std::get<1>(GetParam()); }
};

TEST_P(DashcamScreen, CoversTheVisibleScreenAndNothingElse) {
  const screen shown = roomy(size().width, size().height);
  const shot seen = screen_of(name(), shown);
  const uint32_t pitch = shown.line_length / 2;
  for (uint32_t y = 0; y < shown.yres_virtual; ++y)
    for (uint32_t x = 0; x < pitch; ++x) {
      const bool is_visible = x < shown.xres && y < shown.yres;
      ASSERT_EQ(seen.at(x, y) != untouched, is_visible) << "at " << x << ", " << y;
    }
}

TEST_P(DashcamScreen, HasTheStatusBarOrTheThemeOnTop) {
  const screen shown = roomy(size().width, size().height);
  const bool is_small = size().width == 320;
  const uint32_t bar = is_small ? 28 : 44;
  const shot seen = screen_of(name(), shown);
  if (name() == "splash") {
    EXPECT_THAT(seen.colours(0, 0, shown.xres, 4), ElementsAre(DRAVIK_DEFAULT_THEME));
  } else if (name() == "shutdown") {
    EXPECT_THAT(seen.colours(0, 0, shown.xres, bar), ElementsAre(DRAVIK_BLACK));
  } else {
    EXPECT_THAT(seen.colours(0, 0, shown.xres, 3), ElementsAre(DRAVIK_BLACK));
    EXPECT_THAT(seen.colours(0, bar - 2, shown.xres, 2), ElementsAre(DRAVIK_DEFAULT_THEME));
    EXPECT_THAT(seen.colours(shown.xres / 2 - 42, 8, 84, 12), SizeIs(Gt(8))) << "the clock";
    EXPECT_THAT(seen.colours(4, 2, is_small ? 24 : 40, bar - 6), Contains(alarm)) << "the recording mark";
  }
}

INSTANTIATE_TEST_SUITE_P(All, DashcamScreen,
                         testing::Combine(testing::ValuesIn(names), testing::ValuesIn(panels)),
                         [](const auto &one) {
                           const panel &size = std::get<1>(one.param);
                           return std::get<0>(one.param) + "On" + std::to_string(size.width) + "x" +
                                  std::to_string(size.height);
                         });

// ----------------------------------------------------------------------------------------- single screens

/// One figure of the clock, from 0: eight of them, the colons half as wide as the digits.
std::vector<uint16_t> clock_figure(const shot &seen, uint32_t number) {
  constexpr uint32_t places[] = {0, 16, 32, 40, 56, 72, 80, 96};
  return seen.area(264 + places[number], 9, number % 3 == 2 ? 8 : 16, 24);
}

TEST(DashcamClock, ShowsTheTimeItWasGiven) {
  const screen shown = screen::of_size(640, 480);
  const shot seen = screen_of("menu", shown, "14:32:08");
  const shot other = screen_of("menu", shown, "23:41:50");
  const auto is_same = [&](uint32_t here, uint32_t there) {
    return clock_figure(seen, here) == clock_figure(other, there);
  };
  EXPECT_TRUE(is_same(0, 4)) << "1";
  EXPECT_TRUE(is_same(1, 3)) << "4";
  EXPECT_TRUE(is_same(2, 5)) << "a colon";
  EXPECT_TRUE(is_same(3, 1)) << "3";
  EXPECT_TRUE(is_same(4, 0)) << "2";
  EXPECT_TRUE(is_same(6, 7)) << "0";
  for (const uint32_t there : {0, 1, 3, 4, 6, 7})
    EXPECT_FALSE(is_same(7, there)) << "8 is not in 23:41:50";
}

TEST(DashcamHome, ShowsTheRoadAndTheSpeedLimit) {
  const shot seen = screen_of("home", screen::of_size(640, 480));
  EXPECT_THAT(seen.colours(0, 44, 640, 340), SizeIs(Gt(500)));
  EXPECT_EQ(seen.at(250 - 28, 433), alarm) << "the ring of the limit";
  EXPECT_EQ(seen.at(2, 478), DRAVIK_BLACK);
}

/// Guides are on the markings of the scene: those of its drawing, 44 lines below the top of the panel.
TEST(DashcamHome, HasTheGuidesOnTheMarkingsOfTheLane) {
  const shot seen = screen_of("home", screen::of_size(640, 480));
  for (uint32_t y = 244; y < 292; y += 8) {
    const double down = y - 152.0;
    const auto left = static_cast<uint32_t>(343.0 - 0.914 * down),
               right = static_cast<uint32_t>(333.9 + 1.495 * down);
    EXPECT_EQ(seen.at(left, 44 + y), good) << "middle line at " << y;
    EXPECT_EQ(seen.at(right, 44 + y), good) << "edge line at " << y;
  }
}

TEST(DashcamMenu, MarksTheSelectedTile) {
  enum { TILES = 8 };
  const recording_board on;
  std::string keys;
  for (uint32_t selected = 0; selected < TILES; ++selected) {
    std::vector<std::string> words = {"--screen", "menu"};
    if (!keys.empty())
      words.insert(words.end(), {"--press", keys});
    const shot seen = shot_of(on, words);
    for (uint32_t tile = 0; tile < TILES; ++tile)
      EXPECT_EQ(seen.at(30 + tile % 4 * 153, 110 + tile / 4 * 191),
                tile == selected ? DRAVIK_DEFAULT_THEME : surface)
          << tile;
    keys += keys.empty() ? "next" : ",next";
  }
}

/// The labels of the two rows of tiles.
std::vector<uint16_t> menu_labels(const shot &seen) {
  std::vector<uint16_t> labels = seen.area(26, 228, 590, 30);
  const std::vector<uint16_t> below = seen.area(26, 419, 590, 30);
  labels.insert(labels.end(), below.begin(), below.end());
  return labels;
}

TEST(DashcamMenu, ShowsEveryLanguage) {
  std::set<std::vector<uint16_t>> drawn;
  for (const std::string language : {"en", "de", "el", "ru", "ja", "ko", "zh"}) {
    const shot seen = screen_of("menu", screen::of_size(640, 480), "14:32:08", language);
    EXPECT_TRUE(drawn.insert(menu_labels(seen)).second) << language << " looks like another language";
    EXPECT_THAT(seen.colours(62, 50, 120, 40), SizeIs(Gt(8))) << "the title in " << language;
    for (uint32_t tile = 0; tile < 8; ++tile)
      EXPECT_THAT(seen.colours(24 + tile % 4 * 153, tile < 4 ? 228 : 419, 130, 30), SizeIs(Gt(8)))
          << "label " << tile << " in " << language;
  }
}

/// The row of a list of seven.
constexpr uint32_t row_y(uint32_t row) {
  return 100 + row * 53;
}

TEST(DashcamLanguages, MarksTheChosenOne) {
  const shot english = screen_of("languages", screen::of_size(640, 480), "14:32:08", "en");
  EXPECT_EQ(english.at(26, row_y(0)), DRAVIK_DEFAULT_THEME);
  EXPECT_EQ(english.at(26, row_y(1)), surface);
  const shot german = screen_of("languages", screen::of_size(640, 480), "14:32:08", "de");
  EXPECT_EQ(german.at(26, row_y(0)), surface);
  EXPECT_EQ(german.at(26, row_y(1)), DRAVIK_DEFAULT_THEME);
}

/// The time of day at a stop of the journey.
std::vector<uint16_t> time_at_stop(const std::string &time, uint32_t stop) {
  return screen_of("journey", screen::of_size(640, 480), time).area(550, row_y(stop), 50, 36);
}

TEST(DashcamJourney, ShowsTheTimeOfEachStop) {
  enum { ATHENS = 1, MOSCOW = 2, BEIJING = 3, TOKYO = 5 };
  const std::vector<uint16_t> two_in_athens = time_at_stop("13:00:00", ATHENS);
  EXPECT_TRUE(two_in_athens == time_at_stop("13:00:00", MOSCOW));
  EXPECT_TRUE(two_in_athens == time_at_stop("08:00:00", BEIJING)) << "six hours ahead";
  EXPECT_FALSE(two_in_athens == time_at_stop("13:00:00", BEIJING));
  EXPECT_TRUE(time_at_stop("00:00:00", ATHENS) == time_at_stop("18:00:00", TOKYO)) << "past midnight";
}

/// The large photograph, above its strip and without its name.
std::vector<uint16_t> photograph_after(const board &on, const std::string &keys) {
  std::vector<std::string> words = {"--screen", "gallery"};
  if (!keys.empty())
    words.insert(words.end(), {"--press", keys});
  return shot_of(on, words).area(72, 100, 496, 220);
}

TEST(DashcamGallery, ShowsTheNextPhotographByKey) {
  const recording_board on;
  std::set<std::vector<uint16_t>> photographs;
  for (const std::string keys : {"", "next", "next,next", "next,next,next"})
    photographs.insert(photograph_after(on, keys));
  EXPECT_THAT(photographs, SizeIs(4));
  for (const std::vector<uint16_t> &photograph : photographs)
    EXPECT_THAT(std::set<uint16_t>(photograph.begin(), photograph.end()), SizeIs(Gt(300)));
  EXPECT_TRUE(photograph_after(on, "next,next,next,next") == photograph_after(on, ""));
}

TEST(DashcamGallery, HasBaselineAndProgressiveFiles) {
  const prepared_board on{screen::of_size(640, 480)};
  const std::string baseline = "\xFF\xC0", progressive = "\xFF\xC2"; // the markers that begin a frame
  for (const std::string name : {"alps", "city"})
    EXPECT_THAT(on.read("usr/local/dravik/jpg/" + name + "_640.jpg"), HasSubstr(baseline)) << name;
  for (const std::string name : {"coast", "road"})
    EXPECT_THAT(on.read("usr/local/dravik/jpg/" + name + "_640.jpg"), HasSubstr(progressive)) << name;
}

TEST(DashcamTheme, ShowsItsColours) {
  const shot seen = screen_of("theme", screen::of_size(640, 480));
  std::set<uint16_t> colours;
  for (uint32_t swatch = 0; swatch < 8; ++swatch)
    colours.insert(seen.at(60 + swatch % 4 * 153, 184 + swatch / 4 * 191));
  EXPECT_THAT(colours, SizeIs(8));
  EXPECT_THAT(colours, Contains(DRAVIK_DEFAULT_THEME));
}

// ------------------------------------------------------------------------------------------ the program

class DashcamOtherPanel : public testing::TestWithParam<panel> {};

TEST_P(DashcamOtherPanel, IsRejectedInOneLine) {
  const screen shown = screen::of_size(GetParam().width, GetParam().height);
  const prepared_board on{shown};
  application dashcam{on, dashcam_path, {"--screen", "home"}};
  EXPECT_EQ(dashcam.finish(), 1);
  EXPECT_EQ(dashcam.errors(),
            "dashcam: unsupported panel; must be 640 x 480 or 320 x 240, with 16 bits per pixel\n");
  EXPECT_THAT((shot{on, shown}.colours(0, 0, shown.xres, shown.yres)), ElementsAre(untouched));
}

INSTANTIATE_TEST_SUITE_P(All, DashcamOtherPanel,
                         testing::Values(panel{800, 480}, panel{480, 272}, panel{240, 320}, panel{640, 360}),
                         [](const auto &one) {
                           return std::to_string(one.param.width) + "x" + std::to_string(one.param.height);
                         });

TEST(Dashcam, StaysInTheVisibleScreenWhileItRuns) {
  const screen shown = roomy(320, 240);
  const prepared_board on{shown};
  application dashcam{on, dashcam_path, {"--screen", "shutdown", "--stay"}};
  EXPECT_EQ(dashcam.finish(), 0);
  const shot seen{on, shown};
  EXPECT_THAT(seen.colours(0, shown.yres, shown.xres, shown.yres), ElementsAre(untouched));
}

class DashcamSignal : public testing::TestWithParam<int> {};

TEST_P(DashcamSignal, EndsItCleanly) {
  const prepared_board on{screen::of_size(320, 240)};
  application dashcam{on, dashcam_path};
  dashcam.await_error("digits_320.q7 : 36\n");
  dashcam.send(GetParam());
  EXPECT_EQ(dashcam.finish(), 0);
  expect_only_progress(dashcam.errors());
  EXPECT_THAT(on.read("tmp/dravik.log"), HasSubstr("] dashcam finished\n"));
}

INSTANTIATE_TEST_SUITE_P(All, DashcamSignal, testing::Values(SIGINT, SIGTERM),
                         [](const auto &one) { return one.param == SIGINT ? "SIGINT" : "SIGTERM"; });

TEST(Dashcam, ListsItsScreens) {
  const board on;
  application dashcam{on, dashcam_path, {"--list"}};
  EXPECT_EQ(dashcam.finish(), 0);
  EXPECT_EQ(dashcam.errors(), "");
  size_t after = 0;
  for (const std::string &name : names) {
    EXPECT_EQ(dashcam.output().compare(after, name.size(), name), 0) << name;
    after = dashcam.output().find('\n', after) + 1;
  }
  EXPECT_EQ(after, dashcam.output().size());
}

class DashcamCommandLine : public testing::TestWithParam<std::vector<std::string>> {};

TEST_P(DashcamCommandLine, RejectsInvalidArguments) {
  const board on;
  application dashcam{on, dashcam_path, GetParam()};
  EXPECT_EQ(dashcam.finish(), 2);
  EXPECT_THAT(dashcam.errors(), StartsWith("dashcam: invalid option: " + GetParam().front()));
  EXPECT_THAT(on.events(), testing::IsEmpty());
}

using words = std::vector<std::string>;
INSTANTIATE_TEST_SUITE_P(
    Wrong, DashcamCommandLine,
    testing::Values(words{"--screen", "garage"}, words{"--screen"}, words{"--turns", "1"},
                    words{"--time", "24:00:00"}, words{"--time", "14:32"}, words{"--time", "14:32:08s"},
                    words{"--hold-time", "99"}, words{"--hold-time", "10001"}, words{"--hold-time", "1 s"},
                    words{"--hold-time"}, words{"--colour", "red"}, words{"--language", "tlh"},
                    words{"--language"}, words{"--press", "menu", "--screen", "card"}, words{"--press", ""},
                    words{"--press", "ok,"}, words{"--press", "okay"}));

class DashcamOneScreen : public testing::TestWithParam<std::vector<std::string>> {};

TEST_P(DashcamOneScreen, IsWantedToStayOnOrToPressKeysOn) {
  const board on;
  application dashcam{on, dashcam_path, GetParam()};
  EXPECT_EQ(dashcam.finish(), 2);
  EXPECT_EQ(dashcam.errors(), "dashcam: missing --screen; --press and --stay require it\n");
}

INSTANTIATE_TEST_SUITE_P(Wanted, DashcamOneScreen, testing::Values(words{"--stay"}, words{"--press", "ok"}));

TEST(Dashcam, DoesNotKeepTheLanguageOfItsCommandLine) {
  const recording_board on;
  shot_of(on, {"--screen", "settings", "--language", "de", "--press", "ok"});
  EXPECT_THAT(on.read("usr/local/dravik/dashcam.conf"), HasSubstr("language=0\n"));
}

TEST(Dashcam, ReportsWhenItsFilesAreMissing) {
  const board on;
  application dashcam{on, dashcam_path, {"--screen", "home"}};
  EXPECT_EQ(dashcam.finish(), 1);
  EXPECT_THAT(dashcam.errors(),
              HasSubstr("dashcam: missing fonts, artwork or images in /usr/local/dravik\n"));
}

TEST(Dashcam, NoticesAMissingFontForAntiAliasedText) {
  const prepared_board on{screen::of_size(640, 480)};
  on.remove("usr/local/dravik/font/DroidSansFallback.ttf");
  application dashcam{on, dashcam_path, {"--screen", "home"}};
  EXPECT_EQ(dashcam.finish(), 1);
}

TEST(Dashcam, NoticesOneMissingImage) {
  const prepared_board on{screen::of_size(640, 480)};
  on.remove("usr/local/dravik/bmp/small_city_640.bmp");
  application dashcam{on, dashcam_path, {"--screen", "home"}};
  EXPECT_EQ(dashcam.finish(), 1);
}

} // namespace
} // namespace dravik::test
