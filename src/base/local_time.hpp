// Local time, by the time zone as it is set at the call.
#pragma once

#include <ctime>

namespace dravik {

inline tm local_time(time_t seconds) noexcept {
  tm local = {};
  ::tzset();
  ::localtime_r(&seconds, &local);
  return local;
}

} // namespace dravik
