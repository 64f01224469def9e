// Frames on their way to the device: what it does not take at once, underruns and failures.

#include "dravik.h"
#include "sound/pcm_output.hpp"
#include "sound/scripted_alsa.hpp"
#include "support/board.hpp"
#include "support/log_lines.hpp"

#include <alsa/asoundlib.h>
#include <cerrno>
#include <functional>
#include <gmock/gmock.h>
#include <unistd.h>

namespace dravik::test {

/// The pauses of the writer, which take no time here.
static std::vector<unsigned> pauses_us;
/// Called in each of them.
static std::function<void()> on_pause;

namespace {

using sound::pcm_write;
using sound::sound_format;
using sound::xrun_recovery;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class PcmWrite : public testing::Test {
protected:
  PcmWrite() : data_(4096) {
    reset_alsa();
    pauses_us.clear();
    on_pause = nullptr;
    snd_pcm_open(&h_snd_playback, "", SND_PCM_STREAM_PLAYBACK, 0);
    alsa.calls.clear();
    bits_per_frame = 32;
    sound::snd_file_type = sound_format::wav;
  }

  int32_t write(uint32_t frames) const { return pcm_write(frames, data_.data()); }

  /// Where in the data each write began, in bytes.
  std::vector<std::ptrdiff_t> positions() const {
    std::vector<std::ptrdiff_t> all;
    for (const scripted_alsa::written &one : alsa.writes)
      all.push_back(static_cast<const uint8_t *>(one.data) - data_.data());
    return all;
  }

  std::vector<std::string> messages() const { return log_messages(board_.path("tmp/dravik.log")); }

  board board_;
  bytes data_;
};

TEST_F(PcmWrite, WritesNoFramesOnlyToDevice) {
  EXPECT_EQ(write(0), 0);
  EXPECT_EQ(pcm_write(0, nullptr), 0);
  h_snd_playback = nullptr;
  EXPECT_EQ(write(0), 0);
  EXPECT_THAT(alsa.calls, IsEmpty());
}

TEST_F(PcmWrite, WritesNothingWithoutDevice) {
  h_snd_playback = nullptr;
  EXPECT_EQ(write(5), -1);
  EXPECT_THAT(alsa.calls, IsEmpty());
}

TEST_F(PcmWrite, WritesEverythingWithoutWaiting) {
  EXPECT_EQ(write(5), 5);
  EXPECT_THAT(alsa.calls, ElementsAre("writei pcm 5"));
}

TEST_F(PcmWrite, ContinuesShortWritesAfterWaiting) {
  alsa.write_results = {3, 1};
  EXPECT_EQ(write(10), 10);
  EXPECT_THAT(alsa.calls,
              ElementsAre("writei pcm 10", "wait pcm 1000", "writei pcm 7", "wait pcm 1000", "writei pcm 6"));
  EXPECT_THAT(positions(), ElementsAre(0, 12, 16));
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(PcmWrite, AdvancesMp3ByTwoBytesPerFrame) {
  sound::snd_file_type = sound_format::mp3;
  alsa.write_results = {3, 1};
  EXPECT_EQ(write(10), 10);
  EXPECT_THAT(positions(), ElementsAre(0, 6, 8));
}

TEST_F(PcmWrite, AdvancesWavesByFrameSize) {
  for (const sound_format format : {sound_format::raw_pcm, sound_format::wav}) {
    alsa.writes.clear();
    sound::snd_file_type = format;
    bits_per_frame = 12; // 36 bits make 4 bytes, 1 frame makes 1
    alsa.write_results = {3, 1};
    EXPECT_EQ(write(10), 10);
    EXPECT_THAT(positions(), ElementsAre(0, 4, 5));
  }
}

TEST_F(PcmWrite, RetriesAfterWaitingIfNothingIsAccepted) {
  for (const long result : {0L, long{-EAGAIN}}) {
    alsa.calls.clear();
    alsa.writes.clear();
    alsa.write_results = {result, 4, result};
    EXPECT_EQ(write(6), 6);
    EXPECT_THAT(alsa.calls, ElementsAre("writei pcm 6", "wait pcm 1000", "writei pcm 6", "wait pcm 1000",
                                        "writei pcm 2", "wait pcm 1000", "writei pcm 2"));
    EXPECT_THAT(positions(), ElementsAre(0, 0, 16, 16));
  }
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(PcmWrite, IgnoresFailedWait) {
  alsa.write_results = {2};
  alsa.results["wait"] = -EPIPE;
  EXPECT_EQ(write(6), 6);
  EXPECT_THAT(alsa.calls, ElementsAre("writei pcm 6", "wait pcm 1000", "writei pcm 4"));
  EXPECT_THAT(pauses_us, IsEmpty()); // frames were taken
}

TEST_F(PcmWrite, RepeatsFramesAfterUnderrun) {
  alsa.write_results = {2, -EPIPE, -EPIPE};
  EXPECT_EQ(write(6), 6);
  EXPECT_THAT(alsa.calls,
              ElementsAre("writei pcm 6", "wait pcm 1000", "writei pcm 4", "status pcm status", "prepare pcm",
                          "writei pcm 4", "status pcm status", "prepare pcm", "writei pcm 4"));
  EXPECT_THAT(positions(), ElementsAre(0, 8, 8, 8));
  EXPECT_THAT(messages(), ElementsAre("pcm_write: -EPIPE!!", "xrun: underrun!!", "pcm_write: -EPIPE!!",
                                      "xrun: underrun!!"));
}

TEST_F(PcmWrite, RepeatsUnderrunsWithoutLimit) {
  alsa.write_results.assign(500, -EPIPE);
  EXPECT_EQ(write(6), 6);
  EXPECT_EQ(alsa.count("writei pcm 6"), 501U);
  EXPECT_EQ(alsa.count("wait"), 0U);
}

TEST_F(PcmWrite, RepeatsUnderrunWithoutStatus) {
  alsa.write_results = {-EPIPE};
  alsa.results["status"] = -ENODEV;
  EXPECT_EQ(write(6), 6);
  EXPECT_THAT(alsa.calls, ElementsAre("writei pcm 6", "status pcm status", "writei pcm 6"));
  EXPECT_THAT(messages(), ElementsAre("pcm_write: -EPIPE!!", "status error: No such device"));
}

TEST_F(PcmWrite, RepeatsUnderrunThatCannotBeRecovered) {
  alsa.write_results = {-EPIPE};
  alsa.results["prepare"] = -EBUSY;
  EXPECT_EQ(write(6), 6);
  EXPECT_THAT(alsa.calls, ElementsAre("writei pcm 6", "status pcm status", "prepare pcm", "writei pcm 6"));
  EXPECT_THAT(messages(), ElementsAre("pcm_write: -EPIPE!!", "xrun: underrun!!",
                                      "xrun: prepare error: Device or resource busy"));
}

TEST_F(PcmWrite, DoesNotPrepareDrainingStream) {
  alsa.write_results = {-EPIPE};
  alsa.state = SND_PCM_STATE_DRAINING;
  EXPECT_EQ(write(6), 6);
  EXPECT_THAT(alsa.calls, ElementsAre("writei pcm 6", "status pcm status", "writei pcm 6"));
  EXPECT_THAT(messages(), ElementsAre("pcm_write: -EPIPE!!", "draining!!!"));
}

TEST_F(PcmWrite, DoesNotPauseAfterRecovery) {
  alsa.write_results = {2, -EPIPE, 0, -EAGAIN, -EPIPE};
  EXPECT_EQ(write(6), 6);
  EXPECT_THAT(pauses_us, IsEmpty());
}

/// A device that accepts nothing, and whose recovery fails.
struct dead_device {
  const char *name;
  long write_result;
  const char *failing_call;
};

void PrintTo(const dead_device &device, std::ostream *stream) {
  *stream << device.name;
}

class PcmWriteDeadDevice : public PcmWrite, public testing::WithParamInterface<dead_device> {
protected:
  PcmWriteDeadDevice() { alsa.results[GetParam().failing_call] = -ENODEV; }

  static void fail_writes(size_t count) { alsa.write_results.assign(count, GetParam().write_result); }
};

TEST_P(PcmWriteDeadDevice, IsRetriedWithAPauseEach) {
  fail_writes(500);
  EXPECT_EQ(write(6), 6);
  EXPECT_EQ(alsa.count("writei pcm 6"), 501U);
  EXPECT_EQ(pauses_us, std::vector<unsigned>(500, 10000));
}

TEST_P(PcmWriteDeadDevice, IsLeftByAStop) {
  fail_writes(100);
  on_pause = [] {
    if (pauses_us.size() == 3)
      snd_stopall();
  };
  EXPECT_EQ(write(6), -1);
  EXPECT_EQ(alsa.writes.size(), 4U);
  EXPECT_EQ(pauses_us.size(), 3U);
}

TEST_P(PcmWriteDeadDevice, IsLeftAtTheFirstFailedRecoveryAfterAStop) {
  fail_writes(100);
  snd_stopall();
  EXPECT_EQ(write(6), -1);
  EXPECT_EQ(alsa.writes.size(), 1U);
  EXPECT_THAT(pauses_us, IsEmpty());
}

TEST_P(PcmWriteDeadDevice, IsNotLeftWhileRecoverySucceeds) {
  alsa.results.clear();
  fail_writes(5);
  snd_stopall();
  EXPECT_EQ(write(6), 6);
  EXPECT_EQ(alsa.writes.size(), 6U);
  EXPECT_THAT(pauses_us, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Kinds, PcmWriteDeadDevice,
                         testing::Values(dead_device{"NoPrepare", -EPIPE, "prepare"},
                                         dead_device{"NoStatus", -EPIPE, "status"},
                                         dead_device{"NoWait", -EAGAIN, "wait"},
                                         dead_device{"NothingTakenNoWait", 0, "wait"}),
                         [](const auto &device) { return device.param.name; });

TEST_F(PcmWrite, StopsAtOtherFailures) {
  const struct {
    int error;
    const char *text;
    const char *name;
  } failures[] = {
      {EIO, "Input/output error", "-EIO error!"},
      {EINVAL, "Invalid argument", "-EINVAL error!"},
      {ESTRPIPE, "Streams pipe error", "unknown error!"},
      {EBADFD, "File descriptor in bad state", "unknown error!"},
      {EPERM, "Operation not permitted", "unknown error!"},
  };
  for (const auto &failure : failures) {
    board_.remove("tmp/dravik.log");
    alsa.calls.clear();
    alsa.write_results = {2, -failure.error};
    EXPECT_EQ(write(6), -1);
    EXPECT_THAT(alsa.calls, ElementsAre("writei pcm 6", "wait pcm 1000", "writei pcm 4"));
    EXPECT_THAT(messages(), ElementsAre(std::string{"write error: "} + failure.text, failure.name));
  }
}

TEST_F(PcmWrite, DeliversFramesInOrder) {
  for (size_t i = 0; i < data_.size(); ++i)
    data_[i] = static_cast<uint8_t>(i * 7 + i / 256);
  alsa.write_results = {1, 0, 300, -EPIPE, -EAGAIN, 22, 1};
  const std::deque<long> results = alsa.write_results;
  EXPECT_EQ(write(1024), 1024);
  bytes heard;
  for (size_t i = 0; i < alsa.writes.size(); ++i) {
    const size_t taken =
        i < results.size() ? static_cast<size_t>(std::max(results[i], 0L)) : alsa.writes[i].frames;
    append(heard, first_bytes(alsa.writes[i].content, taken * 4));
  }
  EXPECT_EQ(heard, data_);
}

class XrunRecovery : public PcmWrite {};

TEST_F(XrunRecovery, PreparesUnderrunOfPlaybackAndCapture) {
  for (const int32_t capture : {0, 1}) {
    alsa.calls.clear();
    EXPECT_EQ(xrun_recovery(capture), 1);
    EXPECT_THAT(alsa.calls, ElementsAre("status pcm status", "prepare pcm"));
  }
  EXPECT_THAT(messages(), ElementsAre("xrun: underrun!!", "xrun: underrun!!"));
}

TEST_F(XrunRecovery, FailsWithTheStatusOrThePreparation) {
  alsa.results["prepare"] = -EIO;
  EXPECT_EQ(xrun_recovery(0), -1);
  alsa.results["status"] = -EIO;
  EXPECT_EQ(xrun_recovery(0), -1);
  EXPECT_THAT(messages(), ElementsAre("xrun: underrun!!", "xrun: prepare error: Input/output error",
                                      "status error: Input/output error"));
}

TEST_F(XrunRecovery, PreparesDrainingCaptureOnly) {
  alsa.state = SND_PCM_STATE_DRAINING;
  for (const int32_t capture : {0, 2, -1})
    EXPECT_EQ(xrun_recovery(capture), 1);
  EXPECT_EQ(alsa.count("prepare"), 0U);
  EXPECT_EQ(xrun_recovery(1), 1);
  EXPECT_EQ(alsa.count("prepare pcm"), 1U);
  EXPECT_THAT(messages(), ElementsAre("draining!!!", "draining!!!", "draining!!!", "draining!!!",
                                      "capture stream format change? attempting recover..."));
}

TEST_F(XrunRecovery, ReportsFailedPreparationOfDrainingStream) {
  alsa.state = SND_PCM_STATE_DRAINING;
  alsa.results["prepare"] = -EIO;
  EXPECT_EQ(xrun_recovery(1), -1);
  EXPECT_THAT(messages(), ElementsAre("draining!!!", "capture stream format change? attempting recover...",
                                      "xrun(DRAINING): prepare error: Input/output error"));
}

TEST_F(XrunRecovery, AllowsRetryInOtherStates) {
  for (const int state :
       {SND_PCM_STATE_OPEN, SND_PCM_STATE_SETUP, SND_PCM_STATE_PREPARED, SND_PCM_STATE_RUNNING,
        SND_PCM_STATE_PAUSED, SND_PCM_STATE_SUSPENDED, SND_PCM_STATE_DISCONNECTED}) {
    alsa.state = state;
    EXPECT_EQ(xrun_recovery(1), 1) << state;
  }
  EXPECT_EQ(alsa.count("prepare"), 0U);
  EXPECT_THAT(messages(), IsEmpty());
}

} // namespace
} // namespace dravik::test

extern "C" int usleep(useconds_t microseconds) {
  dravik::test::pauses_us.push_back(microseconds);
  if (dravik::test::on_pause)
    dravik::test::on_pause();
  return 0;
}
