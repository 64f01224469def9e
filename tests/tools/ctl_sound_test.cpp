// "play", "volume" and "mic", up to where the sound card comes in.

#include "ctl_fixture.hpp"
#include "support/played_sound.hpp"

namespace dravik::ctl_test {
namespace {

class CtlPlay : public CtlTool {
protected:
  static constexpr uint32_t samples = 9600;

  void SetUp() override {
    board_.set("sound_clock", "none");
    board_.set("sound_record", "samples");
    board_.set("realtime", "simulated");
  }

  /// A file of one level throughout; the header's 44 bytes are of no interest.
  std::string put_wave() const {
    std::string content(44, 'h');
    for (uint32_t i = 0; i < samples; ++i)
      content += "\x34\x12";
    return put("beep.wav", content);
  }
};

TEST_F(CtlPlay, PlaysAFileToItsEnd) {
  const std::string path = put_wave();
  EXPECT_EQ(asked({"play", path}, ".file, (.milliseconds | type)"), path + "\nnumber");
  const std::vector<int16_t> played = test::samples_of_recording(board_.read("sound/played.wav"));
  EXPECT_EQ(std::ranges::count(played, 0x1234), 2 * samples) << "each on both sides";
}

TEST_F(CtlPlay, SaysWhenThereIsNoCard) {
  board_.set_fault("open", "sound", "ENODEV");
  expect_refusal({"play", put_wave()}, 1, "the sound device cannot be used (open PCM device failed error!)");
  EXPECT_FALSE(board_.exists("sound/played.wav"));
}

TEST_F(CtlPlay, SaysWhenThePriorityIsRefused) {
  board_.set("realtime", "refused");
  expect_refusal({"play", put_wave()}, 1,
                 "the sound engine does not get a thread of real-time priority 90; try as root");
}

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
