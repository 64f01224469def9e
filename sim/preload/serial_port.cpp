// The serial port. What is sent goes to the end of the plain file dev/ttyS0 of the board, by whatever call;
// what is to be received comes through the pipe dev/ttyS0.in, which any program may write to. So a descriptor
// for writing alone is one of the plain file, any other one of the pipe, and nobody has to hold the far end.

#include "preload/serial_port.hpp"
#include "board/settings_text.hpp"
#include "preload/board_files.hpp"
#include "preload/device.hpp"
#include "preload/preserve_errno.hpp"

#include <algorithm>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace dravik::sim {
namespace {

constexpr const char *path = "/dev/ttyS0";
constexpr const char *sent_file = "dev/ttyS0";
constexpr const char *input_pipe = "dev/ttyS0.in";
constexpr const char *settings_file = "dev/ttyS0.termios";

bool is_plain_file(int descriptor) noexcept {
  struct stat status;
  return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

/// Opened for both ways, so that the pipe has no end while nobody writes to it.
int open_input(int flags) noexcept {
  const int pipe = open_board_file(input_pipe, O_RDWR | (flags & O_NONBLOCK));
  if (pipe >= 0 && (flags & O_CLOEXEC) == 0)
    ::fcntl(pipe, F_SETFD, 0);
  return pipe;
}

/// A board without the pipe has nothing to receive, and one whose file is a link to a terminal has that
/// for its port.
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

void record_lines(std::string_view text) noexcept {
  while (!text.empty()) {
    const std::string_view line = trimmed(take_until(text, '\n'));
    if (!line.empty())
      record_event("ttyS0: %.*s", static_cast<int>(line.size()), line.data());
  }
}

ssize_t send(int, const void *data, size_t size) noexcept {
  const std::string_view text{static_cast<const char *>(data), size};
  append_to_board_file(sent_file, text);
  record_lines(text);
  return static_cast<ssize_t>(size);
}

/// As the kernel sets a port up that nobody has set up yet.
termios first_settings() noexcept {
  termios settings = {};
  settings.c_iflag = ICRNL | IXON;
  settings.c_oflag = OPOST | ONLCR;
  settings.c_cflag = CS8 | CREAD | HUPCL | CLOCAL;
  settings.c_lflag = ISIG | ICANON | ECHO | ECHOE | ECHOK | ECHOCTL | ECHOKE | IEXTEN;
  ::cfsetispeed(&settings, B9600);
  ::cfsetospeed(&settings, B9600);
  constexpr std::pair<int, cc_t> keys[] = {
      {VINTR, 3},  {VQUIT, 28}, {VERASE, 127},  {VKILL, 21},    {VEOF, 4},     {VMIN, 1},    {VSTART, 17},
      {VSTOP, 19}, {VSUSP, 26}, {VREPRINT, 18}, {VDISCARD, 15}, {VWERASE, 23}, {VLNEXT, 22},
  };
  for (const auto &[key, code] : keys)
    settings.c_cc[key] = code;
  return settings;
}

uint32_t bits_per_second(speed_t speed) noexcept {
  constexpr std::pair<speed_t, uint32_t> speeds[] = {
      {B1200, 1200},   {B2400, 2400},   {B4800, 4800},     {B9600, 9600},     {B19200, 19200},
      {B38400, 38400}, {B57600, 57600}, {B115200, 115200}, {B230400, 230400}, {B460800, 460800},
  };
  const auto *known = std::ranges::find(speeds, speed, &std::pair<speed_t, uint32_t>::first);
  return known != std::end(speeds) ? known->second : 0;
}

/// How many bytes wait, as other devices of the kind tell it.
long count_input(int descriptor, uintptr_t into) noexcept {
  return into == 0 ? -EFAULT : ::syscall(SYS_ioctl, descriptor, FIONREAD, into) == 0 ? 0 : -errno;
}

/// Nobody knows how large the terminal at the far end is.
long tell_size(int, uintptr_t into) noexcept {
  if (into == 0)
    return -EFAULT;
  *reinterpret_cast<winsize *>(into) = {};
  return 0;
}

constexpr request_kind requests[] = {
    {FIONREAD, "count", count_input},
    {TIOCGWINSZ, "size", tell_size},
};

} // namespace

constinit const device serial_port = {
    .path = path, .requests = requests, .opened = choose_direction, .write = send};

bool is_serial_port(int descriptor) noexcept {
  return device_behind(descriptor) == &serial_port;
}

int read_line_settings(termios &settings) noexcept {
  if (const int fault = ordered_fault("tcgetattr", path))
    return -fault;
  constexpr auto size = static_cast<ssize_t>(sizeof settings);
  if (read_board_bytes(settings_file, 0, &settings, sizeof settings) != size)
    settings = first_settings();
  return 0;
}

int change_line_settings(const termios &settings) noexcept {
  termios before;
  if (read_line_settings(before); const int fault = ordered_fault("tcsetattr", path))
    return -fault;
  const speed_t speed = ::cfgetospeed(&settings);
  if (speed != ::cfgetospeed(&before))
    record_event("ttyS0: %u bits per second", bits_per_second(speed));
  return write_board_bytes(settings_file, 0, &settings, sizeof settings) ? 0 : -EIO;
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
