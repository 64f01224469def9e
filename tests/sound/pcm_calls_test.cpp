// The calls of ALSA that configure the device, for each format of sound.

#include "dravik.h"
#include "sound/scripted_alsa.hpp"
#include "support/board.hpp"
#include "support/leak_on_purpose.hpp"
#include "support/log_lines.hpp"
#include "support/stderr_capture.hpp"

#include <cerrno>
#include <gmock/gmock.h>

namespace dravik::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

enum class kind { raw, wav, mp3 };

/// A silent frame of an MP3 file: 128 kbit/s, 48000 Hz, one channel.
std::string mp3_frame() {
  std::string frame(384, '\0');
  return frame.replace(0, 4, "\xFF\xFB\x94\xC0");
}

class PcmSetUp : public testing::Test {
protected:
  PcmSetUp() {
    reset_alsa();
    h_snd_playback = nullptr;
  }

  std::string file(const std::string &contents) const {
    board_.write("tmp/add/sound", contents);
    return board_.path("tmp/add/sound");
  }

  int32_t play(kind of, const std::string &contents) const {
    const std::string path = file(contents);
    switch (of) {
    case kind::raw:
      return pcm_playback(path.c_str());
    case kind::wav:
      return wav_playback(path.c_str());
    default:
      return mp3_playback(path.c_str());
    }
  }

  /// Make a kind the one that set_snd_param() sets up.
  void choose(kind of) const {
    reset_alsa();
    play(of, std::string(60, '\0'));
    reset_alsa();
  }

  std::vector<std::string> messages() const { return log_messages(board_.path("tmp/dravik.log")); }

  board board_;
  stderr_capture errors_;
};

/// Of a sound of 500 samples, which wait for nothing.
constexpr const char *calls_for_1000_bytes[] = {"open default PLAYBACK 0",
                                                "hw_params_any pcm hw",
                                                "hw_params_set_access pcm hw RW_INTERLEAVED",
                                                "hw_params_set_format pcm hw S16_LE",
                                                "hw_params_set_channels pcm hw 2",
                                                "hw_params_set_rate pcm hw 48000 0",
                                                "hw_params_get_buffer_time_max hw null",
                                                "hw_params_set_period_time_near pcm hw 500 null",
                                                "hw_params_set_buffer_time_near pcm hw 2000 null",
                                                "hw_params pcm hw",
                                                "hw_params_get_period_size hw",
                                                "hw_params_get_buffer_size hw",
                                                "sw_params_current pcm sw",
                                                "sw_params_set_avail_min pcm sw 1024",
                                                "sw_params_set_start_threshold pcm sw 0",
                                                "sw_params_set_stop_threshold pcm sw 4096",
                                                "sw_params pcm sw",
                                                "format_physical_width S16_LE",
                                                "writei pcm 500",
                                                "close pcm"};

TEST_F(PcmSetUp, ConfiguresWavFileCallByCall) {
  EXPECT_EQ(play(kind::wav, std::string(44 + 1000, 'w')), 1);
  EXPECT_THAT(alsa.calls, ElementsAreArray(calls_for_1000_bytes));
  EXPECT_EQ(h_snd_playback, nullptr);
  EXPECT_EQ(errors_.take(), "");
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(PcmSetUp, ConfiguresRawFileCallByCall) {
  EXPECT_EQ(play(kind::raw, std::string(1000, 'r')), 1);
  EXPECT_THAT(alsa.calls, ElementsAreArray(calls_for_1000_bytes));
  EXPECT_EQ(h_snd_playback, nullptr);
}

TEST_F(PcmSetUp, ConfiguresMp3FileCallByCall) {
  alsa.period_frames = 1000; // four of which fit
  // 4 * 384 bytes: 10 * 1536 - 40 microseconds, twice. The last frame has no data after it.
  EXPECT_EQ(play(kind::mp3, mp3_frame() + mp3_frame() + mp3_frame() + mp3_frame()), 0);
  EXPECT_THAT(alsa.calls,
              ElementsAre("open default PLAYBACK 0", "hw_params_any pcm hw",
                          "hw_params_set_access pcm hw RW_INTERLEAVED", "hw_params_set_format pcm hw S16_LE",
                          "hw_params_set_channels pcm hw 1", "hw_params_set_rate pcm hw 48000 0",
                          "hw_params_set_period_time_near pcm hw 7660 null",
                          "hw_params_set_buffer_time_near pcm hw 30640 null", "hw_params pcm hw",
                          "hw_params_get_period_size hw", "hw_params_get_buffer_size hw",
                          "sw_params_current pcm sw", "sw_params_set_avail_min pcm sw 1000",
                          "sw_params_set_start_threshold pcm sw 4000",
                          "sw_params_set_stop_threshold pcm sw 4096", "sw_params pcm sw", "writei pcm 1152",
                          "writei pcm 1152", "writei pcm 1152", "close pcm"));
  EXPECT_EQ(h_snd_playback, nullptr);
  EXPECT_EQ(errors_.take(), "");
}

TEST_F(PcmSetUp, StartsMp3AtWholePeriods) {
  choose(kind::mp3);
  alsa.period_frames = 5000; // longer than the buffer
  EXPECT_EQ(set_snd_param(100), 0);
  EXPECT_THAT(alsa.calls, Contains("sw_params_set_start_threshold pcm sw 0"));
  reset_alsa();
  EXPECT_EQ(set_snd_param(100), 0);
  EXPECT_THAT(alsa.calls, Contains("sw_params_set_start_threshold pcm sw 4096"));
}

TEST_F(PcmSetUp, AcceptsDeviceWithoutPeriods) {
  choose(kind::mp3);
  alsa.period_frames = 0;
  EXPECT_EQ(set_snd_param(100), 0);
  EXPECT_THAT(alsa.calls, Contains("sw_params_set_start_threshold pcm sw 0"));
}

TEST_F(PcmSetUp, ReturnsPeriodOfWavesAndZeroOfMp3) {
  choose(kind::raw);
  alsa.period_frames = 77;
  EXPECT_EQ(set_snd_param(100), 77);
  choose(kind::wav);
  alsa.period_frames = 78;
  EXPECT_EQ(set_snd_param(100), 78);
  choose(kind::mp3);
  alsa.period_frames = 79;
  EXPECT_EQ(set_snd_param(100), 0);
}

TEST_F(PcmSetUp, KeepsFrameSizeOfLastWave) {
  bits_per_frame = 7;
  EXPECT_EQ(play(kind::mp3, mp3_frame() + mp3_frame()), 0);
  EXPECT_EQ(bits_per_frame, 7U);
  alsa.results["sw_params"] = -EIO;
  EXPECT_EQ(play(kind::wav, std::string(60, '\0')), 0);
  EXPECT_EQ(bits_per_frame, 7U);
  alsa.results.clear();
  EXPECT_EQ(play(kind::wav, std::string(60, '\0')), 1);
  EXPECT_EQ(bits_per_frame, 32U);
  bits_per_frame = 7;
  EXPECT_EQ(play(kind::raw, std::string(60, '\0')), 1);
  EXPECT_EQ(bits_per_frame, 32U);
}

struct times_case {
  kind of;
  uint32_t size;
  const char *period_us;
  const char *buffer_us;
};

class PcmTimes : public PcmSetUp {
protected:
  static void expect_times(const times_case &expected) {
    EXPECT_THAT(alsa.calls, Contains(std::string{"hw_params_set_period_time_near pcm hw "} +
                                     expected.period_us + " null"))
        << expected.size;
    EXPECT_THAT(alsa.calls, Contains(std::string{"hw_params_set_buffer_time_near pcm hw "} +
                                     expected.buffer_us + " null"))
        << expected.size;
  }
};

TEST_F(PcmTimes, FollowFromFileSize) {
  const times_case cases[] = {
      {kind::raw, 0, "125000", "500000"}, //
      {kind::raw, 1, "0", "2"},
      {kind::raw, 2, "1", "4"},
      {kind::raw, 44, "22", "88"},
      {kind::wav, 44, "125000", "500000"},
      {kind::wav, 45, "0", "2"},
      {kind::wav, 43, "1073741823", "4294967294"}, // -1 byte
      {kind::wav, 0, "1073741802", "4294967208"},  // -44 bytes
      {kind::mp3, 1, "1073741809", "4294967236"},  // 10 - 40 = -30, twice
      {kind::mp3, 4, "12500", "50000"},
      {kind::mp3, 5, "5", "20"},
      {kind::mp3, 9999, "49975", "199900"},
      {kind::mp3, 10000, "64974", "259896"},
  };
  for (const times_case &one : cases) {
    reset_alsa();
    play(one.of, std::string(one.size, '\0'));
    expect_times(one);
  }
}

// Sizes that no file of a test can have. Products wrap at 2^32, and from 2^31 on a size is treated as
// below 10000.
TEST_F(PcmTimes, WrapAt32Bits) {
  const times_case cases[] = {
      {kind::wav, 0x3FFFFFFF, "536870911", "2147483646"},
      {kind::wav, 0x7FFFFFFF, "1073741823", "4294967294"},
      {kind::wav, 0x80000000, "125000", "500000"},
      {kind::raw, 0x80000001, "0", "2"},
      {kind::raw, 0xC0000000, "536870912", "2147483648"},
      {kind::mp3, 0x40000004, "536870912", "2147483648"},  // 13 * 2^30 = 2^30, twice
      {kind::mp3, 330382100, "1073741800", "4294967200"},  // 13 * size = 4, - 52, twice
      {kind::mp3, 0x7FFFFFFF, "1073741791", "4294967166"}, // 2^31 - 13 - 52, twice
      {kind::mp3, 0x80000000, "1073741804", "4294967216"}, // 0 - 40, twice
      {kind::mp3, 0x80000004, "12500", "50000"},           // 40 - 40
      {kind::mp3, 0xFFFFFFFF, "1073741799", "4294967196"}, // -10 - 40, twice
  };
  for (const times_case &one : cases) {
    choose(one.of);
    set_snd_param(one.size);
    expect_times(one);
  }
}

struct failing_step {
  const char *call;
  const char *message; ///< on standard error; a log line when it has no newline
};

constexpr failing_step steps_of_all[] = {
    {"hw_params_any", "snd_pcm_hw_params_any error!\n"},
    {"hw_params_set_access", "sed_pcm_hw_set_access error!\n"},
    {"hw_params_set_format", "snd_pcm_hw_params_set_format failed error!\n"},
    {"hw_params_set_channels", "snd_pcm_hw_params_set_channels error!\n"},
    {"hw_params_set_rate", "snd_pcm_hw_params_set_rate_near error!\n"},
    {"hw_params_set_period_time_near", "snd_pcm_hw_params_set_period_time_near err!\n"},
    {"hw_params_set_buffer_time_near", "snd_pcm_hw_params_set_buffer_time_near err!\n"},
    {"hw_params", "snd_pcm_hw_params error!\n"},
    {"sw_params", "unable to install sw params:"},
};
constexpr failing_step step_of_waves = {"hw_params_get_buffer_time_max",
                                        "snd_pcm_hw_params_get_buffer_time_max err!\n"};

class PcmFailures : public PcmSetUp {
protected:
  /// The steps of a kind that can fail once the device is open.
  static std::vector<failing_step> steps(kind of) {
    std::vector<failing_step> all{std::begin(steps_of_all), std::end(steps_of_all)};
    if (of != kind::mp3)
      all.push_back(step_of_waves);
    return all;
  }

  void begin(const failing_step &step) {
    board_.remove("tmp/dravik.log");
    errors_.take();
    reset_alsa();
    h_snd_playback = nullptr;
    alsa.results[step.call] = -EINVAL;
  }

  /// The message is on its own channel, and `more` after it in the log.
  void expect_told(const failing_step &step, std::vector<std::string> more = {}) {
    const bool is_logged = !std::string_view{step.message}.ends_with('\n');
    if (is_logged)
      more.insert(more.begin(), step.message);
    EXPECT_EQ(errors_.take(), is_logged ? "" : step.message);
    EXPECT_THAT(messages(), ElementsAreArray(more)) << step.call;
  }
};

TEST_F(PcmFailures, LeaveDeviceOpenAtEachStep) {
  for (const kind of : {kind::raw, kind::wav, kind::mp3}) {
    choose(of);
    for (const failing_step &step : steps(of)) {
      begin(step);
      EXPECT_EQ(set_snd_param(1000), -1) << step.call;
      EXPECT_TRUE(alsa.calls.back().starts_with(std::string{step.call} + ' ')) << alsa.calls.back();
      EXPECT_NE(h_snd_playback, nullptr) << step.call;
      expect_told(step);
    }
  }
}

TEST_F(PcmFailures, CloseDeviceOfWaves) {
  for (const kind of : {kind::raw, kind::wav})
    for (const failing_step &step : steps(of)) {
      begin(step);
      EXPECT_EQ(play(of, std::string(1000, 'x')), 0) << step.call;
      EXPECT_EQ(alsa.calls.back(), "close pcm") << step.call;
      EXPECT_EQ(alsa.count("writei"), 0U);
      EXPECT_EQ(h_snd_playback, nullptr);
      expect_told(step);
    }
}

TEST_F(PcmFailures, LeaveDeviceOfMp3Open) {
  const leak_on_purpose of_the_file;
  for (const failing_step &step : steps(kind::mp3)) {
    begin(step);
    EXPECT_EQ(play(kind::mp3, mp3_frame()), 1) << step.call;
    EXPECT_EQ(alsa.count("close"), 0U) << step.call;
    EXPECT_EQ(alsa.count("writei"), 0U);
    EXPECT_NE(h_snd_playback, nullptr);
    expect_told(step, {"set_mp3_param failed:"});
  }
}

TEST_F(PcmFailures, LetNextSoundOpenItsOwnDevice) {
  const leak_on_purpose of_the_file;
  begin({"hw_params", ""});
  EXPECT_EQ(play(kind::mp3, mp3_frame()), 1);
  alsa.results.clear();
  alsa.calls.clear();
  EXPECT_EQ(play(kind::raw, std::string(8, 'x')), 1);
  EXPECT_EQ(alsa.count("open"), 1U);
  EXPECT_EQ(alsa.count("close pcm"), 1U);
  EXPECT_EQ(h_snd_playback, nullptr);
}

TEST_F(PcmFailures, CloseNothingWithoutDevice) {
  const leak_on_purpose of_the_file;
  const failing_step step = {"open", "open PCM device failed error!\n"};
  for (const kind of : {kind::raw, kind::wav, kind::mp3}) {
    begin(step);
    EXPECT_EQ(play(of, std::string(1000, '\0')), of == kind::mp3 ? 1 : 0);
    EXPECT_THAT(alsa.calls, ElementsAre("open default PLAYBACK 0"));
    EXPECT_EQ(h_snd_playback, nullptr);
    expect_told(step, of == kind::mp3 ? std::vector<std::string>{"set_mp3_param failed:"}
                                      : std::vector<std::string>{});
  }
}

TEST_F(PcmFailures, RejectPeriodEqualToBuffer) {
  for (const kind of : {kind::raw, kind::wav, kind::mp3}) {
    choose(of);
    begin({"none", ""});
    alsa.period_frames = alsa.buffer_frames = 3000000000;
    EXPECT_EQ(set_snd_param(1000), -1);
    EXPECT_EQ(alsa.calls.back(), "hw_params_get_buffer_size hw");
    EXPECT_NE(h_snd_playback, nullptr);
    EXPECT_EQ(errors_.take(), "");
    EXPECT_THAT(messages(), ElementsAre("Can't use period equal to buffer size (3000000000 == 3000000000)"));
  }
}

TEST_F(PcmFailures, IgnoreThresholds) {
  for (const char *call : {"sw_params_current", "sw_params_set_avail_min", "sw_params_set_start_threshold",
                           "sw_params_set_stop_threshold"}) {
    begin({call, ""});
    EXPECT_EQ(play(kind::wav, std::string(44 + 8, 'x')), 1);
    EXPECT_EQ(alsa.count("writei pcm 4"), 1U) << call;
    EXPECT_EQ(errors_.take(), "");
    EXPECT_THAT(messages(), IsEmpty());
  }
}

TEST_F(PcmSetUp, AcceptsPositiveResults) {
  for (const failing_step &step : steps_of_all)
    alsa.results[step.call] = 1;
  alsa.results["open"] = alsa.results["hw_params_get_buffer_time_max"] = 1;
  EXPECT_EQ(play(kind::wav, std::string(44 + 8, 'x')), 1);
  EXPECT_EQ(alsa.count("writei pcm 4"), 1U);
}

TEST_F(PcmSetUp, ContinuesAfterFailedWrite) {
  alsa.period_frames = 4; // 16 bytes a read, 8 frames
  alsa.write_results = {-EIO, 8, -EINVAL};
  EXPECT_EQ(play(kind::raw, std::string(16 * 4, 'x')), 1);
  EXPECT_EQ(alsa.count("writei pcm 8"), 4U);
  EXPECT_THAT(messages(), ElementsAre("write error: Input/output error", "-EIO error!",
                                      "write error: Invalid argument", "-EINVAL error!"));
}

TEST_F(PcmSetUp, AdvancesMp3ByFramesOfOneChannel) {
  alsa.write_results = {1000};
  EXPECT_EQ(play(kind::mp3, mp3_frame() + mp3_frame()), 0);
  ASSERT_EQ(alsa.writes.size(), 2U);
  EXPECT_EQ(alsa.writes[1].frames, 152U);
  EXPECT_EQ(static_cast<const char *>(alsa.writes[1].data) - static_cast<const char *>(alsa.writes[0].data),
            2000);
}

} // namespace
} // namespace dravik::test
