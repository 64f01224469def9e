// The engine on a stage.

#include "sound/engine_stage.hpp"
#include "support/next_call.hpp"

#include <atomic>
#include <cerrno>
#include <mad.h>
#include <optional>
#include <semaphore.h>
#include <unistd.h>

namespace dravik::test {

engine_stage stage;

namespace {

constexpr unsigned long period_frames = 4;
constexpr size_t samples_a_read = 2 * period_frames;

thread_local bool announces_lock = false;
thread_local std::optional<int> unlock_result;

} // namespace

void gate::close() {
  const std::lock_guard holding{mutex_};
  is_open_ = false;
}

void gate::open() {
  const std::lock_guard holding{mutex_};
  is_open_ = true;
  changed_.notify_all();
}

void gate::admit(int count) {
  const std::lock_guard holding{mutex_};
  tickets_ += count;
  changed_.notify_all();
}

void gate::await(int arrivals) {
  std::unique_lock holding{mutex_};
  changed_.wait(holding, [this, arrivals] { return arrivals_ >= arrivals; });
}

int gate::arrivals() {
  const std::lock_guard holding{mutex_};
  return arrivals_;
}

void gate::pass() {
  std::unique_lock holding{mutex_};
  ++arrivals_;
  changed_.notify_all();
  changed_.wait(holding, [this] { return is_open_ || tickets_ > 0; });
  if (!is_open_)
    --tickets_;
}

void announce_lock() {
  announces_lock = true;
}

void set_unlock_result(int result) {
  unlock_result = result;
}

engine_fixture::engine_fixture() {
  reset_alsa();
  alsa.period_frames = period_frames;
  alsa.on_write = [] { stage.writes.pass(); };
}

engine_fixture::~engine_fixture() {
  for (gate *one : {&stage.wake_ups, &stage.writes, &stage.errors, &stage.pauses, &stage.callers})
    one->open();
  snd_exit();
}

int32_t engine_fixture::start() {
  stage.is_starting = true;
  const int32_t result = snd_init();
  stage.is_starting = false;
  return result;
}

std::string engine_fixture::sound(int number, size_t reads) const {
  std::string samples;
  for (size_t i = 0; i < samples_a_read * reads; ++i)
    samples += {static_cast<char>(number), '\0'};
  const std::string name = "sounds/" + std::to_string(number) + ".pcm";
  board_.write(name, samples);
  return board_.path(name);
}

std::vector<int> engine_fixture::heard() {
  std::vector<int> numbers;
  for (const scripted_alsa::written &one : alsa.writes)
    numbers.push_back(one.content.at(0));
  return numbers;
}

std::vector<std::string> engine_fixture::messages() const {
  std::vector<std::string> all = log_messages(board_.path("tmp/dravik.log"));
  std::erase_if(all, [](const std::string &line) { return line.starts_with("snd_play_direct():/"); });
  return all;
}

} // namespace dravik::test

using dravik::test::next_call;
using dravik::test::stage;

namespace {

using mutex_call = int(pthread_mutex_t *);

/// Without the guard of a static variable, which locks a mutex itself on ARMv5.
mutex_call *next_mutex_call(std::atomic<mutex_call *> &known, const char *name) {
  if (known == nullptr)
    known = next_call<mutex_call>(name);
  return known;
}

} // namespace

extern "C" {

int sem_wait(sem_t *semaphore) {
  static const auto next = next_call<int(sem_t *)>("sem_wait");
  if (stage.interruptions > 0) {
    --stage.interruptions;
    errno = EINTR;
    return -1;
  }
  stage.idle.pass();
  const int result = next(semaphore);
  stage.wake_ups.pass();
  return result;
}

const char *mad_stream_errorstr(const mad_stream *stream) {
  static const auto next = next_call<const char *(const mad_stream *)>("mad_stream_errorstr");
  stage.errors.pass();
  return next(stream);
}

int usleep(useconds_t microseconds) {
  stage.pauses_us.push_back(microseconds);
  stage.pauses.pass();
  return 0;
}

int pthread_mutex_lock(pthread_mutex_t *mutex) noexcept {
  static constinit std::atomic<mutex_call *> known = nullptr;
  mutex_call *next = next_mutex_call(known, "pthread_mutex_lock");
  if (dravik::test::announces_lock) {
    dravik::test::announces_lock = false;
    stage.mutex = mutex;
    stage.callers.pass();
  }
  return next(mutex);
}

int pthread_mutex_unlock(pthread_mutex_t *mutex) noexcept {
  static constinit std::atomic<mutex_call *> known = nullptr;
  mutex_call *next = next_mutex_call(known, "pthread_mutex_unlock");
  const int result = next(mutex);
  return dravik::test::unlock_result.value_or(result);
}

int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*run)(void *),
                   void *argument) noexcept {
  static const auto next =
      next_call<int(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *)>("pthread_create");
  if (!stage.is_starting)
    return next(thread, attributes, run, argument);
  stage.calls.emplace_back(attributes == nullptr && argument == nullptr ? "create" : "create another");
  if (stage.has_no_threads)
    return errno = EAGAIN;
  const int result = next(thread, attributes, run, argument);
  stage.thread = *thread;
  return result;
}

int pthread_setschedparam(pthread_t thread, int policy, const sched_param *parameters) noexcept {
  const std::string whose = thread == stage.thread ? "" : " of another thread";
  const std::string name = policy == SCHED_FIFO ? "FIFO" : std::to_string(policy);
  stage.calls.push_back("set " + name + ' ' + std::to_string(parameters->sched_priority) + whose);
  return stage.refuses_priority ? errno = EPERM : 0;
}

int pthread_getschedparam(pthread_t thread, int *policy, sched_param *parameters) noexcept {
  stage.calls.emplace_back(thread == stage.thread ? "get" : "get of another thread");
  *policy = SCHED_FIFO;
  parameters->sched_priority = stage.granted_priority;
  return 0;
}

int pthread_join(pthread_t thread, void **result) {
  static const auto next = next_call<int(pthread_t, void **)>("pthread_join");
  const int joined = next(thread, result);
  if (thread == stage.thread)
    stage.calls.emplace_back("join");
  return joined;
}

} // extern "C"
