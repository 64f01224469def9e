// Shared by tests of the simulated sound card: a playback stream on the ALSA card `default`.
#pragma once

#include "support/board.hpp"
#include "support/played_sound.hpp"

#include <alsa/asoundlib.h>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace dravik::test {

using samples = std::vector<int16_t>;

struct stream_wishes {
  unsigned rate_hz = 48000;
  unsigned channels = 2;
  snd_pcm_uframes_t period = 1024;
  snd_pcm_uframes_t buffer = 8192;
  /// By default, a sound that fits into the buffer starts with the drain: it cannot run out before.
  snd_pcm_uframes_t start_threshold = 8192;
};

class sound_stream {
public:
  sound_stream() = default;
  explicit sound_stream(const stream_wishes &wishes) {
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(configure(wishes), 0);
  }
  ~sound_stream() { close(); }
  sound_stream(const sound_stream &) = delete;
  sound_stream &operator=(const sound_stream &) = delete;

  int open() { return snd_pcm_open(&pcm_, "default", SND_PCM_STREAM_PLAYBACK, 0); }
  void close() {
    if (pcm_ != nullptr)
      snd_pcm_close(pcm_);
    pcm_ = nullptr;
  }
  operator snd_pcm_t *() const { return pcm_; }

  /// 0, or the error of the first step that fails.
  int configure(const stream_wishes &wishes) {
    channels_ = wishes.channels;
    snd_pcm_hw_params_t *hw;
    snd_pcm_hw_params_alloca(&hw);
    int result = snd_pcm_hw_params_any(pcm_, hw);
    const auto step = [&result](auto call, auto... arguments) {
      result = result < 0 ? result : call(arguments...);
    };
    step(snd_pcm_hw_params_set_access, pcm_, hw, SND_PCM_ACCESS_RW_INTERLEAVED);
    step(snd_pcm_hw_params_set_format, pcm_, hw, SND_PCM_FORMAT_S16_LE);
    step(snd_pcm_hw_params_set_channels, pcm_, hw, wishes.channels);
    step(snd_pcm_hw_params_set_rate, pcm_, hw, wishes.rate_hz, 0);
    step(snd_pcm_hw_params_set_period_size, pcm_, hw, wishes.period, 0);
    step(snd_pcm_hw_params_set_buffer_size, pcm_, hw, wishes.buffer);
    step(snd_pcm_hw_params, pcm_, hw);
    return result < 0 ? result : set_thresholds(wishes);
  }

  /// The result of snd_pcm_writei(), in frames.
  snd_pcm_sframes_t write(const samples &written) {
    return snd_pcm_writei(pcm_, written.data(), written.size() / channels_);
  }

  /// Write all, however often the card runs out of frames while this process is kept waiting.
  void expect_written(const samples &written) {
    const auto frames = static_cast<snd_pcm_sframes_t>(written.size() / channels_);
    for (snd_pcm_sframes_t done = 0; done < frames;) {
      const auto *const next = written.data() + static_cast<size_t>(done) * channels_;
      const snd_pcm_sframes_t taken =
          snd_pcm_writei(pcm_, next, static_cast<snd_pcm_uframes_t>(frames - done));
      const snd_pcm_sframes_t result = taken == -EPIPE ? snd_pcm_prepare(pcm_) : taken;
      ASSERT_GE(result, 0);
      done += result;
    }
  }

  void expect_played(const samples &written) {
    expect_written(written);
    EXPECT_EQ(snd_pcm_drain(pcm_), 0);
  }

private:
  int set_thresholds(const stream_wishes &wishes) {
    snd_pcm_sw_params_t *sw;
    snd_pcm_sw_params_alloca(&sw);
    snd_pcm_sw_params_current(pcm_, sw);
    snd_pcm_sw_params_set_avail_min(pcm_, sw, wishes.period);
    snd_pcm_sw_params_set_start_threshold(pcm_, sw, wishes.start_threshold);
    return snd_pcm_sw_params(pcm_, sw);
  }

  snd_pcm_t *pcm_ = nullptr;
  unsigned channels_ = 2;
};

constexpr double frames_per_second = 48000;

inline double seconds() {
  timespec now;
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

/// A different one each time.
inline samples noise(size_t count) {
  static std::mt19937 generator{1};
  samples made(count);
  for (int16_t &sample : made)
    sample = static_cast<int16_t>(generator());
  return made;
}

inline samples joined(samples first, const samples &second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

class SimSoundCard : public testing::Test {
protected:
  samples played() const { return played_samples(board_); }

  const board board_;
};

} // namespace dravik::test
