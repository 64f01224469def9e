// Sound engine: a queue of requests, and a real-time thread that plays them one at a time.

#include "sound/engine.hpp"
#include "base/mutex_lock.hpp"
#include "dravik.h"
#include "sound/pcm_output.hpp"
#include "sound/wave_player.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <string_view>
#include <unistd.h>

namespace dravik::sound {
namespace {

constexpr int priority = 90;
constexpr useconds_t pause_us = 150000; ///< after every wake-up
constexpr uint32_t slots = DRAVIK_SOUND_QUEUE;
constexpr size_t path_size = DRAVIK_SOUND_PATH_MAX + 1;

// Plain words that several threads access without the mutex: use word().
constinit uint32_t snd_thread_state = 0; ///< 1 from locking the mutex to unlocking it
constinit uint32_t snd_stop_flag = 0;    ///< stops the current playback at its next chunk
constinit uint32_t snd_running = 0;
constinit uint32_t snd_takes_requests = 0; ///< from a complete snd_init() to snd_exit()

// Held by the thread while it plays, so that callers wait for the current playback. Never destroyed: other
// threads may wait for it while the engine starts or stops.
constinit pthread_mutex_t snd_mutex = PTHREAD_MUTEX_INITIALIZER;
sem_t snd_sem; ///< one post per request, and one to stop
constinit pthread_t snd_thread = {};

// The ring buffer, guarded by the mutex. Intentional: it does not detect overflow. After four requests the
// indices are equal again, as if there were none, and a fifth replaces the first.
constinit uint32_t snd_req_write = 0; ///< the next free slot
constinit uint32_t snd_req_read = 0;  ///< the next slot to play
constinit std::array<sound_format, slots> snd_req_type = {};
constinit std::array<std::array<char, path_size>, slots> snd_req_path = {};

constinit uint32_t snd_decoded_samples = 0; ///< of the current request, for the debugger

std::atomic_ref<uint32_t> word(uint32_t &flag) noexcept {
  return std::atomic_ref{flag};
}

bool takes_requests() noexcept {
  return word(snd_takes_requests).load(std::memory_order_acquire) != 0;
}

uint32_t next_slot(uint32_t slot) noexcept {
  return (slot + 1) % slots;
}

/// Return the format of a file by its path: the extension may be anywhere in it.
sound_format format_of(std::string_view path) noexcept {
  const auto has = [path](std::string_view ending) { return path.find(ending) != std::string_view::npos; };
  if (has(".mp3"))
    return sound_format::mp3;
  if (has(".pcm"))
    return sound_format::raw_pcm;
  return has(".wav") ? sound_format::wav : sound_format::raw_pcm;
}

void play(uint32_t slot) noexcept {
  const char *const path = snd_req_path[slot].data();
  if (snd_req_type[slot] == sound_format::mp3)
    mp3_playback(path);
  else
    play_wave(path, snd_req_type[slot]);
}

/// Play the next request. Intentional: a wake-up without a request moves the read index to one past
/// the write index.
void serve_request() noexcept {
  const mutex_lock holding{snd_mutex};
  word(snd_thread_state).store(1, std::memory_order_relaxed);
  snd_decoded_samples = 0;
  if (snd_req_write != snd_req_read) {
    play(snd_req_read);
    snd_req_read = next_slot(snd_req_read);
  } else {
    snd_req_read = next_slot(snd_req_write);
  }
  ::usleep(pause_us);
  word(snd_thread_state).store(0, std::memory_order_relaxed);
}

/// Wait for a post; repeat after a signal.
void wait_for_post() noexcept {
  while (::sem_wait(&snd_sem) != 0 && errno == EINTR) {
  }
}

extern "C" void *play_snd_thread(void *) noexcept {
  while (word(snd_running).load(std::memory_order_acquire) != 0) {
    wait_for_post();
    serve_request();
  }
  return nullptr;
}

/// Request the priority. Return whether it is in force.
bool set_real_time(pthread_t thread) noexcept {
  sched_param parameters = {};
  parameters.sched_priority = priority;
  if (::pthread_setschedparam(thread, SCHED_FIFO, &parameters) != 0)
    std::perror("pthread_setschedparam");
  int policy = SCHED_OTHER;
  parameters.sched_priority = 0;
  ::pthread_getschedparam(thread, &policy, &parameters);
  return thread != pthread_t{} && parameters.sched_priority == priority;
}

void join_thread() noexcept {
  ::sem_post(&snd_sem);
  ::pthread_join(snd_thread, nullptr);
  ::sem_destroy(&snd_sem);
}

int32_t start() noexcept {
  ::sem_init(&snd_sem, 0, 0);
  word(snd_running).store(1, std::memory_order_release);
  if (::pthread_create(&snd_thread, nullptr, play_snd_thread, nullptr) != 0) {
    ::sem_destroy(&snd_sem);
    std::perror("pthread_create play_snd_thread failed\n");
    return -1;
  }
  if (set_real_time(snd_thread)) {
    word(snd_takes_requests).store(1, std::memory_order_release);
    return 1;
  }
  word(snd_running).store(0, std::memory_order_release);
  join_thread();
  log_printf("set realtime schedule err");
  return -1;
}

/// Release stopped players, and queue the file if the engine runs. Return whether it does.
bool queue(const char *path, size_t length) noexcept {
  const mutex_lock holding{snd_mutex};
  word(snd_stop_flag).store(0, std::memory_order_relaxed);
  if (!takes_requests())
    return false;
  snd_req_type[snd_req_write] = format_of({path, length});
  std::copy_n(path, length + 1, snd_req_path[snd_req_write].data());
  snd_req_write = next_slot(snd_req_write);
  return true;
}

} // namespace

bool is_stop_requested() noexcept {
  return word(snd_stop_flag).load(std::memory_order_relaxed) != 0;
}

void add_decoded_samples(uint32_t count) noexcept {
  snd_decoded_samples += count;
}

} // namespace dravik::sound

extern "C" {

using namespace dravik::sound;

int32_t snd_init() noexcept {
  return word(snd_running).load(std::memory_order_relaxed) != 0 ? 1 : start();
}

int32_t snd_play_direct(const char *path, int32_t stop_current) noexcept {
  const size_t length = std::string_view{path}.size();
  if (length >= path_size) {
    log_printf("%s():path of %zu characters, at most %zu are possible", "snd_play_direct", length,
               path_size - 1);
    return 1;
  }
  if (stop_current == 1)
    word(snd_stop_flag).store(1, std::memory_order_relaxed);
  if (queue(path, length))
    ::sem_post(&snd_sem);
  log_printf("%s():%s", "snd_play_direct", path);
  return 1;
}

int32_t snd_stopall() noexcept {
  word(snd_stop_flag).store(1, std::memory_order_relaxed);
  ::pthread_mutex_lock(&snd_mutex);
  snd_req_write = snd_req_read;
  return ::pthread_mutex_unlock(&snd_mutex);
}

uint32_t get_snd_thread_state() noexcept {
  return word(snd_thread_state).load(std::memory_order_relaxed);
}

void snd_exit() noexcept {
  if (word(snd_running).exchange(0, std::memory_order_acq_rel) == 0 || !takes_requests())
    return;
  {
    const dravik::mutex_lock holding{snd_mutex};
    word(snd_takes_requests).store(0, std::memory_order_release);
    snd_req_read = snd_req_write;
  }
  join_thread();
}

} // extern "C"
