// Speed of the serial line. dev/ttyS0.pace contains the time at which the driver's buffer will be empty, by
// the monotonic clock, for all processes of the board.

#include "preload/serial_pace.hpp"
#include "base/unique_fd.hpp"
#include "board/board_files.hpp"
#include "board/preserve_errno.hpp"
#include "board/serial_line.hpp"
#include "preload/serial_port.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>

namespace dravik::sim {
namespace {

constexpr const char *pace_file = "dev/ttyS0.pace";
constexpr int64_t driver_buffer_bytes = 4096;
constexpr int64_t second_ns = 1'000'000'000;
constexpr timespec retry_interval = {0, 2'000'000};

int64_t now_ns() noexcept {
  timespec now;
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * second_ns + now.tv_nsec;
}

/// Reserve space in the driver's buffer; return the number of bytes. A time that no line could need, as one
/// of before a restart of the host, is ignored.
size_t reserve(size_t wanted, int64_t bytes_per_second) noexcept {
  const preserve_errno unchanged;
  const unique_fd lock{open_board_file(pace_file, O_RDWR | O_CREAT)};
  if (!lock || ::flock(lock.get(), LOCK_EX) != 0)
    return wanted;
  const int64_t now = now_ns(), longest_ns = driver_buffer_bytes * second_ns / bytes_per_second;
  int64_t empty_ns = 0;
  if (read_board_bytes(pace_file, 0, &empty_ns, sizeof empty_ns) != ssize_t{sizeof empty_ns} ||
      empty_ns < now || empty_ns - now > longest_ns)
    empty_ns = now;
  const int64_t waiting = ((empty_ns - now) * bytes_per_second + second_ns - 1) / second_ns;
  const int64_t space = std::max(driver_buffer_bytes - waiting, int64_t{0});
  const size_t taken = std::min(wanted, static_cast<size_t>(space));
  empty_ns += static_cast<int64_t>(taken) * second_ns / bytes_per_second;
  return write_board_bytes(pace_file, 0, &empty_ns, sizeof empty_ns) ? taken : wanted;
}

bool blocks(int descriptor) noexcept {
  return (::fcntl(descriptor, F_GETFL) & O_NONBLOCK) == 0;
}

} // namespace

bool is_paced_terminal(int descriptor) noexcept {
  return is_serial_terminal(descriptor) && line_bytes_per_second() != 0;
}

ssize_t send_at_pace(int descriptor, const char *data, size_t size,
                     ssize_t (*send)(int, const char *, size_t)) noexcept {
  size_t sent = 0;
  while (sent < size) {
    const uint32_t bytes_per_second = line_bytes_per_second();
    const size_t taken = bytes_per_second == 0 ? size - sent : reserve(size - sent, bytes_per_second);
    const ssize_t count = taken == 0 ? 0 : send(descriptor, data + sent, taken);
    if (count < 0)
      return sent > 0 ? static_cast<ssize_t>(sent) : count;
    sent += static_cast<size_t>(count);
    if (sent == size)
      break;
    const int error = !blocks(descriptor) ? EAGAIN : ::nanosleep(&retry_interval, nullptr) != 0 ? EINTR : 0;
    if (error != 0)
      return sent > 0 ? static_cast<ssize_t>(sent) : -error;
  }
  return static_cast<ssize_t>(sent);
}

} // namespace dravik::sim
