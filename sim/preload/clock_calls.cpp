// The calls that set the clock. A board has the clock of the host, which must not be set.

#include "board/board_files.hpp"
#include "board/chosen_board.hpp"
#include "preload/next.hpp"

#include <cerrno>
#include <cstddef>
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

/// Every layout of the record begins with the word that selects what is set.
bool sets(const unsigned *modes) noexcept {
  return modes != nullptr && *modes != 0 && *modes != ADJ_OFFSET_SS_READ;
}

} // namespace
} // namespace dravik::sim

using dravik::sim::sets;
using dravik::sim::unless_set;
using timestamp = const void *; ///< of any layout

static_assert(offsetof(timex, modes) == 0);

#define SIM_SET(name, parameters, is_set, arguments)                                                         \
  SIM_DEFINE(int, name, parameters) {                                                                        \
    return unless_set(#name, is_set, [=] { return SIM_NEXT(name) arguments; });                              \
  }

SIM_SET(clock_settime, (clockid_t clock, timestamp time), true, (clock, time))
SIM_SET(settimeofday, (timestamp time, const void *zone), true, (time, zone))
SIM_SET(stime, (timestamp time), true, (time))
SIM_SET(adjtime, (timestamp change, void *left), change != nullptr, (change, left))
SIM_SET(adjtimex, (unsigned *times), sets(times), (times))
SIM_SET(clock_adjtime, (clockid_t clock, unsigned *times), sets(times), (clock, times))
SIM_SET(ntp_adjtime, (unsigned *times), sets(times), (times))

// The same with 64-bit times, on 32-bit machines.
SIM_SET(__clock_settime64, (clockid_t clock, timestamp time), true, (clock, time))
SIM_SET(__settimeofday64, (timestamp time, const void *zone), true, (time, zone))
SIM_SET(__adjtime64, (timestamp change, void *left), change != nullptr, (change, left))
SIM_SET(___adjtimex64, (unsigned *times), sets(times), (times))
SIM_SET(__clock_adjtime64, (clockid_t clock, unsigned *times), sets(times), (clock, times))
