// Serial console: messages are queued in a ring buffer, which a thread sends, so that callers do not wait
// for the port.

#include "base/mutex_lock.hpp"
#include "dravik.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <pthread.h>
#include <termios.h>
#include <unistd.h>

extern "C" {
constinit char ring_buf[DRAVIK_CONSOLE_RING_SIZE] = {};
constinit char *ptr_rb_head = nullptr;
constinit char *ptr_rb_tail = nullptr;
constinit char console_msg[DRAVIK_CONSOLE_MESSAGE_SIZE] = {};
constinit int32_t console_msg_len = 0;
constinit int32_t console_write_fd = -1;
constinit int32_t __console_io_canceled_write =
    0; // NOLINT(clang-diagnostic-reserved-identifier): the interface's name
}

namespace dravik::log {
namespace {

constexpr const char *port_path = "/dev/ttyS0";
constexpr useconds_t pause_us = 1000;
constexpr size_t ring_size = DRAVIK_CONSOLE_RING_SIZE;

// Initialised before any thread runs, so that several threads may print for the first time.
constinit pthread_mutex_t console_mutex = PTHREAD_MUTEX_INITIALIZER;
constinit pthread_t writer = {};
constinit bool has_writer = false;

std::atomic_ref<int32_t> stop_flag() noexcept {
  return std::atomic_ref{__console_io_canceled_write};
}

// ------------------------------------------------------------------------------------------------ the ring

/// Return a position in the ring buffer as an index; the end is the same as the start.
size_t index_of(const char *position) noexcept {
  return static_cast<size_t>(position - ring_buf) % ring_size;
}

/// Intentional: the ring buffer counts as full only while exactly one byte is free.
bool is_full() noexcept {
  return (index_of(ptr_rb_tail) + 1) % ring_size == index_of(ptr_rb_head);
}

/// Store a message. Intentional: it overwrites unsent text; only a full ring buffer rejects it.
void store(const char *text, size_t length) noexcept {
  const size_t room = static_cast<size_t>(std::end(ring_buf) - ptr_rb_tail);
  if (room >= length) {
    std::memcpy(ptr_rb_tail, text, length);
    ptr_rb_tail += length; // may end up one past the end
    return;
  }
  std::memcpy(ptr_rb_tail, text, room);
  std::memcpy(ring_buf, text + room, length - room);
  ptr_rb_tail = ring_buf + (length - room);
}

/// Send all queued text in one write; what the port does not accept is lost.
void send_waiting() noexcept {
  const mutex_lock holding{console_mutex};
  const char *const head = ptr_rb_head;
  const char *const tail = ptr_rb_tail;
  ssize_t sent = 0;
  if (head < tail) {
    sent = ::write(console_write_fd, head, static_cast<size_t>(tail - head));
  } else if (head > tail) {
    std::array<char, ring_size> text;
    char *end = std::copy<const char *>(head, std::end(ring_buf), text.data());
    end = std::copy<const char *>(ring_buf, tail, end);
    sent = ::write(console_write_fd, text.data(), static_cast<size_t>(end - text.data()));
  }
  static_cast<void>(sent);
  ptr_rb_head = ptr_rb_tail;
}

extern "C" void *uart_read(void *) noexcept {
  while (stop_flag().load(std::memory_order_acquire) == 0) {
    send_waiting();
    ::usleep(pause_us);
  }
  return nullptr;
}

// ------------------------------------------------------------------------------------------------ the port

bool set_up_port() noexcept {
  console_write_fd = ::open(port_path, O_RDWR | O_NOCTTY | O_NONBLOCK);
  ::tcflush(console_write_fd, TCIOFLUSH);
  termios settings;
  if (::tcgetattr(console_write_fd, &settings) != 0) {
    std::perror("Can't get port settings");
    return false;
  }
  ::cfmakeraw(&settings);
  settings.c_cflag = (settings.c_cflag | CLOCAL) & ~tcflag_t{CRTSCTS};
  ::cfsetispeed(&settings, B115200);
  ::cfsetospeed(&settings, B115200);
  if (::tcsetattr(console_write_fd, TCSANOW, &settings) != 0) {
    std::perror("Can't set port settings");
    return false;
  }
  ::tcflush(console_write_fd, TCIOFLUSH);
  return true;
}

void start_writer() noexcept {
  const int error = ::pthread_create(&writer, nullptr, uart_read, nullptr);
  if (error < 0)
    std::perror("pthread_create uart_read failed\n");
  has_writer = error == 0;
}

/// Format and queue a message, and copy what fits to ::console_msg.
DRAVIK_PRINTF(1, 0) void print(const char *format, va_list arguments) noexcept {
  std::array<char, ring_size> text; // a message longer than the ring buffer is truncated
  const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
  if (length < 0)
    return;
  const size_t kept = std::min<size_t>(static_cast<size_t>(length), text.size() - 1);

  const mutex_lock holding{console_mutex};
  console_msg_len = length;
  const size_t shown = std::min(kept, sizeof console_msg - 1);
  std::memcpy(console_msg, text.data(), shown);
  console_msg[shown] = '\0';
  if (ptr_rb_tail == nullptr)
    return; // not initialised
  if (is_full()) {
    std::fprintf(stderr, "ring buffer full, skip console msg\n");
    return;
  }
  store(text.data(), kept);
}

/// Disables line editing and echo of standard input during its lifetime.
class single_keys {
public:
  single_keys() noexcept : is_terminal_(::tcgetattr(STDIN_FILENO, &saved_) == 0) {
    if (!is_terminal_)
      return;
    termios settings = saved_;
    settings.c_lflag &= ~tcflag_t{ICANON | ECHO};
    ::tcsetattr(STDIN_FILENO, TCSANOW, &settings);
  }
  ~single_keys() noexcept {
    if (is_terminal_)
      ::tcsetattr(STDIN_FILENO, TCSANOW, &saved_);
  }
  single_keys(const single_keys &) = delete;
  single_keys &operator=(const single_keys &) = delete;

private:
  termios saved_ = {};
  bool is_terminal_;
};

} // namespace
} // namespace dravik::log

extern "C" {

using namespace dravik::log;

int console_init() noexcept {
  if (!set_up_port())
    return -1;
  ptr_rb_head = ptr_rb_tail = ring_buf;
  start_writer();
  return 0;
}

int console_printf(const char *format, ...) noexcept {
  va_list arguments;
  va_start(arguments, format);
  print(format, arguments);
  va_end(arguments);
  return 0;
}

int console_exit() noexcept {
  std::fprintf(stderr, "%s+\n", "console_exit");
  std::fflush(stderr);
  stop_flag().store(1, std::memory_order_release);
  if (has_writer)
    ::pthread_join(writer, nullptr);
  has_writer = false;
  ::close(console_write_fd);
  console_write_fd = -1;
  std::fprintf(stderr, "%s-\n", "console_exit");
  return std::fflush(stderr);
}

int getch() noexcept {
  const single_keys while_reading;
  return std::getchar();
}

} // extern "C"
