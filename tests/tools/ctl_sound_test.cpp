// "play", "volume" and "mic".

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
  const std::vector<int16_t> played = test::checked_samples(board_.read("sound/played.wav"));
  EXPECT_EQ(std::ranges::count(played, 0x1234), 2 * samples) << "each on both sides";
}

TEST_F(CtlPlay, ReportsWhenThereIsNoCard) {
  board_.set_fault("open", "sound", "ENODEV");
  expect_refusal({"play", put_wave()}, 1, "play: sound device failed (open PCM device failed error!)");
  EXPECT_FALSE(board_.exists("sound/played.wav"));
}

TEST_F(CtlPlay, ReportsWhenThePriorityIsRefused) {
  board_.set("realtime", "refused");
  expect_refusal({"play", put_wave()}, 1, "play: real-time priority 90 not permitted; try as root");
}

TEST_F(CtlPlay, ReportsWhenThereIsNoFile) {
  expect_refusal({"play", "/usr/local/dravik/none.wav"}, 1,
                 "/usr/local/dravik/none.wav: No such file or directory");
}

TEST_F(CtlPlay, RejectsAPathThatTheLibraryDoesNotTake) {
  const std::string path(256, 'x');
  expect_refusal({"play", path}, 1, path + ": path too long; must be at most 255 characters");
}

using CtlMixer = CtlTool;
using testing::ElementsAre;

TEST_F(CtlMixer, SetsTheSpeaker) {
  EXPECT_EQ(checked_output({"volume", "80"}), "percent: 80\n");
  EXPECT_THAT(board_.events(), ElementsAre("shell: amixer cset numid=77 on", "shell: amixer cset numid=5 108",
                                           "shell: amixer cset numid=1 107 &"));
  EXPECT_EQ(asked({"volume", "20"}, "."), R"({"percent":20})");
}

TEST_F(CtlMixer, MutesTheSpeaker) {
  for (const char *word : {"mute", "0"}) {
    board_.clear_events();
    EXPECT_EQ(checked_output({"volume", word}), "percent: 0\n");
    EXPECT_THAT(board_.events(),
                ElementsAre("shell: amixer cset numid=1 0 &", "shell: amixer cset numid=5 0 &"));
  }
}

TEST_F(CtlMixer, SwitchesTheMicrophone) {
  EXPECT_EQ(checked_output({"mic", "off"}), "microphone: off\n");
  EXPECT_EQ(asked({"mic", "on"}, "."), R"({"microphone":"on"})");
  EXPECT_THAT(board_.events(),
              ElementsAre("shell: amixer cset numid=64 off", "shell: amixer cset numid=64 on"));
}

TEST_F(CtlMixer, ReportsWhenTheMixerRefuses) {
  board_.set_fault("shell", "amixer");
  for (const words &given : {words{"mic", "on"}, words{"volume", "60"}}) {
    const run_result result = run(given);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, testing::StartsWith("dravik-ctl: mixer: setting failed"));
  }
}

TEST_F(CtlMixer, RejectsInvalidVolume) {
  for (const std::string word : {"50", "120", "loud", "", "+20"})
    expect_misuse({"volume", word},
                  "volume: invalid PERCENT '" + word + "'; must be mute, 0, 20, 40, 60, 80 or 100");
}

TEST_F(CtlMixer, RejectsInvalidSwitch) {
  expect_misuse({"mic", "mute"}, "mic: invalid switch 'mute'; must be on or off");
  expect_usage_error({"mic"}, "missing on|off");
}

} // namespace
} // namespace dravik::ctl_test
