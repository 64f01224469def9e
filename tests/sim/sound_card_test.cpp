// The simulated sound card, as ALSA presents it to an application.

#include "board/use_board.h"
#include "sim/sound_stream.hpp"
#include "support/descriptors.hpp"
#include "support/stderr_capture.hpp"

#include <cerrno>
#include <gmock/gmock.h>
#include <poll.h>
#include <thread>

namespace {

using namespace dravik::test;
using testing::Contains;
using testing::ElementsAre;

// --- parameters ---

TEST_F(SimSoundCard, ReturnsTheSizesThatAreAskedFor) {
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

TEST_P(SimSoundCardNear, SelectsSupportedValue) {
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

// Periods have 256 to 32768 bytes; buffers up to 65536 bytes and at least two periods. ALSA takes
// whole periods.
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

TEST_F(SimSoundCard, RejectsImpossibleSettings) {
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

TEST_F(SimSoundCard, IsFoundByAlsaWithoutAWord) {
  stderr_capture said; // ALSA reports missing devices on standard error
  sound_stream{{}}.expect_played(noise(200));
  board_.set_fault("open", "sound");
  EXPECT_EQ(sound_stream{}.open(), -EIO);
  EXPECT_EQ(said.take(), "");
}

TEST_F(SimSoundCard, IsNotThereWithoutABoard) {
  ::dravik_sim_use_board("/dev/null/no-board");
  EXPECT_EQ(sound_stream{}.open(), -ENODEV);
  ::dravik_sim_use_board(nullptr);
  EXPECT_EQ(sound_stream{}.open(), -ENODEV);
}

TEST_F(SimSoundCard, IsOpenedByOneAtATime) {
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

// --- time ---

TEST_F(SimSoundCard, AcceptsNoMoreThanItsBuffer) {
  sound_stream stream{{.period = 512, .buffer = 2048, .start_threshold = 1}};
  const double before = seconds();
  stream.expect_written(noise(2 * 8192));
  EXPECT_GE(seconds() - before, (8192 - 2048) / frames_per_second);
}

TEST_F(SimSoundCard, DrainsForAsLongAsTheSoundLasts) {
  sound_stream stream{{}};
  const double before = seconds();
  stream.expect_played(noise(2 * 4000));
  EXPECT_GE(seconds() - before, 4000 / frames_per_second);
  EXPECT_EQ(snd_pcm_state(stream), SND_PCM_STATE_SETUP);
}

TEST_F(SimSoundCard, IsReadyOnceAPeriod) {
  sound_stream stream{{.rate_hz = 8000, .period = 2048}}; // a quarter of a second
  EXPECT_EQ(stream.write(noise(2 * 8192)), 8192);
  pollfd polled = {};
  ASSERT_EQ(snd_pcm_poll_descriptors(stream, &polled, 1), 1);
  EXPECT_EQ(::poll(&polled, 1, 0), 0);
  EXPECT_EQ(::poll(&polled, 1, 10000), 1);
  unsigned short events = 0;
  EXPECT_EQ(snd_pcm_poll_descriptors_revents(stream, &polled, 1, &events), 0);
  EXPECT_EQ(events, POLLOUT);
  EXPECT_EQ(::poll(&polled, 1, 0), 0) << "whoever waits would keep the processor busy";
  EXPECT_EQ(snd_pcm_poll_descriptors_revents(stream, &polled, 1, &events), 0);
  EXPECT_EQ(events, 0);
}

TEST_F(SimSoundCard, StartsAfreshWhenItIsPreparedWhileItPlays) {
  sound_stream stream{{.rate_hz = 8000}};
  const samples sound = noise(2 * 500);
  EXPECT_EQ(stream.write(noise(2 * 8192)), 8192);
  EXPECT_EQ(snd_pcm_prepare(stream), 0);
  EXPECT_EQ(snd_pcm_avail(stream), 8192);
  stream.expect_played(sound);
  stream.close();
  EXPECT_THAT(board_.events(), testing::Not(Contains("sound: underrun")));
  const samples heard = played();
  ASSERT_GE(heard.size(), 2U * 500 * 6);
  EXPECT_EQ(heard.back(), sound.back());
}

TEST_F(SimSoundCard, ReportsSpaceAndDelayThatAddUpToBuffer) {
  sound_stream stream{
      {.rate_hz = 8000, .channels = 1, .period = 4096, .buffer = 32768, .start_threshold = 1}};
  EXPECT_EQ(stream.write(noise(16384)), 16384);
  EXPECT_EQ(snd_pcm_state(stream), SND_PCM_STATE_RUNNING);
  snd_pcm_sframes_t room = 0;
  snd_pcm_sframes_t delay = 0;
  for (int look = 0; look < 100 && room + delay != 32768; ++look) {
    ASSERT_EQ(snd_pcm_avail_delay(stream, &room, &delay), 0);
    EXPECT_LE(room + delay, 32768); // a frame may be played between the two
  }
  EXPECT_EQ(room + delay, 32768);
  EXPECT_GE(room, 16384);
  EXPECT_GT(delay, 0);
}

TEST_F(SimSoundCard, WakesProgramThatAwaitsSpace) {
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
    sound_stream{{}}.expect_played(sound);
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
  stream.expect_played(second);
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
  stream.expect_played(second);
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
  EXPECT_THAT(board_.events(), ElementsAre("sound: open fails (injected)"));
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

TEST_F(SimSoundCard, RejectsTheExactRateAsOrdered) {
  board_.set_fault("rate", "sound");
  sound_stream stream;
  ASSERT_EQ(stream.open(), 0);
  EXPECT_EQ(stream.configure({}), -EINVAL);
  EXPECT_EQ(stream.configure({.rate_hz = 44100}), 0);
}

TEST_F(SimSoundCard, UsesOnePeriodIfInjected) {
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

/// The period and the buffer that ALSA settles on for times that are requested near, in frames.
std::pair<snd_pcm_uframes_t, snd_pcm_uframes_t> checked_settings(unsigned period_us, unsigned buffer_us) {
  sound_stream stream;
  EXPECT_EQ(stream.open(), 0);
  snd_pcm_hw_params_t *hw;
  snd_pcm_hw_params_alloca(&hw);
  snd_pcm_hw_params_any(stream, hw);
  snd_pcm_hw_params_set_channels(stream, hw, 2);
  snd_pcm_hw_params_set_rate(stream, hw, 48000, 0);
  EXPECT_EQ(snd_pcm_hw_params_set_period_time_near(stream, hw, &period_us, nullptr), 0);
  EXPECT_EQ(snd_pcm_hw_params_set_buffer_time_near(stream, hw, &buffer_us, nullptr), 0);
  EXPECT_EQ(snd_pcm_hw_params(stream, hw), 0);
  snd_pcm_uframes_t period = 0, buffer = 0;
  snd_pcm_hw_params_get_period_size(hw, &period, nullptr);
  snd_pcm_hw_params_get_buffer_size(hw, &buffer);
  return {period, buffer};
}

TEST_F(SimSoundCard, UsesOnePeriodForLongSoundsIfSet) {
  using sizes = std::pair<snd_pcm_uframes_t, snd_pcm_uframes_t>;
  EXPECT_EQ(checked_settings(1000000, 4000000), (sizes{8192, 16384}));
  board_.set("sound_periods", "1");
  EXPECT_EQ(checked_settings(1000000, 4000000), (sizes{16384, 16384}));
  EXPECT_EQ(checked_settings(10000, 40000), (sizes{480, 1920}));
  for (const char *otherwise : {"2", "0", "many", ""}) {
    board_.set("sound_periods", otherwise);
    EXPECT_EQ(checked_settings(1000000, 4000000), (sizes{8192, 16384})) << otherwise;
  }
}

TEST_F(SimSoundCard, HasASmallBufferWhenAsked) {
  board_.set("sound_buffer", "2048");
  sound_stream stream;
  ASSERT_EQ(stream.open(), 0);
  EXPECT_EQ(stream.configure({.period = 256, .buffer = 1024}), -EINVAL);
  EXPECT_EQ(stream.configure({.period = 256, .buffer = 512}), 0);
}

// --- without a clock ---

TEST_F(SimSoundCard, AcceptsEverythingImmediatelyWithoutClock) {
  board_.set("sound_clock", "none");
  const samples sound = noise(2 * 30 * 48000);
  const double before = seconds();
  sound_stream stream{{.start_threshold = 1}};
  EXPECT_EQ(stream.write(sound), 30 * 48000);
  EXPECT_EQ(snd_pcm_wait(stream, 10000), 1);
  snd_pcm_sframes_t delay = -1;
  EXPECT_EQ(snd_pcm_delay(stream, &delay), 0);
  EXPECT_EQ(delay, 0);
  pollfd polled = {};
  ASSERT_EQ(snd_pcm_poll_descriptors(stream, &polled, 1), 1);
  EXPECT_EQ(::poll(&polled, 1, 10000), 1);
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
