// The way through the demonstration: every page is reached from the menu, and left again.

#include "examples/demonstration.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

/// The pages that were opened by these keys, in turn.
std::vector<std::string> way(const std::string &from, const std::string &keys) {
  const recording_board on;
  on.write("tmp/mmcblk0p1/REC/KVX00001.TS", "r");
  shot_of(on, {"--screen", from, "--press", keys});
  const std::string log = on.read("tmp/dravik.log"), mark = "] screen ";
  std::vector<std::string> names;
  for (size_t at = log.find(mark); at != std::string::npos; at = log.find(mark, at + 1))
    names.push_back(log.substr(at + mark.size(), log.find('\n', at) - at - mark.size()));
  return names;
}

struct path {
  const char *name, *keys;
  std::vector<std::string> expected;
};
void PrintTo(const path &one, std::ostream *to) {
  *to << one.name;
}

class DashcamNavigation : public testing::TestWithParam<path> {};

TEST_P(DashcamNavigation, ReachesThePageAndLeavesIt) {
  EXPECT_THAT(way("home", GetParam().keys), ElementsAreArray(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(
    All, DashcamNavigation,
    testing::Values(
        path{"menu", "ok,back", {"home", "menu", "home"}},
        path{"playback", "ok,ok,back", {"home", "menu", "playback", "menu"}},
        path{"player", "ok,ok,ok,back,back", {"home", "menu", "playback", "player", "playback", "menu"}},
        path{"gallery", "ok,next,ok,back", {"home", "menu", "gallery", "menu"}},
        path{"journey", "ok,next,next,ok,back", {"home", "menu", "journey", "menu"}},
        path{"sensor", "ok,next,next,next,ok,back", {"home", "menu", "sensor", "menu"}},
        path{"card", "ok,next,next,next,next,ok,back", {"home", "menu", "card", "menu"}},
        path{"system", "ok,next,next,next,next,next,next,ok,back", {"home", "menu", "system", "menu"}},
        path{"sound",
             "ok,next,next,next,next,next,ok,next,ok,back,back",
             {"home", "menu", "settings", "sound", "settings", "menu"}},
        path{"theme",
             "ok,next,next,next,next,next,ok,next,next,next,ok,back",
             {"home", "menu", "settings", "theme", "settings"}},
        path{"languages",
             "ok,next,next,next,next,next,ok,next,next,next,next,ok,back",
             {"home", "menu", "settings", "languages", "settings"}},
        path{"clock",
             "ok,next,next,next,next,next,ok,next,next,next,next,next,ok,back",
             {"home", "menu", "settings", "clock", "settings"}},
        path{"shutdown", "ok,next,next,next,next,next,next,next,ok,next,ok", {"home", "menu", "shutdown"}}),
    [](const auto &one) { return std::string{one.param.name}; });

TEST(DashcamNavigation, StaysAtHomeAndAtTheEnd) {
  EXPECT_THAT(way("home", "back,back"), ElementsAre("home"));
  EXPECT_THAT(way("shutdown", "back,ok,next"), ElementsAre("shutdown"));
}

TEST(DashcamNavigation, LeavesTheSplashByAnyKey) {
  EXPECT_THAT(way("splash", "next"), ElementsAre("splash", "home"));
  EXPECT_THAT(way("splash", "ok"), ElementsAre("splash", "home"));
}

TEST(DashcamNavigation, ReturnsToTheSelectedItem) {
  const recording_board on;
  const shot before = shot_of(on, {"--screen", "menu", "--press", "next,next"});
  const shot after = shot_of(on, {"--screen", "menu", "--press", "next,next,ok,back"});
  EXPECT_EQ(after.area(0, 44, 640, 436), before.area(0, 44, 640, 436));
}

TEST(DashcamNavigation, StaysOnWithoutYes) {
  EXPECT_THAT(way("menu", "next,next,next,next,next,next,next,ok,ok"), ElementsAre("menu"));
  EXPECT_THAT(way("menu", "next,next,next,next,next,next,next,ok,next,back"), ElementsAre("menu"));
}

} // namespace
} // namespace dravik::test
