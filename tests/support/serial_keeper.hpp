// The end of the process that `dravik-sim run` leaves running for a moment.
#pragma once

#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <unistd.h>

namespace dravik::test {

/// Wait until no application is on a board and its serial port is at rest: the keeper holds a lock as long
/// as it lives.
inline void await_serial_keeper(const std::string &board) {
  const int list = ::open((board + "/dev/ttyS0.keeper").c_str(), O_RDONLY | O_CLOEXEC);
  if (list < 0)
    return;
  ::flock(list, LOCK_EX);
  ::close(list);
}

} // namespace dravik::test
