// The simulated sound card as ALSA sees it: an external plugin, loaded for a PCM of the type "dravik".

#include "sound/sound_card.hpp"

#include <alsa/asoundlib.h>
#include <alsa/pcm_external.h>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <new>
#include <poll.h>

namespace dravik::sim {
namespace {

constexpr unsigned shortest_period_bytes = 256;
constexpr unsigned most_periods = 1024;

/// An open stream: ALSA's part and the sound card.
struct open_card {
  snd_pcm_ioplug_t plug = {};
  sound_card device;
};

sound_card &device_of(snd_pcm_ioplug_t *plug) noexcept {
  return static_cast<open_card *>(plug->private_data)->device;
}

int start(snd_pcm_ioplug_t *plug) noexcept {
  device_of(plug).start();
  return 0;
}

int stop(snd_pcm_ioplug_t *plug) noexcept {
  device_of(plug).stop();
  return 0;
}

snd_pcm_sframes_t pointer(snd_pcm_ioplug_t *plug) noexcept {
  return static_cast<snd_pcm_sframes_t>(device_of(plug).position(plug->state == SND_PCM_STATE_DRAINING));
}

snd_pcm_sframes_t transfer(snd_pcm_ioplug_t *plug, const snd_pcm_channel_area_t *areas,
                           snd_pcm_uframes_t offset, snd_pcm_uframes_t size) noexcept {
  const auto *first =
      static_cast<const char *>(areas[0].addr) + (areas[0].first + areas[0].step * offset) / 8;
  return static_cast<snd_pcm_sframes_t>(
      device_of(plug).write(static_cast<const int16_t *>(static_cast<const void *>(first)), size));
}

int close(snd_pcm_ioplug_t *plug) noexcept {
  auto *const owned = static_cast<open_card *>(plug->private_data);
  owned->device.close();
  owned->~open_card();
  std::free(owned);
  return 0;
}

int set_parameters(snd_pcm_ioplug_t *plug, snd_pcm_hw_params_t *) noexcept {
  return device_of(plug).configure({plug->rate, plug->channels}, plug->period_size, plug->buffer_size);
}

int prepare(snd_pcm_ioplug_t *plug) noexcept {
  return device_of(plug).prepare();
}

int take_period_end(snd_pcm_ioplug_t *plug, pollfd *polled, unsigned count, unsigned short *events) noexcept {
  *events = 0;
  if (count == 0 || (polled[0].revents & POLLIN) == 0)
    return 0;
  device_of(plug).read_period_timer();
  *events = POLLOUT;
  return 0;
}

constexpr snd_pcm_ioplug_callback_t make_callbacks() noexcept {
  snd_pcm_ioplug_callback_t callbacks = {};
  callbacks.start = start;
  callbacks.stop = stop;
  callbacks.pointer = pointer;
  callbacks.transfer = transfer;
  callbacks.close = close;
  callbacks.hw_params = set_parameters;
  callbacks.prepare = prepare;
  callbacks.poll_revents = take_period_end;
  return callbacks;
}
constexpr snd_pcm_ioplug_callback_t callbacks = make_callbacks();

/// Sizes are in bytes, as in the memory of a sound card: a mono buffer lasts twice as long.
int limit_parameters(snd_pcm_ioplug_t *plug, const sound_settings &settings) noexcept {
  static constexpr unsigned access[] = {SND_PCM_ACCESS_RW_INTERLEAVED};
  static constexpr unsigned formats[] = {SND_PCM_FORMAT_S16_LE};
  static constexpr unsigned rates[] = {8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000};
  const auto rate_count = static_cast<unsigned>(std::size(rates)) - (settings.rejects_48000 ? 1 : 0);
  const unsigned buffer = settings.buffer_bytes;
  const unsigned least_periods = settings.has_one_period ? 1 : settings.least_periods;
  const int results[] = {
      snd_pcm_ioplug_set_param_list(plug, SND_PCM_IOPLUG_HW_ACCESS, 1, access),
      snd_pcm_ioplug_set_param_list(plug, SND_PCM_IOPLUG_HW_FORMAT, 1, formats),
      snd_pcm_ioplug_set_param_minmax(plug, SND_PCM_IOPLUG_HW_CHANNELS, 1, 2),
      snd_pcm_ioplug_set_param_list(plug, SND_PCM_IOPLUG_HW_RATE, rate_count, rates),
      snd_pcm_ioplug_set_param_minmax(plug, SND_PCM_IOPLUG_HW_PERIOD_BYTES, shortest_period_bytes,
                                      buffer / least_periods),
      snd_pcm_ioplug_set_param_minmax(plug, SND_PCM_IOPLUG_HW_BUFFER_BYTES,
                                      shortest_period_bytes * least_periods, buffer),
      snd_pcm_ioplug_set_param_minmax(plug, SND_PCM_IOPLUG_HW_PERIODS, least_periods,
                                      settings.has_one_period ? 1 : most_periods),
  };
  for (const int result : results)
    if (result < 0)
      return result;
  return 0;
}

int announce(open_card &opened, const char *name, snd_pcm_stream_t stream, int mode) noexcept {
  snd_pcm_ioplug_t &plug = opened.plug;
  plug.version = SND_PCM_IOPLUG_VERSION;
  plug.name = "Simulated sound card";
  plug.flags = SND_PCM_IOPLUG_FLAG_MONOTONIC | SND_PCM_IOPLUG_FLAG_BOUNDARY_WA;
  plug.poll_fd = opened.device.period_timer();
  plug.poll_events = POLLIN;
  plug.callback = &callbacks;
  plug.private_data = &opened;
  return snd_pcm_ioplug_create(&plug, name, stream, mode);
}

void discard(open_card *opened) noexcept {
  opened->~open_card();
  std::free(opened);
}

/// There is no microphone.
int open_playback(snd_pcm_t **pcm, const char *name, snd_pcm_stream_t stream, int mode) noexcept {
  void *const memory = stream == SND_PCM_STREAM_PLAYBACK ? std::malloc(sizeof(open_card)) : nullptr;
  if (memory == nullptr)
    return stream == SND_PCM_STREAM_PLAYBACK ? -ENOMEM : -ENODEV;
  auto *const opened = new (memory) open_card;
  int result = opened->device.open();
  if (result >= 0)
    result = announce(*opened, name, stream, mode);
  if (result < 0) {
    discard(opened);
    return result;
  }
  result = limit_parameters(&opened->plug, opened->device.settings());
  if (result < 0)
    snd_pcm_ioplug_delete(&opened->plug); // by way of close()
  else
    *pcm = opened->plug.pcm;
  return result;
}

} // namespace
} // namespace dravik::sim

extern "C" {

// ALSA looks up these two names.
[[gnu::visibility("default")]] int _snd_pcm_dravik_open(snd_pcm_t **pcm, const char *name, snd_config_t *,
                                                        snd_config_t *, snd_pcm_stream_t stream, int mode);
// NOLINTNEXTLINE(clang-diagnostic-reserved-identifier)
[[gnu::visibility("default")]] extern char __snd_pcm_dravik_open_dlsym_pcm_001;

int _snd_pcm_dravik_open(snd_pcm_t **pcm, const char *name, snd_config_t *, snd_config_t *,
                         snd_pcm_stream_t stream, int mode) {
  return dravik::sim::open_playback(pcm, name, stream, mode);
}

char __snd_pcm_dravik_open_dlsym_pcm_001;
}
