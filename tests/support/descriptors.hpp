// The descriptors that a process has open.
#pragma once

#include <cstddef>
#include <fcntl.h>

namespace dravik::test {

inline size_t open_descriptors() {
  size_t count = 0;
  for (int descriptor = 0; descriptor < 1024; ++descriptor)
    if (::fcntl(descriptor, F_GETFD) >= 0)
      ++count;
  return count;
}

} // namespace dravik::test
