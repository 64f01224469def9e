// PCM output: the ALSA device "default", configured for each playback.

#include "sound/pcm_output.hpp"
#include "dravik.h"
#include "sound/engine.hpp"

#include <algorithm>
#include <alsa/asoundlib.h>
#include <cerrno>
#include <cstdio>
#include <unistd.h>

extern "C" {
constinit struct _snd_pcm *h_snd_playback = nullptr;
constinit uint32_t bits_per_frame = 0;
}

namespace dravik::sound {

constinit sound_format snd_file_type = sound_format::raw_pcm;

namespace {

constexpr int wait_ms = 1000;
constexpr useconds_t retry_pause_us = 10000;

/// Times in microseconds. They wrap at 32 bits for large files; the device limits them.
struct buffer_times {
  uint32_t buffer;
  uint32_t period;
};

bool is_mp3() noexcept {
  return snd_file_type == sound_format::mp3;
}

/// Return whether a step succeeded; print its message if not.
bool worked(int result, const char *message) noexcept {
  if (result < 0)
    std::fputs(message, stderr);
  return result >= 0;
}

bool set_format(snd_pcm_hw_params_t *hw) noexcept {
  snd_pcm_t *const pcm = h_snd_playback;
  return worked(snd_pcm_hw_params_any(pcm, hw), "snd_pcm_hw_params_any error!\n") &&
         worked(snd_pcm_hw_params_set_access(pcm, hw, SND_PCM_ACCESS_RW_INTERLEAVED),
                "sed_pcm_hw_set_access error!\n") &&
         worked(snd_pcm_hw_params_set_format(pcm, hw, SND_PCM_FORMAT_S16_LE),
                "snd_pcm_hw_params_set_format failed error!\n") &&
         worked(snd_pcm_hw_params_set_channels(pcm, hw, is_mp3() ? 1 : 2),
                "snd_pcm_hw_params_set_channels error!\n") &&
         worked(snd_pcm_hw_params_set_rate(pcm, hw, DRAVIK_SOUND_RATE, 0),
                "snd_pcm_hw_params_set_rate_near error!\n");
}

/// Return buffer times for an MP3 file of this size in bytes.
buffer_times times_of_mp3(uint32_t size) noexcept {
  const uint32_t time = static_cast<int32_t>(size) > 9999 ? 13 * size - 52 : 10 * size - 40;
  const uint32_t buffer = 2 * time;
  return buffer == 0 ? buffer_times{50000, 12500} : buffer_times{buffer, buffer >> 2};
}

buffer_times times_of_wave(uint32_t size) noexcept {
  const uint32_t buffer = 2 * size;
  return buffer == 0 ? buffer_times{500000, 125000} : buffer_times{buffer, buffer >> 2};
}

/// Intentional: the maximum buffer time is requested but not used; set_times() limits the buffer of
/// a long sound.
bool choose_times(const snd_pcm_hw_params_t *hw, uint32_t size, buffer_times &times) noexcept {
  if (is_mp3()) {
    times = times_of_mp3(size);
    return true;
  }
  if (!worked(snd_pcm_hw_params_get_buffer_time_max(hw, &times.buffer, nullptr),
              "snd_pcm_hw_params_get_buffer_time_max err!\n"))
    return false;
  times = times_of_wave(size);
  return true;
}

bool set_times(snd_pcm_hw_params_t *hw, buffer_times &times) noexcept {
  snd_pcm_t *const pcm = h_snd_playback;
  return worked(snd_pcm_hw_params_set_period_time_near(pcm, hw, &times.period, nullptr),
                "snd_pcm_hw_params_set_period_time_near err!\n") &&
         worked(snd_pcm_hw_params_set_buffer_time_near(pcm, hw, &times.buffer, nullptr),
                "snd_pcm_hw_params_set_buffer_time_near err!\n") &&
         worked(snd_pcm_hw_params(pcm, hw), "snd_pcm_hw_params error!\n");
}

/// Return when to start: MP3 when all whole periods in the buffer are filled, others with the first frame.
snd_pcm_uframes_t start_threshold(snd_pcm_uframes_t period, snd_pcm_uframes_t buffer) noexcept {
  return is_mp3() && period > 0 ? period * (buffer / period) : 0;
}

bool set_thresholds(snd_pcm_sw_params_t *sw, snd_pcm_uframes_t period, snd_pcm_uframes_t buffer) noexcept {
  snd_pcm_t *const pcm = h_snd_playback;
  snd_pcm_sw_params_current(pcm, sw);
  snd_pcm_sw_params_set_avail_min(pcm, sw, period);
  snd_pcm_sw_params_set_start_threshold(pcm, sw, start_threshold(period, buffer));
  snd_pcm_sw_params_set_stop_threshold(pcm, sw, buffer);
  if (snd_pcm_sw_params(pcm, sw) >= 0)
    return true;
  log_printf("unable to install sw params:");
  return false;
}

int32_t set_up_device(uint32_t size) noexcept {
  snd_pcm_uframes_t period_size = 0;
  snd_pcm_uframes_t buffer_size = 0;
  buffer_times times = {0, 0};
  if (!worked(snd_pcm_open(&h_snd_playback, "default", SND_PCM_STREAM_PLAYBACK, 0),
              "open PCM device failed error!\n"))
    return -1;
  snd_pcm_hw_params_t *hw;
  snd_pcm_sw_params_t *sw;
  snd_pcm_hw_params_alloca(&hw);
  snd_pcm_sw_params_alloca(&sw);
  if (!set_format(hw) || !choose_times(hw, size, times) || !set_times(hw, times))
    return -1;

  snd_pcm_hw_params_get_period_size(hw, &period_size, nullptr);
  snd_pcm_hw_params_get_buffer_size(hw, &buffer_size);
  if (period_size == buffer_size) {
    log_printf("Can't use period equal to buffer size (%lu == %lu)", period_size, period_size);
    return -1;
  }
  if (!set_thresholds(sw, period_size, buffer_size))
    return -1;
  if (is_mp3())
    return 0;
  bits_per_frame = 2 * static_cast<uint32_t>(snd_pcm_format_physical_width(SND_PCM_FORMAT_S16_LE));
  return static_cast<int32_t>(period_size);
}

const char *write_failure_name(snd_pcm_sframes_t error) noexcept {
  switch (error) {
  case -EIO:
    return "-EIO error!";
  case -EINVAL:
    return "-EINVAL error!";
  default:
    return "unknown error!";
  }
}

uint32_t bytes_of(uint32_t frames) noexcept {
  return is_mp3() ? frames * 2 : bits_per_frame * frames / 8;
}

/// Return the error message, or NULL on success.
const char *prepare() noexcept {
  const int result = snd_pcm_prepare(h_snd_playback);
  return result < 0 ? snd_strerror(result) : nullptr;
}

int32_t recover_underrun() noexcept {
  log_printf("xrun: underrun!!");
  const char *const error = prepare();
  if (error != nullptr)
    log_printf("xrun: prepare error: %s", error);
  return error == nullptr ? 1 : -1;
}

int32_t recover_draining(int32_t capture) noexcept {
  log_printf("draining!!!");
  if (capture != 1)
    return 1;
  log_printf("capture stream format change? attempting recover...");
  const char *const error = prepare();
  if (error != nullptr)
    log_printf("xrun(DRAINING): prepare error: %s", error);
  return error == nullptr ? 1 : -1;
}

/// After a failed recovery, pause, since the thread has real-time priority. Return false if a
/// stop is requested.
bool may_retry() noexcept {
  if (is_stop_requested())
    return false;
  ::usleep(retry_pause_us);
  return true;
}

/// Recover from a write that did not accept all frames. Return false if the playback is to end.
bool recover(snd_pcm_sframes_t result) noexcept {
  if (result == -EPIPE) {
    log_printf("pcm_write: -EPIPE!!");
    return xrun_recovery(0) >= 0 || may_retry();
  }
  if (result < 0 && result != -EAGAIN) {
    log_printf("write error: %s", snd_strerror(static_cast<int>(result)));
    log_printf("%s", write_failure_name(result));
    return false;
  }
  const bool is_ready = snd_pcm_wait(h_snd_playback, wait_ms) >= 0;
  return is_ready || result > 0 || may_retry();
}

} // namespace

int32_t pcm_write(uint32_t frames, const uint8_t *data) noexcept {
  if (h_snd_playback == nullptr)
    return frames == 0 ? 0 : -1;
  uint32_t remaining = frames;
  while (remaining > 0) {
    const snd_pcm_sframes_t result = snd_pcm_writei(h_snd_playback, data, remaining);
    if (result < static_cast<snd_pcm_sframes_t>(remaining) && !recover(result))
      return -1;
    if (result <= 0)
      continue;
    const uint32_t taken = std::min(static_cast<uint32_t>(result), remaining);
    remaining -= taken;
    data += bytes_of(taken);
  }
  return static_cast<int32_t>(frames);
}

int32_t xrun_recovery(int32_t capture) noexcept {
  snd_pcm_status_t *status;
  snd_pcm_status_alloca(&status);
  const int result = snd_pcm_status(h_snd_playback, status);
  if (result < 0) {
    log_printf("status error: %s", snd_strerror(result));
    return -1;
  }
  switch (snd_pcm_status_get_state(status)) {
  case SND_PCM_STATE_XRUN:
    return recover_underrun();
  case SND_PCM_STATE_DRAINING:
    return recover_draining(capture);
  default:
    return 1;
  }
}

void close_playback() noexcept {
  if (h_snd_playback != nullptr)
    snd_pcm_close(h_snd_playback);
  h_snd_playback = nullptr;
}

} // namespace dravik::sound

extern "C" {

int32_t set_snd_param(uint32_t size) noexcept {
  return dravik::sound::set_up_device(size);
}

} // extern "C"
