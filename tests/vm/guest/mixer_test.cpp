// The numbered controls of a codec, through amixer.

#include "dravik.h"
#include "guest.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace dravik::vm;
using ::testing::UnorderedElementsAre;

class Mixer : public ::testing::Test {
protected:
  Mixer() {
    write_text("/etc/asound.conf", "ctl.!default { type hw card codec }\n");
    clear_events();
  }

  /// Commands in the background may finish in any order.
  void expect_events(const std::vector<std::string> &expected) {
    EXPECT_TRUE(wait_until([&] { return events().size() >= expected.size(); }));
    EXPECT_THAT(events(), ::testing::UnorderedElementsAreArray(expected));
  }
};

TEST_F(Mixer, SetsSpeakerVolume) {
  EXPECT_EQ(spk_volume_setup(DRAVIK_VOLUME_FULL), 0);
  expect_events({"mixer: 77 = 1", "mixer: 5 = 108", "mixer: 1 = 113"});
}

TEST_F(Mixer, MutesSpeaker) {
  EXPECT_EQ(spk_volume_mute(), 0);
  expect_events({"mixer: 1 = 0", "mixer: 5 = 0"});
}

TEST_F(Mixer, SwitchesMicrophone) {
  EXPECT_EQ(mic_volume_unmute(), 0);
  EXPECT_EQ(mic_volume_mute(), 0);
  expect_events({"mixer: 64 = 1", "mixer: 64 = 0"});
}

TEST_F(Mixer, ToolSetsVolume) {
  EXPECT_EQ(output_of("dravik-ctl volume 20"), "percent: 20\n");
  expect_events({"mixer: 77 = 1", "mixer: 5 = 108", "mixer: 1 = 85"});
}

TEST_F(Mixer, FailsWithoutControls) {
  write_text("/etc/asound.conf", "ctl.!default { type hw card absent }\n");
  EXPECT_NE(mic_volume_mute(), 0);
}

} // namespace
