// Real-time priorities, for hosts that do not permit them to ordinary users. The priority is stored and
// returned; the thread runs like any other.

#include "board/board_files.hpp"
#include "board/settings_text.hpp"
#include "preload/next.hpp"
#include "preload/path_map.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <ctime>
#include <pthread.h>
#include <sched.h>

namespace dravik::sim {
namespace {

/// The kernel's number of a thread, at most 22 bits; a pthread_t is given out again after it. 0 is none.
using thread_number = uint32_t;
constexpr thread_number largest_thread_number = (1U << 22) - 1;

/// The number is part of that of the thread's clock.
thread_number number_of_thread(pthread_t thread) noexcept {
  clockid_t clock = 0;
  return ::pthread_getcpuclockid(thread, &clock) == 0
             ? ~(static_cast<uint32_t>(clock) >> 3) & largest_thread_number
             : 0;
}

struct granted { // 32 bits: what every machine replaces as a whole
  uint32_t thread : 22;
  uint32_t policy : 2;
  uint32_t priority : 8;
};
static_assert(sizeof(granted) == 4 && std::max(SCHED_FIFO, SCHED_RR) < 4);

/// Stores the last threads that were granted a priority. Takes no lock, since
/// a fork may happen at any time.
class granted_priorities {
public:
  void forget(thread_number thread) noexcept {
    for (std::atomic<granted> &place : places_)
      if (granted known = place.load(); known.thread == thread)
        place.compare_exchange_strong(known, {});
  }

  void remember(const granted &wanted) noexcept {
    forget(wanted.thread);
    for (std::atomic<granted> &place : places_)
      if (granted nothing = {}; place.compare_exchange_strong(nothing, wanted))
        return;
    places_[oldest_.fetch_add(1) % places_.size()] = wanted;
  }

  granted find(thread_number thread) const noexcept {
    for (const std::atomic<granted> &place : places_)
      if (const granted known = place.load(); known.thread == thread)
        return known;
    return {};
  }

private:
  std::array<std::atomic<granted>, 64> places_ = {};
  std::atomic<size_t> oldest_ = 0;
};
constinit granted_priorities priorities;

bool is_real_time(int policy) noexcept {
  return policy == SCHED_FIFO || policy == SCHED_RR;
}

/// Set a priority by the host's call, `next`, as the board's settings permit.
template <typename Next>
int set_real_time(pthread_t thread, int policy, const sched_param &parameters, Next next) noexcept {
  const board_text settings{"board.conf"};
  const std::string_view realtime = value_of(settings, "realtime");
  const int priority = parameters.sched_priority;
  if (realtime == "refused") {
    record_event("thread: real-time priority %d, refused", priority);
    return EPERM;
  }
  const bool is_valid =
      priority >= ::sched_get_priority_min(policy) && priority <= ::sched_get_priority_max(policy);
  const int answer = realtime != "simulated" || !is_valid ? next(thread, policy, &parameters) : EPERM;
  if (answer == 0) {
    priorities.forget(number_of_thread(thread));
    record_event("thread: real-time priority %d", priority);
  }
  if (answer != EPERM)
    return answer;
  priorities.remember({number_of_thread(thread) & largest_thread_number, static_cast<uint32_t>(policy) & 3,
                       static_cast<uint32_t>(priority) & 0xFF});
  record_event("thread: real-time priority %d, simulated", priority);
  return 0;
}

} // namespace
} // namespace dravik::sim

using namespace dravik::sim;

SIM_DEFINE(int, pthread_setschedparam, (pthread_t thread, int policy, const sched_param *parameters)) {
  const auto next = SIM_NEXT(pthread_setschedparam);
  if (board_directory() != nullptr && is_real_time(policy))
    return set_real_time(thread, policy, *parameters, next);
  const int answer = next(thread, policy, parameters);
  if (answer == 0)
    priorities.forget(number_of_thread(thread));
  return answer;
}

SIM_DEFINE(int, pthread_getschedparam, (pthread_t thread, int *policy, sched_param *parameters)) {
  const granted known = priorities.find(number_of_thread(thread));
  if (known.thread == 0)
    return SIM_NEXT(pthread_getschedparam)(thread, policy, parameters);
  *policy = static_cast<int>(known.policy);
  parameters->sched_priority = static_cast<int>(known.priority);
  return 0;
}
