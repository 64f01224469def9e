// The calls that set the clock. A board has the clock of the host, which must not be set.

#include "board/board_files.hpp"
#include "board/chosen_board.hpp"
#include "preload/next.hpp"

#include <cerrno>
#include <ctime>
#include <sys/time.h>
#include <sys/timex.h>

namespace dravik::sim {
namespace {

/// Call `next`, unless that would set the clock.
template <typename Next> int unless_set(const char *name, bool sets, Next next) noexcept {
  if (!sets || board_directory() == nullptr)
    return next();
  record_event("clock: %s refused", name);
  errno = EPERM;
  return -1;
}

bool sets(const timex *times) noexcept {
  return times != nullptr && times->modes != 0 && times->modes != ADJ_OFFSET_SS_READ;
}

} // namespace
} // namespace dravik::sim

using dravik::sim::sets;
using dravik::sim::unless_set;

SIM_DEFINE(int, clock_settime, (clockid_t clock, const timespec *time)) {
  return unless_set("clock_settime", true, [=] { return SIM_NEXT(clock_settime)(clock, time); });
}

SIM_DEFINE(int, settimeofday, (const timeval *time, const void *zone)) {
  return unless_set("settimeofday", true, [=] { return SIM_NEXT(settimeofday)(time, zone); });
}

SIM_DEFINE(int, stime, (const time_t *time)) {
  return unless_set("stime", true, [=] { return SIM_NEXT(stime)(time); });
}

SIM_DEFINE(int, adjtime, (const timeval *change, timeval *left)) {
  return unless_set("adjtime", change != nullptr, [=] { return SIM_NEXT(adjtime)(change, left); });
}

SIM_DEFINE(int, adjtimex, (timex * times)) {
  return unless_set("adjtimex", sets(times), [=] { return SIM_NEXT(adjtimex)(times); });
}

SIM_DEFINE(int, clock_adjtime, (clockid_t clock, timex *times)) {
  return unless_set("clock_adjtime", sets(times), [=] { return SIM_NEXT(clock_adjtime)(clock, times); });
}

SIM_DEFINE(int, ntp_adjtime, (timex * times)) {
  return unless_set("ntp_adjtime", sets(times), [=] { return SIM_NEXT(ntp_adjtime)(times); });
}
