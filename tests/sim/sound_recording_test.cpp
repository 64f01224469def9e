// The recording of the simulated sound card, and its volume.

#include "sim/sound_stream.hpp"

#include <cmath>
#include <gmock/gmock.h>
#include <sys/wait.h>

namespace {

using namespace dravik::test;
using testing::Contains;
using testing::ElementsAre;

using SimSoundRecording = SimSoundCard;

TEST_F(SimSoundRecording, RecordsWhatIsPlayed) {
  const samples sound = noise(2 * 3000);
  sound_stream{{}}.expect_played(sound);
  EXPECT_EQ(played(), sound);
  EXPECT_THAT(board_.events(), ElementsAre("sound: open 48000 Hz 2 channels, period 1024, buffer 8192",
                                           "sound: 3000 frames played"));
}

TEST_F(SimSoundRecording, PlaysOneChannelOnBothSides) {
  const samples sound = noise(1000);
  sound_stream{{.channels = 1}}.expect_played(sound);
  samples expected;
  for (const int16_t sample : sound)
    expected.insert(expected.end(), 2, sample);
  EXPECT_EQ(played(), expected);
  EXPECT_THAT(board_.events(), Contains("sound: open 48000 Hz 1 channel, period 1024, buffer 8192"));
}

TEST_F(SimSoundRecording, StoresFramesOfLowerRate) {
  sound_stream{{.rate_hz = 16000}}.expect_played({1, -1, 2, -2});
  EXPECT_THAT(played(), ElementsAre(1, -1, 1, -1, 1, -1, 2, -2, 2, -2, 2, -2));
}

TEST_F(SimSoundRecording, KeepsTheLengthOfASoundOfAnOddRate) {
  sound_stream{{.rate_hz = 44100}}.expect_played(noise(2 * 4410));
  EXPECT_EQ(played().size(), 2U * 4800);
}

TEST_F(SimSoundRecording, AppendsToRecording) {
  const samples first = noise(2 * 700);
  const samples second = noise(2 * 900);
  sound_stream{{}}.expect_played(first);
  EXPECT_EQ(played(), first);
  sound_stream{{}}.expect_played(second);
  EXPECT_EQ(played(), joined(first, second));
}

TEST_F(SimSoundRecording, StartsNewRecordingIfOldOneIsRemoved) {
  sound_stream{{}}.expect_played(noise(2 * 500));
  board_.remove("sound");
  const samples sound = noise(2 * 500);
  sound_stream{{}}.expect_played(sound);
  EXPECT_EQ(played(), sound);
}

TEST_F(SimSoundRecording, LeavesAWholeRecordingWhenTheApplicationIsKilled) {
  const samples sound = noise(2 * 4000);
  const pid_t child = ::fork();
  if (child == 0) {
    sound_stream stream{{.period = 256, .buffer = 1024, .start_threshold = 1}};
    stream.expect_written(sound);
    ::_exit(0);
  }
  ::waitpid(child, nullptr, 0);
  const samples heard = played(); // the buffer's content is lost
  EXPECT_GE(heard.size(), 2U * (4000 - 1024));
  EXPECT_TRUE(std::equal(heard.begin(), heard.end(), sound.begin()));
}

TEST_F(SimSoundRecording, DropsWhatIsNotHeardWhenItIsClosed) {
  const samples sound = noise(32768); // four seconds
  sound_stream stream{
      {.rate_hz = 8000, .channels = 1, .period = 8192, .buffer = 32768, .start_threshold = 1}};
  EXPECT_EQ(stream.write(sound), 32768);
  stream.close();
  const size_t heard = played().size() / 2 / 6;
  EXPECT_LT(heard, sound.size());
  const auto frames = [](size_t count, const char *what) {
    return "sound: " + std::to_string(count) + " frames " + what;
  };
  EXPECT_THAT(board_.events(),
              ElementsAre(testing::_, frames(heard, "played"), frames(sound.size() - heard, "dropped")));
}

TEST_F(SimSoundRecording, PlaysNothingBeforeItIsStarted) {
  sound_stream stream{{}};
  EXPECT_EQ(stream.write(noise(2 * 1023)), 1023);
  EXPECT_EQ(snd_pcm_state(stream), SND_PCM_STATE_PREPARED);
  stream.close();
  EXPECT_THAT(played(), ElementsAre());
  EXPECT_THAT(board_.events(),
              ElementsAre(testing::_, "sound: 0 frames played", "sound: 1023 frames dropped"));
}

TEST_F(SimSoundRecording, RecordsEverySampleThatIsWrittenWhenAsked) {
  board_.set("sound_record", "samples");
  board_.write("sound/mixer", "numid 1 = 0\n");
  const samples sound = noise(2 * 900);
  sound_stream stream{{}};
  EXPECT_EQ(stream.write(sound), 900);
  EXPECT_EQ(played(), sound);
  stream.close();
  EXPECT_EQ(played(), sound);
}

TEST_F(SimSoundRecording, RecordsTheSilenceBeforeASoundWhenAsked) {
  board_.set("sound_gaps", "on");
  const double begin = std::floor(seconds()) - 3;
  board_.write("sound/timeline", "begin_s=" + std::to_string(static_cast<long>(begin)) + "\nbegin_ns=0\n");
  const double before = seconds();
  const samples sound = noise(2 * 100);
  sound_stream{{}}.expect_played(sound);
  const double after = seconds();
  const samples heard = played();
  const auto silent = static_cast<double>(heard.size()) / 2 - 100;
  EXPECT_GE(silent, (before - begin) * frames_per_second - 1);
  EXPECT_LE(silent, (after - begin) * frames_per_second);
  EXPECT_TRUE(std::equal(sound.begin(), sound.end(), heard.end() - 200));
  EXPECT_TRUE(std::all_of(heard.begin(), heard.end() - 200, [](int16_t sample) { return sample == 0; }));
}

TEST_F(SimSoundRecording, StartsTimeOfRecordingAtFirstSound) {
  board_.set("sound_gaps", "on");
  const double before = seconds();
  const samples first = noise(2 * 100);
  const samples second = noise(2 * 100);
  sound_stream{{}}.expect_played(first);
  sound_stream{{}}.expect_played(second);
  const double after = seconds();
  const samples heard = played();
  EXPECT_TRUE(std::equal(first.begin(), first.end(), heard.begin()));
  EXPECT_TRUE(std::equal(second.begin(), second.end(), heard.end() - 200));
  EXPECT_GE(heard.size(), 2U * 200);
  EXPECT_LE(static_cast<double>(heard.size()) / 2, (after - before) * frames_per_second + 1);
}

TEST_F(SimSoundRecording, NotesWhenEachSoundStarts) {
  const double before = seconds();
  sound_stream{{}}.expect_played(noise(2 * 100));
  const double between = seconds();
  sound_stream{{.rate_hz = 24000}}.expect_played(noise(2 * 50));
  sound_stream{{}}.expect_played(noise(2 * 10));
  const double after = seconds();
  std::istringstream starts{board_.read("sound/starts")};
  const double limits[][2] = {{before, between}, {between, after}, {between, after}};
  const uint64_t frames[] = {0, 100, 200}; // each frame of the second sound is recorded twice
  for (size_t i = 0; i < std::size(frames); ++i) {
    uint64_t frame = 0;
    double time_ns = 0;
    EXPECT_TRUE(starts >> frame >> time_ns);
    EXPECT_EQ(frame, frames[i]);
    EXPECT_GE(time_ns / 1e9, limits[i][0]);
    EXPECT_LE(time_ns / 1e9, limits[i][1]);
  }
  EXPECT_FALSE(starts >> std::ws && starts.get() != EOF);
}

TEST_F(SimSoundRecording, NotesNoStartsOfSamplesThatWereNotPlayed) {
  board_.set("sound_record", "samples");
  sound_stream{{}}.expect_played(noise(2 * 100));
  EXPECT_FALSE(board_.exists("sound/starts"));
}

// --- the level ---

TEST_F(SimSoundRecording, PlaysAsLoudAsTheMixerSays) {
  board_.write("sound/mixer", "numid 77 = on\nnumid 5 = 108\nnumid 1 = 93\n"); // 20 dB less
  sound_stream{{}}.expect_played({10000, -10000, 14, -16});
  EXPECT_THAT(played(), ElementsAre(1000, -1000, 1, -2));
}

TEST_F(SimSoundRecording, PlaysSilenceWhileItIsMuted) {
  board_.write("sound/mixer", "numid 1 = 0\n");
  sound_stream{{}}.expect_played({10000, -10000});
  EXPECT_THAT(played(), ElementsAre(0, 0));
  EXPECT_THAT(board_.events(), Contains("sound: 1 frames played"));
}

TEST_F(SimSoundRecording, ClipsWhatIsTooLoud) {
  board_.write("sound/mixer", "numid 1 = 127\n"); // five times as loud
  sound_stream{{}}.expect_played({20000, -20000, 100, -100});
  EXPECT_THAT(played(), ElementsAre(32767, -32768, 501, -501));
}

} // namespace
