// The scenarios of the demonstration, played as users play them.

#include "examples/demonstration.hpp"
#include "sim/launcher.hpp"
#include "support/paths.hpp"

#include <gtest/gtest.h>

namespace dravik::test {
namespace {

void expect_scenario_holds(const board &on, const std::string &name) {
  const std::string scenario = std::string{EXAMPLES_SOURCE} + "/dashcam/scenarios/" + name + ".scenario";
  // On a busy machine a short press takes as long as a held one would: OK is held for longer.
  const outcome result = launch_with_application(
      {"play", on.path(), scenario, "--", dashcam_path, "--time", "14:32:08", "--hold-time", "4000"});
  EXPECT_EQ(result.exit_status(), 0) << result.errors;
}

TEST(DashcamHoldTime, IsThatOfTheCommandLine) {
  const recording_board on;
  const std::string scenario = on.path() + "/hold.scenario";
  on.write("hold.scenario", R"(timeout 20s
keys console "key pressed" "key released"
wait console "screen splash"
press next
wait console "screen home"
press ok 1s             # by default, OK is held after 700 ms
wait console "key ok"
expect never console "key back"
)");
  const outcome result =
      launch_with_application({"play", on.path(), scenario, "--", dashcam_path, "--hold-time", "10000"});
  EXPECT_EQ(result.exit_status(), 0) << result.errors;
}

class DashcamScenario : public testing::TestWithParam<const char *> {};

TEST_P(DashcamScenario, Holds) {
  const recording_board on;
  expect_scenario_holds(on, GetParam());
}

/// The application itself unmounts a card that is removed, and mounts one that is inserted.
TEST(DashcamScenarioWithoutScript, OfTheCardHolds) {
  const recording_board on;
  on.set("card_mounts", "kernel");
  expect_scenario_holds(on, "card");
}

INSTANTIATE_TEST_SUITE_P(All, DashcamScenario,
                         testing::Values("menu", "settings", "settings_file", "languages", "playback",
                                         "events", "card", "card_faults", "card_format", "card_full",
                                         "parking", "impact", "heat", "monitor", "preview", "tour"),
                         [](const auto &one) { return std::string{one.param}; });

} // namespace
} // namespace dravik::test
