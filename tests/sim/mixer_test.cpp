// The level that the mixer's controls give to the speaker.

#include "board/mixer.hpp"

#include <gtest/gtest.h>

namespace {

using dravik::sim::speaker_gain;

TEST(SimMixer, PlaysSamplesAsTheyAreUnlessToldOtherwise) {
  EXPECT_EQ(speaker_gain(""), 1.0);
  EXPECT_EQ(speaker_gain("numid 1 = 113\nnumid 5 = 108\nnumid 77 = on\nnumid 64 = on\n"), 1.0);
  EXPECT_EQ(speaker_gain("numid 64 = off\n"), 1.0); // the microphone
}

TEST(SimMixer, HasStepsOfADecibel) {
  EXPECT_NEAR(speaker_gain("numid 1 = 112"), 0.891251, 1e-6);
  EXPECT_NEAR(speaker_gain("numid 1 = 107"), 0.501187, 1e-6);
  EXPECT_NEAR(speaker_gain("numid 1 = 93"), 0.1, 1e-9);
  EXPECT_NEAR(speaker_gain("numid 1 = 1"), 2.511886e-6, 1e-11);
  EXPECT_NEAR(speaker_gain("numid 1 = 119"), 1.995262, 1e-6);
  EXPECT_NEAR(speaker_gain("numid 1 = 127"), 5.011872, 1e-6);
  EXPECT_EQ(speaker_gain("numid 1 = 4000000000"), speaker_gain("numid 1 = 127"));
}

TEST(SimMixer, IsMutedByEachOfThreeControls) {
  EXPECT_EQ(speaker_gain("numid 1 = 0"), 0.0);
  EXPECT_EQ(speaker_gain("numid 5 = 0\nnumid 1 = 113"), 0.0);
  EXPECT_EQ(speaker_gain("numid 77 = off"), 0.0);
  EXPECT_EQ(speaker_gain("numid 1 = 0\nnumid 1 = 113\n"), 1.0);
}

} // namespace
