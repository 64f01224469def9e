// A sound card that accepts every frame immediately. The library's calls come here by the loader's order
// of definitions.

#include "scripted_card.hpp"

#include <alsa/asoundlib.h>
#include <atomic>

namespace bench {
namespace {

constexpr snd_pcm_uframes_t period = 6000, buffer = 24000;

/// In the clock's own units; 0: none yet.
std::atomic<steady::rep> offered = 0;

char card;

} // namespace

void await_first_frame() {
  offered = 0;
}

steady::time_point first_frame() {
  offered.wait(0);
  return steady::time_point{steady::duration{offered}};
}

} // namespace bench

extern "C" {

int snd_pcm_open(snd_pcm_t **pcm, const char *, snd_pcm_stream_t, int) {
  *pcm = reinterpret_cast<snd_pcm_t *>(&bench::card);
  return 0;
}

int snd_pcm_close(snd_pcm_t *) {
  return 0;
}

snd_pcm_sframes_t snd_pcm_writei(snd_pcm_t *, const void *, snd_pcm_uframes_t frames) {
  if (bench::offered.load(std::memory_order_relaxed) == 0) {
    bench::offered = bench::steady::now().time_since_epoch().count();
    bench::offered.notify_all();
  }
  return static_cast<snd_pcm_sframes_t>(frames);
}

int snd_pcm_hw_params_any(snd_pcm_t *, snd_pcm_hw_params_t *) {
  return 0;
}
int snd_pcm_hw_params_set_access(snd_pcm_t *, snd_pcm_hw_params_t *, snd_pcm_access_t) {
  return 0;
}
int snd_pcm_hw_params_set_format(snd_pcm_t *, snd_pcm_hw_params_t *, snd_pcm_format_t) {
  return 0;
}
int snd_pcm_hw_params_set_channels(snd_pcm_t *, snd_pcm_hw_params_t *, unsigned) {
  return 0;
}
int snd_pcm_hw_params_set_rate(snd_pcm_t *, snd_pcm_hw_params_t *, unsigned, int) {
  return 0;
}
int snd_pcm_hw_params_get_buffer_time_max(const snd_pcm_hw_params_t *, unsigned *time, int *) {
  *time = 500000;
  return 0;
}
int snd_pcm_hw_params_set_period_time_near(snd_pcm_t *, snd_pcm_hw_params_t *, unsigned *, int *) {
  return 0;
}
int snd_pcm_hw_params_set_buffer_time_near(snd_pcm_t *, snd_pcm_hw_params_t *, unsigned *, int *) {
  return 0;
}
int snd_pcm_hw_params(snd_pcm_t *, snd_pcm_hw_params_t *) {
  return 0;
}
int snd_pcm_hw_params_get_period_size(const snd_pcm_hw_params_t *, snd_pcm_uframes_t *frames, int *) {
  *frames = bench::period;
  return 0;
}
int snd_pcm_hw_params_get_buffer_size(const snd_pcm_hw_params_t *, snd_pcm_uframes_t *frames) {
  *frames = bench::buffer;
  return 0;
}
int snd_pcm_sw_params_current(snd_pcm_t *, snd_pcm_sw_params_t *) {
  return 0;
}
int snd_pcm_sw_params_set_avail_min(snd_pcm_t *, snd_pcm_sw_params_t *, snd_pcm_uframes_t) {
  return 0;
}
int snd_pcm_sw_params_set_start_threshold(snd_pcm_t *, snd_pcm_sw_params_t *, snd_pcm_uframes_t) {
  return 0;
}
int snd_pcm_sw_params_set_stop_threshold(snd_pcm_t *, snd_pcm_sw_params_t *, snd_pcm_uframes_t) {
  return 0;
}
int snd_pcm_sw_params(snd_pcm_t *, snd_pcm_sw_params_t *) {
  return 0;
}

} // extern "C"
