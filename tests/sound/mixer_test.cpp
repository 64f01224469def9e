// The commands that set the codec's controls, and what the calls give.

#include "dravik.h"
#include "support/recorded_system.hpp"

#include <gmock/gmock.h>
#include <map>

namespace dravik::test {
namespace {

using testing::ElementsAre;

class Mixer : public testing::Test {
protected:
  Mixer() {
    require_recorder();
    command_result = [](const std::string &) { return 256 * static_cast<int>(recorded_commands.size()); };
  }
};

TEST_F(Mixer, SwitchesMicrophoneInForeground) {
  EXPECT_EQ(mic_volume_unmute(), 256);
  EXPECT_EQ(mic_volume_mute(), 512);
  EXPECT_THAT(recorded_commands, ElementsAre("amixer cset numid=64 on", "amixer cset numid=64 off"));
}

TEST_F(Mixer, ReturnsSecondResultOfMuting) {
  EXPECT_EQ(spk_volume_mute(), 512);
  EXPECT_THAT(recorded_commands, ElementsAre("amixer cset numid=1 0 &", "amixer cset numid=5 0 &"));
}

TEST_F(Mixer, MutesSpeakerForVolumeZero) {
  EXPECT_EQ(spk_volume_setup(0), 512);
  EXPECT_THAT(recorded_commands, ElementsAre("amixer cset numid=1 0 &", "amixer cset numid=5 0 &"));
}

TEST_F(Mixer, ReturnsResultOfLastOfThreeVolumeCommands) {
  EXPECT_EQ(spk_volume_setup(100), 768);
  EXPECT_THAT(recorded_commands,
              ElementsAre("amixer cset numid=77 on", "amixer cset numid=5 108", "amixer cset numid=1 113 &"));
}

TEST_F(Mixer, TreatsOtherVolumesAsSixty) {
  const std::map<uint32_t, std::string> steps = {
      {20, "85"}, {40, "93"}, {60, "100"}, {80, "107"}, {100, "113"}};
  std::vector<uint32_t> percents = {255, 256, 256 + 20, 0x80000000, 0xFFFFFFFF};
  for (uint32_t percent = 1; percent <= 120; ++percent)
    percents.push_back(percent);
  for (const uint32_t percent : percents) {
    recorded_commands.clear();
    EXPECT_EQ(spk_volume_setup(percent), 768);
    const auto step = steps.find(percent);
    const std::string raw = step == steps.end() ? "100" : step->second;
    ASSERT_THAT(recorded_commands, ElementsAre("amixer cset numid=77 on", "amixer cset numid=5 108",
                                               "amixer cset numid=1 " + raw + " &"))
        << percent;
  }
}

TEST_F(Mixer, RunsNextCommandAfterFailure) {
  command_result = [](const std::string &) { return -1; };
  EXPECT_EQ(spk_volume_setup(20), -1);
  EXPECT_EQ(recorded_commands.size(), 3U);
  EXPECT_EQ(spk_volume_mute(), -1);
  EXPECT_EQ(recorded_commands.size(), 5U);
  EXPECT_EQ(mic_volume_mute(), -1);
}

} // namespace
} // namespace dravik::test
