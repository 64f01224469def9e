// The serial port. Output is appended to the plain file dev/ttyS0 of the board; input comes through the
// pipe dev/ttyS0.in, which any program may write to. So a write-only descriptor is one of the plain file,
// any other one of the pipe, and no process has to hold the other end.
//
// If dev/ttyS0 is a link to a terminal, as for applications that the launcher has started, that is the
// port; only its configuration is seen here.

#include "preload/serial_port.hpp"
#include "base/unique_fd.hpp"
#include "board/board_files.hpp"
#include "board/preserve_errno.hpp"
#include "board/serial_line.hpp"
#include "preload/device.hpp"
#include "preload/path_map.hpp"
#include "preload/serial_pace.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

constexpr std::string_view path = "/dev/ttyS0";
constexpr const char *sent_file = "dev/ttyS0";
constexpr const char *input_pipe = "dev/ttyS0.in";

bool is_plain_file(int descriptor) noexcept {
  struct stat status;
  return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

/// Opened for reading and writing, so that the pipe has no end of file while no process writes to it.
int open_input(int flags) noexcept {
  const int pipe = open_board_file(input_pipe, O_RDWR | (flags & O_NONBLOCK));
  if (pipe >= 0 && (flags & O_CLOEXEC) == 0)
    ::fcntl(pipe, F_SETFD, 0);
  return pipe;
}

/// A board without the pipe has no input. If its file is a link to a terminal, that is the port.
int choose_direction(int descriptor, int flags) noexcept {
  const preserve_errno unchanged;
  if ((flags & O_PATH) != 0 || !is_plain_file(descriptor))
    return descriptor;
  ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) | O_APPEND);
  const int input = (flags & O_ACCMODE) != O_WRONLY ? open_input(flags) : -1;
  if (input < 0)
    return descriptor;
  ::close(descriptor);
  return input;
}

ssize_t append(int, const char *data, size_t size) noexcept {
  append_to_board_file(sent_file, {data, size});
  record_sent_lines({data, size});
  return static_cast<ssize_t>(size);
}

ssize_t send(int descriptor, const void *data, size_t size) noexcept {
  return send_at_pace(descriptor, static_cast<const char *>(data), size, append);
}

/// Number of bytes that can be read (FIONREAD).
long count_input(int descriptor, uintptr_t into) noexcept {
  return into == 0 ? -EFAULT : ::syscall(SYS_ioctl, descriptor, FIONREAD, into) == 0 ? 0 : -errno;
}

/// The size of the terminal at the other end is unknown.
long report_window_size(int, uintptr_t into) noexcept {
  if (into == 0)
    return -EFAULT;
  *reinterpret_cast<winsize *>(into) = {};
  return 0;
}

constexpr request_kind requests[] = {
    {FIONREAD, "count", count_input},
    {TIOCGWINSZ, "size", report_window_size},
};

} // namespace

constinit const device serial_port =
    checked({.entry = entry_of(path), .requests = requests, .opened = choose_direction, .write = send});

bool is_serial_port(int descriptor) noexcept {
  return device_behind(descriptor) == &serial_port;
}

bool is_serial_terminal(int descriptor) noexcept {
  const preserve_errno unchanged;
  struct stat opened, port;
  if (board_directory() == nullptr || ::fstat(descriptor, &opened) != 0 || !S_ISCHR(opened.st_mode))
    return false;
  const unique_fd link{open_board_file(sent_file, O_PATH)};
  return link && ::fstat(link.get(), &port) == 0 && S_ISCHR(port.st_mode) && port.st_rdev == opened.st_rdev;
}

int read_line_settings(termios &settings) noexcept {
  settings = kept_line_settings();
  return -injected_fault("tcgetattr", path);
}

int change_line_settings(const termios &settings) noexcept {
  if (const int fault = injected_fault("tcsetattr", path))
    return -fault;
  return keep_line_settings(settings) ? 0 : -EIO;
}

int discard_input(int descriptor) noexcept {
  char bytes[256];
  pollfd input = {descriptor, POLLIN, 0};
  while (::poll(&input, 1, 0) == 1 && (input.revents & POLLIN) != 0 &&
         ::syscall(SYS_read, descriptor, bytes, sizeof bytes) > 0) {
  }
  return 0;
}

} // namespace dravik::sim
