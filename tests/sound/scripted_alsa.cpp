// ALSA by script.

#include "sound/scripted_alsa.hpp"

#include <algorithm>
#include <alsa/asoundlib.h>
#include <array>
#include <concepts>
#include <span>

namespace dravik::test {

scripted_alsa alsa;

namespace {

constexpr size_t hw_size = 603;
constexpr size_t sw_size = 101;
constexpr size_t status_size = 149;
constexpr unsigned longest_buffer_us = 170666;

// Streams are only ever compared. Each one is another than those just before it.
std::array<char, 64> streams;
size_t opened = 0;
const void *open_stream = nullptr;
const void *hw_record = nullptr;
const void *sw_record = nullptr;

std::string name_of(const snd_pcm_t *pcm) {
  if (pcm == nullptr)
    return "null";
  return pcm == open_stream ? "pcm" : "another pcm";
}

std::string name_of(const snd_pcm_hw_params_t *hw) {
  return hw == hw_record ? "hw" : "another hw";
}

std::string name_of(const snd_pcm_sw_params_t *sw) {
  return sw == sw_record ? "sw" : "another sw";
}

std::string name_of(const int *direction) {
  return direction == nullptr ? "null" : std::to_string(*direction);
}

std::string name_of(snd_pcm_access_t access) {
  return access == SND_PCM_ACCESS_RW_INTERLEAVED ? "RW_INTERLEAVED" : std::to_string(access);
}

std::string name_of(snd_pcm_format_t format) {
  return format == SND_PCM_FORMAT_S16_LE ? "S16_LE" : std::to_string(format);
}

std::string name_of(snd_pcm_stream_t direction) {
  return direction == SND_PCM_STREAM_PLAYBACK ? "PLAYBACK" : std::to_string(direction);
}

std::string name_of(const char *text) {
  return text;
}

template <std::integral Number> std::string name_of(Number number) {
  return std::to_string(number);
}

/// Write down a call; return its result.
template <class... Arguments> int note(const char *call, Arguments... arguments) {
  std::string text = call;
  ((text += ' ' + name_of(arguments)), ...);
  alsa.calls.push_back(std::move(text));
  const auto result = alsa.results.find(call);
  return result == alsa.results.end() ? 0 : result->second;
}

bool is_zeroed(const void *record, size_t size) {
  return std::ranges::all_of(std::span{static_cast<const uint8_t *>(record), size},
                             [](uint8_t byte) { return byte == 0; });
}

} // namespace

size_t scripted_alsa::count(std::string_view call) const {
  return static_cast<size_t>(
      std::ranges::count_if(calls, [call](const std::string &one) { return one.starts_with(call); }));
}

void reset_alsa() {
  alsa = {};
  opened = 0;
  open_stream = hw_record = sw_record = nullptr;
}

} // namespace dravik::test

using namespace dravik::test;

extern "C" {

int snd_pcm_open(snd_pcm_t **pcm, const char *name, snd_pcm_stream_t direction, int mode) {
  const int result = note("open", name, direction, mode);
  open_stream = result < 0 ? nullptr : &streams[opened++ % streams.size()];
  *pcm = static_cast<snd_pcm_t *>(const_cast<void *>(open_stream));
  return result;
}

int snd_pcm_close(snd_pcm_t *pcm) {
  const int result = note("close", pcm);
  open_stream = nullptr;
  return result;
}

size_t snd_pcm_hw_params_sizeof() {
  return hw_size;
}

size_t snd_pcm_sw_params_sizeof() {
  return sw_size;
}

size_t snd_pcm_status_sizeof() {
  return status_size;
}

int snd_pcm_hw_params_any(snd_pcm_t *pcm, snd_pcm_hw_params_t *hw) {
  hw_record = is_zeroed(hw, hw_size) ? hw : nullptr;
  return note("hw_params_any", pcm, hw);
}

int snd_pcm_hw_params_set_access(snd_pcm_t *pcm, snd_pcm_hw_params_t *hw, snd_pcm_access_t access) {
  return note("hw_params_set_access", pcm, hw, access);
}

int snd_pcm_hw_params_set_format(snd_pcm_t *pcm, snd_pcm_hw_params_t *hw, snd_pcm_format_t format) {
  return note("hw_params_set_format", pcm, hw, format);
}

int snd_pcm_hw_params_set_channels(snd_pcm_t *pcm, snd_pcm_hw_params_t *hw, unsigned count) {
  alsa.channels = count;
  return note("hw_params_set_channels", pcm, hw, count);
}

int snd_pcm_hw_params_set_rate(snd_pcm_t *pcm, snd_pcm_hw_params_t *hw, unsigned rate, int direction) {
  return note("hw_params_set_rate", pcm, hw, rate, direction);
}

int snd_pcm_hw_params_get_buffer_time_max(const snd_pcm_hw_params_t *hw, unsigned *time, int *direction) {
  *time = longest_buffer_us;
  return note("hw_params_get_buffer_time_max", hw, direction);
}

// The nearest value is never the requested one.
int snd_pcm_hw_params_set_period_time_near(snd_pcm_t *pcm, snd_pcm_hw_params_t *hw, unsigned *time,
                                           int *direction) {
  const int result = note("hw_params_set_period_time_near", pcm, hw, *time, direction);
  *time = 21333;
  return result;
}

int snd_pcm_hw_params_set_buffer_time_near(snd_pcm_t *pcm, snd_pcm_hw_params_t *hw, unsigned *time,
                                           int *direction) {
  const int result = note("hw_params_set_buffer_time_near", pcm, hw, *time, direction);
  *time = 85333;
  return result;
}

int snd_pcm_hw_params(snd_pcm_t *pcm, snd_pcm_hw_params_t *hw) {
  return note("hw_params", pcm, hw);
}

int snd_pcm_hw_params_get_period_size(const snd_pcm_hw_params_t *hw, snd_pcm_uframes_t *frames, int *) {
  *frames = alsa.period_frames;
  return note("hw_params_get_period_size", hw);
}

int snd_pcm_hw_params_get_buffer_size(const snd_pcm_hw_params_t *hw, snd_pcm_uframes_t *frames) {
  *frames = alsa.buffer_frames;
  return note("hw_params_get_buffer_size", hw);
}

int snd_pcm_sw_params_current(snd_pcm_t *pcm, snd_pcm_sw_params_t *sw) {
  sw_record = is_zeroed(sw, sw_size) ? sw : nullptr;
  return note("sw_params_current", pcm, sw);
}

int snd_pcm_sw_params_set_avail_min(snd_pcm_t *pcm, snd_pcm_sw_params_t *sw, snd_pcm_uframes_t frames) {
  return note("sw_params_set_avail_min", pcm, sw, frames);
}

int snd_pcm_sw_params_set_start_threshold(snd_pcm_t *pcm, snd_pcm_sw_params_t *sw, snd_pcm_uframes_t frames) {
  return note("sw_params_set_start_threshold", pcm, sw, frames);
}

int snd_pcm_sw_params_set_stop_threshold(snd_pcm_t *pcm, snd_pcm_sw_params_t *sw, snd_pcm_uframes_t frames) {
  return note("sw_params_set_stop_threshold", pcm, sw, frames);
}

int snd_pcm_sw_params(snd_pcm_t *pcm, snd_pcm_sw_params_t *sw) {
  return note("sw_params", pcm, sw);
}

int snd_pcm_format_physical_width(snd_pcm_format_t format) {
  note("format_physical_width", format);
  return 16;
}

snd_pcm_sframes_t snd_pcm_writei(snd_pcm_t *pcm, const void *data, snd_pcm_uframes_t frames) {
  note("writei", pcm, frames);
  const auto *first = static_cast<const uint8_t *>(data);
  alsa.writes.push_back({data, frames, {first, first + frames * alsa.channels * sizeof(int16_t)}});
  if (alsa.on_write)
    alsa.on_write();
  if (alsa.write_results.empty())
    return static_cast<snd_pcm_sframes_t>(frames);
  const long result = alsa.write_results.front();
  alsa.write_results.pop_front();
  return result;
}

int snd_pcm_wait(snd_pcm_t *pcm, int timeout_ms) {
  return note("wait", pcm, timeout_ms);
}

int snd_pcm_status(snd_pcm_t *pcm, snd_pcm_status_t *status) {
  return note("status", pcm, is_zeroed(status, status_size) ? "status" : "an old status");
}

snd_pcm_state_t snd_pcm_status_get_state(const snd_pcm_status_t *) {
  return static_cast<snd_pcm_state_t>(alsa.state);
}

int snd_pcm_prepare(snd_pcm_t *pcm) {
  return note("prepare", pcm);
}

} // extern "C"
