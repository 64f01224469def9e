// The simulated sound card, as ALSA presents it to an application.

#include "sim/sound_stream.hpp"
#include "support/board.hpp"
#include "support/descriptors.hpp"
#include "support/played_sound.hpp"
#include "support/stderr_capture.hpp"

#include <cerrno>
#include <cmath>
#include <ctime>
#include <gmock/gmock.h>
#include <random>
#include <sys/wait.h>
#include <thread>

namespace {

using namespace dravik::test;
using testing::Contains;
using testing::ElementsAre;

constexpr double frames_per_second = 48000;

double seconds(clockid_t clock = CLOCK_MONOTONIC) {
  timespec now;
  ::clock_gettime(clock, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

samples noise(size_t count) {
  static std::mt19937 generator{1};
  samples made(count);
  for (int16_t &sample : made)
    sample = static_cast<int16_t>(generator());
  return made;
}

samples joined(samples first, const samples &second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

/// ALSA says on standard error what it does not find; here it finds all.
class SimSoundCard : public testing::Test {
protected:
  ~SimSoundCard() override { EXPECT_EQ(said_.take(), ""); }
  samples played() const { return played_samples(board_); }

  const board board_;

private:
  stderr_capture said_;
};

// --- parameters ---

TEST_F(SimSoundCard, GivesTheSizesThatAreAskedFor) {
  sound_stream stream{{.period = 1024, .buffer = 4096}};
  snd_pcm_uframes_t period = 0;
  snd_pcm_uframes_t buffer = 0;
  EXPECT_EQ(snd_pcm_get_params(stream, &buffer, &period), 0);
  EXPECT_EQ(period, 1024U);
  EXPECT_EQ(buffer, 4096U);
  EXPECT_THAT(board_.events(), ElementsAre("sound: open 48000 Hz 2 channels, period 1024, buffer 4096"));
}

struct times {
  unsigned channels;
  unsigned period_us;
  unsigned buffer_us;
  snd_pcm_uframes_t period;
  snd_pcm_uframes_t buffer;
};

void PrintTo(const times &tested, std::ostream *to) {
  *to << tested.channels << " channels, " << tested.period_us << " and " << tested.buffer_us << " us";
}

class SimSoundCardNear : public SimSoundCard, public testing::WithParamInterface<times> {};

TEST_P(SimSoundCardNear, SettlesOnWhatItCanDo) {
  sound_stream stream;
  ASSERT_EQ(stream.open(), 0);
  times asked = GetParam();
  snd_pcm_hw_params_t *hw;
  snd_pcm_hw_params_alloca(&hw);
  snd_pcm_hw_params_any(stream, hw);
  snd_pcm_hw_params_set_channels(stream, hw, asked.channels);
  snd_pcm_hw_params_set_rate(stream, hw, 48000, 0);
  EXPECT_EQ(snd_pcm_hw_params_set_period_time_near(stream, hw, &asked.period_us, nullptr), 0);
  EXPECT_EQ(snd_pcm_hw_params_set_buffer_time_near(stream, hw, &asked.buffer_us, nullptr), 0);
  ASSERT_EQ(snd_pcm_hw_params(stream, hw), 0);
  snd_pcm_uframes_t period = 0;
  snd_pcm_uframes_t buffer = 0;
  snd_pcm_hw_params_get_period_size(hw, &period, nullptr);
  snd_pcm_hw_params_get_buffer_size(hw, &buffer);
  EXPECT_EQ(period, GetParam().period);
  EXPECT_EQ(buffer, GetParam().buffer);
}

// 256 to 32768 bytes a period, and to 65536 bytes a buffer, of two periods at least. ALSA takes whole
// periods.
INSTANTIATE_TEST_SUITE_P(Times, SimSoundCardNear,
                         testing::Values(times{2, 10000, 40000, 480, 1920}, times{1, 10000, 40000, 480, 1920},
                                         times{2, 1, 4, 64, 128}, times{1, 1, 4, 128, 256},
                                         times{2, 4000000000, 4000000000, 8192, 16384},
                                         times{1, 4000000000, 4000000000, 16384, 32768},
                                         times{2, 125000, 500000, 6000, 12000}),
                         [](const auto &tested) {
                           return std::to_string(tested.param.period_us) + "usOn" +
                                  std::to_string(tested.param.channels);
                         });

TEST_F(SimSoundCard, HasTheFormatsOfACodec) {
  sound_stream stream;
  ASSERT_EQ(stream.open(), 0);
  snd_pcm_hw_params_t *hw;
  snd_pcm_hw_params_alloca(&hw);
  snd_pcm_hw_params_any(stream, hw);
  for (const unsigned rate : {8000U, 44100U, 48000U})
    EXPECT_EQ(snd_pcm_hw_params_test_rate(stream, hw, rate, 0), 0) << rate;
  for (const unsigned rate : {7999U, 48001U, 96000U})
    EXPECT_EQ(snd_pcm_hw_params_test_rate(stream, hw, rate, 0), -EINVAL) << rate;
  EXPECT_EQ(snd_pcm_hw_params_test_channels(stream, hw, 3), -EINVAL);
  EXPECT_EQ(snd_pcm_hw_params_test_format(stream, hw, SND_PCM_FORMAT_S32_LE), -EINVAL);
  EXPECT_EQ(snd_pcm_hw_params_test_access(stream, hw, SND_PCM_ACCESS_MMAP_INTERLEAVED), -EINVAL);
}

TEST_F(SimSoundCard, RefusesWhatAlsaCannotSettle) {
  sound_stream stream;
  ASSERT_EQ(stream.open(), 0);
  snd_pcm_hw_params_t *hw;
  snd_pcm_hw_params_alloca(&hw);
  snd_pcm_hw_params_any(stream, hw);
  unsigned period_us = 10000;
  EXPECT_EQ(snd_pcm_hw_params_set_period_time_near(stream, hw, &period_us, nullptr), 0);
  EXPECT_EQ(snd_pcm_hw_params(stream, hw), -EINVAL);
  EXPECT_THAT(board_.events(), ElementsAre());
}

TEST_F(SimSoundCard, HasNoMicrophone) {
  snd_pcm_t *capture = nullptr;
  EXPECT_EQ(snd_pcm_open(&capture, "default", SND_PCM_STREAM_CAPTURE, 0), -ENODEV);
}

TEST_F(SimSoundCard, IsNotThereWithoutABoard) {
  ::setenv("DRAVIK_BOARD", "/dev/null/no-board", 1);
  EXPECT_EQ(sound_stream{}.open(), -ENODEV);
  ::unsetenv("DRAVIK_BOARD");
  EXPECT_EQ(sound_stream{}.open(), -ENODEV);
}

TEST_F(SimSoundCard, BelongsToOneAtATime) {
  sound_stream first{{}};
  EXPECT_EQ(sound_stream{}.open(), -EBUSY);
  first.close();
  EXPECT_EQ(sound_stream{}.open(), 0);
}

TEST_F(SimSoundCard, LeavesNoDescriptorsOpen) {
  sound_stream{{}}.close();
  const size_t before = open_descriptors();
  sound_stream{{}}.close();
  board_.set_fault("open", "sound");
  EXPECT_EQ(sound_stream{}.open(), -EIO);
  EXPECT_EQ(open_descriptors(), before);
}

// --- the recording ---

TEST_F(SimSoundCard, RecordsWhatIsPlayed) {
  const samples sound = noise(2 * 3000);
  sound_stream{{}}.play_to_the_end(sound);
  EXPECT_EQ(played(), sound);
  EXPECT_THAT(board_.events(), ElementsAre("sound: open 48000 Hz 2 channels, period 1024, buffer 8192",
                                           "sound: 3000 frames played"));
}

TEST_F(SimSoundCard, PlaysOneChannelOnBothSides) {
  const samples sound = noise(1000);
  sound_stream{{.channels = 1}}.play_to_the_end(sound);
  samples expected;
  for (const int16_t sample : sound)
    expected.insert(expected.end(), 2, sample);
  EXPECT_EQ(played(), expected);
  EXPECT_THAT(board_.events(), Contains("sound: open 48000 Hz 1 channel, period 1024, buffer 8192"));
}

TEST_F(SimSoundCard, HoldsTheFramesOfALowerRate) {
  sound_stream{{.rate_hz = 16000}}.play_to_the_end({1, -1, 2, -2});
  EXPECT_THAT(played(), ElementsAre(1, -1, 1, -1, 1, -1, 2, -2, 2, -2, 2, -2));
}

TEST_F(SimSoundCard, KeepsTheLengthOfASoundOfAnOddRate) {
  sound_stream{{.rate_hz = 44100}}.play_to_the_end(noise(2 * 4410));
  EXPECT_EQ(played().size(), 2U * 4800);
}

TEST_F(SimSoundCard, GoesOnAtTheEndOfTheRecording) {
  const samples first = noise(2 * 700);
  const samples second = noise(2 * 900);
  sound_stream{{}}.play_to_the_end(first);
  EXPECT_EQ(played(), first);
  sound_stream{{}}.play_to_the_end(second);
  EXPECT_EQ(played(), joined(first, second));
}

TEST_F(SimSoundCard, BeginsANewRecordingWhereTheOldOneIsTakenAway) {
  sound_stream{{}}.play_to_the_end(noise(2 * 500));
  board_.remove("sound");
  const samples sound = noise(2 * 500);
  sound_stream{{}}.play_to_the_end(sound);
  EXPECT_EQ(played(), sound);
}

TEST_F(SimSoundCard, LeavesAWholeRecordingWhenTheApplicationIsKilled) {
  const samples sound = noise(2 * 4000);
  const pid_t child = ::fork();
  if (child == 0) {
    sound_stream stream{{.period = 256, .buffer = 1024, .start_threshold = 1}};
    stream.write_all(sound);
    ::_exit(0);
  }
  ::waitpid(child, nullptr, 0);
  const samples heard = played(); // the buffer's content is lost
  EXPECT_GE(heard.size(), 2U * (4000 - 1024));
  EXPECT_TRUE(std::equal(heard.begin(), heard.end(), sound.begin()));
}

TEST_F(SimSoundCard, DropsWhatIsNotHeardWhenItIsClosed) {
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

TEST_F(SimSoundCard, PlaysNothingBeforeItIsStarted) {
  sound_stream stream{{}};
  EXPECT_EQ(stream.write(noise(2 * 1023)), 1023);
  EXPECT_EQ(snd_pcm_state(stream), SND_PCM_STATE_PREPARED);
  stream.close();
  EXPECT_THAT(played(), ElementsAre());
  EXPECT_THAT(board_.events(),
              ElementsAre(testing::_, "sound: 0 frames played", "sound: 1023 frames dropped"));
}

TEST_F(SimSoundCard, RecordsEverySampleThatIsWrittenWhenAsked) {
  board_.set("sound_record", "samples");
  board_.write("sound/mixer", "numid 1 = 0\n");
  const samples sound = noise(2 * 900);
  sound_stream stream{{}};
  EXPECT_EQ(stream.write(sound), 900);
  EXPECT_EQ(played(), sound);
  stream.close();
  EXPECT_EQ(played(), sound);
}

TEST_F(SimSoundCard, RecordsTheSilenceBeforeASoundWhenAsked) {
  board_.set("sound_gaps", "on");
  const double begin = std::floor(seconds()) - 3;
  board_.write("sound/timeline", "begin_s=" + std::to_string(static_cast<long>(begin)) + "\nbegin_ns=0\n");
  const double before = seconds();
  const samples sound = noise(2 * 100);
  sound_stream{{}}.play_to_the_end(sound);
  const double after = seconds();
  const samples heard = played();
  const auto silent = static_cast<double>(heard.size()) / 2 - 100;
  EXPECT_GE(silent, (before - begin) * frames_per_second - 1);
  EXPECT_LE(silent, (after - begin) * frames_per_second);
  EXPECT_TRUE(std::equal(sound.begin(), sound.end(), heard.end() - 200));
  EXPECT_TRUE(std::all_of(heard.begin(), heard.end() - 200, [](int16_t sample) { return sample == 0; }));
}

TEST_F(SimSoundCard, BeginsTheTimeOfTheRecordingWithTheFirstSound) {
  board_.set("sound_gaps", "on");
  const double before = seconds();
  const samples first = noise(2 * 100);
  const samples second = noise(2 * 100);
  sound_stream{{}}.play_to_the_end(first);
  sound_stream{{}}.play_to_the_end(second);
  const double after = seconds();
  const samples heard = played();
  EXPECT_TRUE(std::equal(first.begin(), first.end(), heard.begin()));
  EXPECT_TRUE(std::equal(second.begin(), second.end(), heard.end() - 200));
  EXPECT_GE(heard.size(), 2U * 200);
  EXPECT_LE(static_cast<double>(heard.size()) / 2, (after - before) * frames_per_second + 1);
}

// --- the level ---

TEST_F(SimSoundCard, PlaysAsLoudAsTheMixerSays) {
  board_.write("sound/mixer", "numid 77 = on\nnumid 5 = 108\nnumid 1 = 93\n"); // 20 dB less
  sound_stream{{}}.play_to_the_end({10000, -10000, 14, -16});
  EXPECT_THAT(played(), ElementsAre(1000, -1000, 1, -2));
}

TEST_F(SimSoundCard, PlaysSilenceWhileItIsMuted) {
  board_.write("sound/mixer", "numid 1 = 0\n");
  sound_stream{{}}.play_to_the_end({10000, -10000});
  EXPECT_THAT(played(), ElementsAre(0, 0));
  EXPECT_THAT(board_.events(), Contains("sound: 1 frames played"));
}

TEST_F(SimSoundCard, ClipsWhatIsTooLoud) {
  board_.write("sound/mixer", "numid 1 = 127\n"); // five times as loud
  sound_stream{{}}.play_to_the_end({20000, -20000, 100, -100});
  EXPECT_THAT(played(), ElementsAre(32767, -32768, 501, -501));
}

// --- time ---

TEST_F(SimSoundCard, TakesNoMoreThanItHasRoomFor) {
  sound_stream stream{{.period = 512, .buffer = 2048, .start_threshold = 1}};
  const double before = seconds();
  stream.write_all(noise(2 * 8192));
  EXPECT_GE(seconds() - before, (8192 - 2048) / frames_per_second);
}

TEST_F(SimSoundCard, DrainsForAsLongAsTheSoundLasts) {
  sound_stream stream{{}};
  const double before = seconds();
  stream.play_to_the_end(noise(2 * 4000));
  EXPECT_GE(seconds() - before, 4000 / frames_per_second);
  EXPECT_EQ(snd_pcm_state(stream), SND_PCM_STATE_SETUP);
}

TEST_F(SimSoundCard, KeepsTheProcessorFree) {
  sound_stream stream{{.period = 256, .buffer = 1024, .start_threshold = 1}};
  const double before = seconds();
  const double busy_before = seconds(CLOCK_THREAD_CPUTIME_ID);
  stream.play_to_the_end(noise(2 * 9600));
  EXPECT_LT(seconds(CLOCK_THREAD_CPUTIME_ID) - busy_before, (seconds() - before) / 2);
}

TEST_F(SimSoundCard, TellsRoomAndDelayThatMakeUpTheBuffer) {
  sound_stream stream{
      {.rate_hz = 8000, .channels = 1, .period = 4096, .buffer = 32768, .start_threshold = 1}};
  EXPECT_EQ(stream.write(noise(16384)), 16384);
  EXPECT_EQ(snd_pcm_state(stream), SND_PCM_STATE_RUNNING);
  snd_pcm_sframes_t room = 0;
  snd_pcm_sframes_t delay = 0;
  EXPECT_EQ(snd_pcm_avail_delay(stream, &room, &delay), 0);
  EXPECT_EQ(room + delay, 32768);
  EXPECT_GE(room, 16384);
  EXPECT_GT(delay, 0);
}

TEST_F(SimSoundCard, WakesWhoeverWaitsForRoom) {
  sound_stream stream{{}};
  EXPECT_EQ(stream.write(noise(2 * 8192)), 8192); // full, and started by it
  EXPECT_EQ(snd_pcm_wait(stream, 10000), 1);
  EXPECT_THAT(snd_pcm_avail_update(stream), testing::AnyOf(testing::Ge(1024), -EPIPE));
}

TEST_F(SimSoundCard, PlaysForAThreadOfRealTimePriority) {
  board_.set("sound_record", "samples");
  const samples sound = noise(2 * 4000);
  std::thread player{[&sound] {
    const sched_param parameters = {90};
    EXPECT_EQ(::pthread_setschedparam(::pthread_self(), SCHED_FIFO, &parameters), 0);
    sound_stream{{}}.play_to_the_end(sound);
  }};
  player.join();
  EXPECT_EQ(played(), sound);
}

// --- underruns ---

void await_underrun(snd_pcm_t *stream) {
  while (snd_pcm_avail(stream) >= 0)
    std::this_thread::yield();
  EXPECT_EQ(snd_pcm_state(stream), SND_PCM_STATE_XRUN);
}

TEST_F(SimSoundCard, RunsOutOfFramesAndGoesOnWhenItIsPrepared) {
  const samples first = noise(2 * 300);
  const samples second = noise(2 * 300);
  sound_stream stream{{}};
  EXPECT_EQ(stream.write(first), 300);
  EXPECT_EQ(snd_pcm_start(stream), 0);
  await_underrun(stream);
  EXPECT_EQ(stream.write(second), -EPIPE);
  EXPECT_EQ(snd_pcm_wait(stream, 10000), -EPIPE);
  EXPECT_EQ(snd_pcm_prepare(stream), 0);
  stream.play_to_the_end(second);
  EXPECT_EQ(played(), joined(first, second));
  stream.close();
  EXPECT_THAT(board_.events(), ElementsAre(testing::_, "sound: underrun", "sound: 600 frames played"));
}

TEST_F(SimSoundCard, RunsOutOfFramesAsOrderedOnce) {
  board_.write("faults", "# orders\nopen /dev/fb0 EIO\n underrun sound\nwrite nothing EIO\n");
  const samples first = noise(2 * 8192);
  const samples second = noise(2 * 500);
  sound_stream stream{{}};
  EXPECT_EQ(stream.write(joined(first, second)), 8192); // short, in the middle of a write
  EXPECT_EQ(stream.write(second), -EPIPE);
  EXPECT_EQ(snd_pcm_state(stream), SND_PCM_STATE_XRUN);
  EXPECT_EQ(snd_pcm_prepare(stream), 0);
  stream.play_to_the_end(second);
  EXPECT_EQ(played(), joined(first, second));
  EXPECT_EQ(board_.read("faults"), "# orders\nopen /dev/fb0 EIO\n               \nwrite nothing EIO\n");
}

TEST_F(SimSoundCard, RunsOutOfFramesAsOftenAsOrdered) {
  board_.set_fault("underrun", "sound");
  board_.set_fault("underrun", "sound");
  sound_stream stream{{.rate_hz = 8000, .channels = 2, .start_threshold = 1}};
  for (const int expected : {-EPIPE, -EPIPE, 100}) {
    EXPECT_EQ(snd_pcm_prepare(stream), 0);
    EXPECT_EQ(stream.write(noise(2 * 8000)), 8000); // a second
    EXPECT_EQ(stream.write(noise(2 * 100)), expected);
  }
}

// --- what can be ordered to fail ---

TEST_F(SimSoundCard, FailsToOpenAsOrdered) {
  board_.set_fault("open", "sound", "ENODEV");
  EXPECT_EQ(sound_stream{}.open(), -ENODEV);
  EXPECT_THAT(board_.events(), ElementsAre("sound: open fails as ordered"));
  EXPECT_FALSE(board_.exists("sound/played.wav"));
}

TEST_F(SimSoundCard, FailsToTakeParametersAsOrdered) {
  board_.set_fault("params", "sound", "EINVAL");
  sound_stream stream;
  ASSERT_EQ(stream.open(), 0);
  EXPECT_EQ(stream.configure({}), -EINVAL);
}

TEST_F(SimSoundCard, FailsToPrepareAsOrdered) {
  sound_stream stream{{}};
  board_.set_fault("prepare", "sound", "EIO");
  EXPECT_EQ(snd_pcm_prepare(stream), -EIO);
  board_.clear_faults();
  EXPECT_EQ(snd_pcm_prepare(stream), 0);
}

TEST_F(SimSoundCard, FailsToWriteAsOrdered) {
  sound_stream stream{{}};
  board_.set_fault("write", "sound", "EINVAL");
  EXPECT_EQ(stream.write(noise(2 * 100)), -EINVAL);
  board_.clear_faults();
  EXPECT_EQ(stream.write(noise(2 * 100)), 100);
}

TEST_F(SimSoundCard, RefusesTheExactRateAsOrdered) {
  board_.set_fault("rate", "sound");
  sound_stream stream;
  ASSERT_EQ(stream.open(), 0);
  EXPECT_EQ(stream.configure({}), -EINVAL);
  EXPECT_EQ(stream.configure({.rate_hz = 44100}), 0);
}

TEST_F(SimSoundCard, SettlesOnOnePeriodAsOrdered) {
  board_.set_fault("equal-periods", "sound");
  sound_stream stream;
  ASSERT_EQ(stream.open(), 0);
  snd_pcm_hw_params_t *hw;
  snd_pcm_hw_params_alloca(&hw);
  snd_pcm_hw_params_any(stream, hw);
  snd_pcm_hw_params_set_channels(stream, hw, 2);
  snd_pcm_hw_params_set_rate(stream, hw, 48000, 0);
  unsigned period_us = 10000;
  unsigned buffer_us = 40000;
  EXPECT_EQ(snd_pcm_hw_params_set_period_time_near(stream, hw, &period_us, nullptr), 0);
  EXPECT_EQ(snd_pcm_hw_params_set_buffer_time_near(stream, hw, &buffer_us, nullptr), 0);
  ASSERT_EQ(snd_pcm_hw_params(stream, hw), 0);
  snd_pcm_uframes_t period = 0;
  snd_pcm_uframes_t buffer = 1;
  snd_pcm_get_params(stream, &buffer, &period);
  EXPECT_EQ(period, buffer);
}

TEST_F(SimSoundCard, HasASmallBufferWhenAsked) {
  board_.set("sound_buffer", "2048");
  sound_stream stream;
  ASSERT_EQ(stream.open(), 0);
  EXPECT_EQ(stream.configure({.period = 256, .buffer = 1024}), -EINVAL);
  EXPECT_EQ(stream.configure({.period = 256, .buffer = 512}), 0);
}

// --- without a clock ---

TEST_F(SimSoundCard, TakesEverythingAtOnceWithoutAClock) {
  board_.set("sound_clock", "none");
  const samples sound = noise(2 * 30 * 48000);
  const double before = seconds();
  sound_stream stream{{.start_threshold = 1}};
  EXPECT_EQ(stream.write(sound), 30 * 48000);
  snd_pcm_sframes_t delay = -1;
  EXPECT_EQ(snd_pcm_delay(stream, &delay), 0);
  EXPECT_EQ(delay, 0);
  EXPECT_EQ(snd_pcm_wait(stream, 10000), 1);
  EXPECT_EQ(snd_pcm_state(stream), SND_PCM_STATE_RUNNING);
  EXPECT_EQ(snd_pcm_drain(stream), 0);
  EXPECT_LT(seconds() - before, 30);
  EXPECT_TRUE(played() == sound);
}

TEST_F(SimSoundCard, RunsOutOfFramesAsOrderedWithoutAClockToo) {
  board_.set("sound_clock", "none");
  board_.set_fault("underrun", "sound");
  sound_stream stream{{.start_threshold = 1}};
  EXPECT_EQ(stream.write(noise(2 * 100)), 100);
  EXPECT_EQ(stream.write(noise(2 * 100)), -EPIPE);
}

} // namespace
