// "play", "volume" and "mic", up to where the sound card comes in.

#include "ctl_fixture.hpp"

namespace dravik::ctl_test {
namespace {

using CtlPlay = CtlTool;

TEST_F(CtlPlay, SaysWhenThereIsNoFile) {
  expect_refusal({"play", "/usr/local/dravik/none.wav"}, 1,
                 "/usr/local/dravik/none.wav: No such file or directory");
}

TEST_F(CtlPlay, RefusesAPathThatTheLibraryDoesNotTake) {
  const std::string path(256, 'x');
  expect_refusal({"play", path}, 1, path + ": longer than the 255 characters that the library takes");
}

using CtlMixer = CtlTool;

TEST_F(CtlMixer, RefusesWhatIsNoVolume) {
  for (const std::string word : {"50", "120", "loud", "", "+20"})
    expect_misuse({"volume", word}, "volume: '" + word + "' is none of mute, 0, 20, 40, 60, 80, 100");
}

TEST_F(CtlMixer, RefusesWhatIsNoSwitch) {
  expect_misuse({"mic", "mute"}, "mic: 'mute' is neither on nor off");
  expect_misuse({"mic"}, "mic: too few arguments");
}

} // namespace
} // namespace dravik::ctl_test
