// The console's port and the thread that sends. This program interposes the calls that they make: the port
// leads to a terminal of the test, and the thread's rounds are let through one by one.

#include "dravik.h"
#include "log/terminal_pair.hpp"
#include "support/next_call.hpp"
#include "support/stderr_capture.hpp"

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstdarg>
#include <gmock/gmock.h>
#include <mutex>
#include <optional>
#include <sched.h>
#include <vector>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char *port_path = "/dev/ttyS0";

/// The console's requests to its port, and the port's answers.
struct watched_port {
  std::string leads_to;
  std::atomic<int> descriptor = -1;
  std::vector<std::string> calls;
  std::optional<termios> applied;
  bool refuses_settings = false;
  std::optional<int> no_thread; ///< the result of starting one

  std::mutex mutex;
  std::vector<std::string> sent;
  std::optional<ssize_t> answer; ///< to a write; a negative one is a failure

  ssize_t take(const char *text, size_t length) {
    const std::lock_guard holding{mutex};
    sent.emplace_back(text, length);
    errno = EAGAIN;
    return answer.value_or(static_cast<ssize_t>(length));
  }
  std::vector<std::string> take_sent() {
    const std::lock_guard holding{mutex};
    return std::exchange(sent, {});
  }
  void note(int of_descriptor, std::string call) {
    if (of_descriptor == descriptor)
      calls.push_back(std::move(call));
  }
} port;

/// Where the thread pauses between two rounds.
class turnstile {
public:
  enum class state { open, closed, closed_until_told_to_end };

  void set(state next) {
    const std::lock_guard holding{mutex_};
    state_ = next;
    changed_.notify_all();
  }

  /// Let the thread through, and waits until it is back; so a whole round lies between.
  void one_round() {
    await_thread();
    std::unique_lock holding{mutex_};
    ++tickets_;
    is_here_ = false;
    changed_.notify_all();
    changed_.wait(holding, [this] { return is_here_; });
  }

  void await_thread() {
    std::unique_lock holding{mutex_};
    changed_.wait(holding, [this] { return is_here_; });
  }

  void pass(unsigned microseconds) {
    std::unique_lock holding{mutex_};
    pauses_us_ = microseconds;
    is_here_ = true;
    changed_.notify_all();
    changed_.wait(holding, [this] { return tickets_ > 0 || state_ != state::closed; });
    if (tickets_ > 0) {
      --tickets_;
      return;
    }
    is_here_ = false;
    const bool until_end = state_ == state::closed_until_told_to_end;
    holding.unlock();
    while (until_end && std::atomic_ref{__console_io_canceled_write}.load(std::memory_order_acquire) == 0)
      ::sched_yield();
  }

  unsigned pauses_us() {
    const std::lock_guard holding{mutex_};
    return pauses_us_;
  }

private:
  std::mutex mutex_;
  std::condition_variable changed_;
  state state_ = state::open;
  bool is_here_ = false;
  int tickets_ = 0;
  unsigned pauses_us_ = 0;
} pause_between_rounds;

} // namespace
} // namespace dravik::test

extern "C" {

using dravik::test::next_call;
using dravik::test::port;

int open(const char *path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  static const auto next = next_call<int(const char *, int, ...)>("open");
  if (std::string_view{path} != dravik::test::port_path)
    return next(path, flags, mode);
  const bool as_wanted = flags == (O_RDWR | O_NOCTTY | O_NONBLOCK);
  port.calls.emplace_back(as_wanted ? "open" : "open with other flags");
  return port.descriptor = next(port.leads_to.c_str(), flags, mode);
}

int tcflush(int descriptor, int which) noexcept {
  static const auto next = next_call<int(int, int)>("tcflush");
  port.note(descriptor, which == TCIOFLUSH ? "flush" : "flush one way");
  return next(descriptor, which);
}

int tcgetattr(int descriptor, termios *settings) noexcept {
  static const auto next = next_call<int(int, termios *)>("tcgetattr");
  port.note(descriptor, "get");
  return next(descriptor, settings);
}

int tcsetattr(int descriptor, int when, const termios *settings) noexcept {
  static const auto next = next_call<int(int, int, const termios *)>("tcsetattr");
  if (descriptor != port.descriptor)
    return next(descriptor, when, settings);
  port.calls.emplace_back(when == TCSANOW ? "set" : "set later");
  port.applied = *settings;
  errno = EIO;
  return port.refuses_settings ? -1 : next(descriptor, when, settings);
}

ssize_t write(int descriptor, const void *data, size_t size) {
  static const auto next = next_call<ssize_t(int, const void *, size_t)>("write");
  if (descriptor < 0 || descriptor != port.descriptor)
    return next(descriptor, data, size);
  const ssize_t taken = port.take(static_cast<const char *>(data), size);
  return taken > 0 ? next(descriptor, data, static_cast<size_t>(taken)) : taken;
}

int usleep(useconds_t microseconds) {
  dravik::test::pause_between_rounds.pass(microseconds);
  return 0;
}

int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*run)(void *),
                   void *argument) noexcept {
  static const auto next =
      next_call<int(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *)>("pthread_create");
  if (port.descriptor < 0)
    return next(thread, attributes, run, argument);
  port.calls.emplace_back(attributes == nullptr ? "thread" : "thread with attributes");
  errno = EAGAIN;
  return port.no_thread ? *port.no_thread : next(thread, attributes, run, argument);
}

} // extern "C"

namespace dravik::test {
namespace {

using gate = turnstile::state;

class SerialPort : public testing::Test {
protected:
  SerialPort() {
    port.leads_to = terminal_.name();
    pause_between_rounds.set(gate::closed);
  }
  ~SerialPort() override {
    pause_between_rounds.set(gate::open);
    if (console_write_fd >= 0)
      console_exit();
  }

  void expect_start() {
    ASSERT_EQ(console_init(), 0);
    pause_between_rounds.await_thread();
  }

  /// What one round of the thread sends.
  static std::vector<std::string> sent_in_a_round() {
    pause_between_rounds.one_round();
    return port.take_sent();
  }

  /// Print and send, so that head and tail are at a position in the ring.
  static void move_to(size_t place) {
    console_printf("%s", std::string(place, '-').c_str());
    ASSERT_EQ(sent_in_a_round().size(), 1U);
    ASSERT_EQ(ptr_rb_head - ring_buf, static_cast<std::ptrdiff_t>(place));
  }

  stderr_capture errors_;
  terminal_pair terminal_;
};

// ------------------------------------------------------------------------------------------------ start-up

TEST_F(SerialPort, RequestsSettingsInOrder) {
  expect_start();
  EXPECT_THAT(port.calls, ElementsAre("open", "flush", "get", "set", "flush", "thread"));
  EXPECT_EQ(errors_.take(), "");
  EXPECT_EQ(console_write_fd, port.descriptor);
}

TEST_F(SerialPort, MakesPortRaw) {
  termios cooked = terminal_.settings();
  cooked.c_iflag |= ICRNL | IXON | BRKINT;
  cooked.c_oflag |= OPOST;
  cooked.c_lflag |= ICANON | ECHO | ISIG | IEXTEN;
  cooked.c_cflag = (cooked.c_cflag | CRTSCTS | HUPCL) & ~tcflag_t{CLOCAL};
  ::cfsetspeed(&cooked, B9600);
  terminal_.set(cooked);
  termios expected = terminal_.settings();
  expect_start();
  ::cfmakeraw(&expected);
  expected.c_cflag |= CLOCAL;
  expected.c_cflag &= ~tcflag_t{CRTSCTS};
  ::cfsetspeed(&expected, B115200);
  ASSERT_TRUE(port.applied);
  EXPECT_TRUE(are_same(*port.applied, expected));
  const termios now = terminal_.settings();
  EXPECT_EQ(::cfgetispeed(&now), speed_t{B115200});
  EXPECT_EQ(::cfgetospeed(&now), speed_t{B115200});
  EXPECT_EQ(now.c_cflag & (CLOCAL | CRTSCTS), tcflag_t{CLOCAL});
  EXPECT_EQ(now.c_lflag & (ICANON | ECHO | ISIG | IEXTEN), 0U);
  EXPECT_EQ(now.c_oflag & OPOST, 0U);
}

TEST_F(SerialPort, StartsWithEmptyRing) {
  expect_start();
  EXPECT_EQ(ptr_rb_head, ring_buf);
  EXPECT_EQ(ptr_rb_tail, ring_buf);
  EXPECT_THAT(sent_in_a_round(), IsEmpty());
  EXPECT_EQ(pause_between_rounds.pauses_us(), 1000U);
}

TEST_F(SerialPort, FailsForMissingPort) {
  port.leads_to = "/dev/null/none";
  EXPECT_EQ(console_init(), -1);
  EXPECT_EQ(errors_.take(), "Can't get port settings: Bad file descriptor\n");
  EXPECT_EQ(console_write_fd, -1);
  EXPECT_EQ(ptr_rb_tail, nullptr);
}

TEST_F(SerialPort, FailsForPlainFile) {
  port.leads_to = "/dev/null";
  EXPECT_EQ(console_init(), -1);
  EXPECT_EQ(errors_.take(), "Can't get port settings: Inappropriate ioctl for device\n");
  EXPECT_THAT(port.calls, ElementsAre("open", "flush", "get"));
  EXPECT_EQ(console_write_fd, port.descriptor);
  EXPECT_EQ(ptr_rb_tail, nullptr);
}

TEST_F(SerialPort, FailsIfSettingsAreRejected) {
  port.refuses_settings = true;
  EXPECT_EQ(console_init(), -1);
  EXPECT_EQ(errors_.take(), "Can't set port settings: Input/output error\n");
  EXPECT_THAT(port.calls, ElementsAre("open", "flush", "get", "set"));
  EXPECT_EQ(ptr_rb_tail, nullptr);
}

TEST_F(SerialPort, ContinuesWithoutThread) {
  port.no_thread = EAGAIN;
  EXPECT_EQ(console_init(), 0);
  EXPECT_EQ(errors_.take(), "");
  console_printf("waits");
  EXPECT_EQ(ptr_rb_tail - ring_buf, 5);
  EXPECT_EQ(console_exit(), 0); // has no thread to wait for
}

TEST_F(SerialPort, ReportsNegativeResultOfStartingThread) {
  port.no_thread = -1;
  EXPECT_EQ(console_init(), 0);
  EXPECT_THAT(errors_.take(), StartsWith("pthread_create uart_read failed\n: "));
}

// ------------------------------------------------------------------------------------------------ sending

TEST_F(SerialPort, SendsTextInOrder) {
  expect_start();
  pause_between_rounds.set(gate::open);
  std::string all;
  for (int line = 0; line < 200; ++line) {
    console_printf("line %d\r\n", line);
    all += "line " + std::to_string(line) + "\r\n";
  }
  EXPECT_EQ(terminal_.read(all.size()), all);
}

TEST_F(SerialPort, SendsAllPendingTextInOneWrite) {
  expect_start();
  console_printf("one ");
  console_printf("two ");
  console_printf("%s", "three");
  EXPECT_THAT(sent_in_a_round(), ElementsAre("one two three"));
  EXPECT_EQ(ptr_rb_head, ptr_rb_tail);
  EXPECT_EQ(ptr_rb_head - ring_buf, 13);
  EXPECT_THAT(sent_in_a_round(), IsEmpty());
}

TEST_F(SerialPort, RoundsWithoutTextWriteNothing) {
  expect_start();
  for (int round = 0; round < 3; ++round)
    EXPECT_THAT(sent_in_a_round(), IsEmpty());
}

TEST_F(SerialPort, SendsTextAtEndOfRingThenFromStart) {
  expect_start();
  move_to(4090);
  console_printf("sixers");
  EXPECT_THAT(sent_in_a_round(), ElementsAre("sixers"));
  EXPECT_EQ(ptr_rb_head - ring_buf, DRAVIK_CONSOLE_RING_SIZE);
  console_printf("again");
  EXPECT_THAT(sent_in_a_round(), ElementsAre("again"));
  EXPECT_EQ(ptr_rb_head - ring_buf, 5);
}

TEST_F(SerialPort, SendsWrappedTextInOneWrite) {
  expect_start();
  move_to(4094);
  console_printf("wrapped");
  EXPECT_THAT(sent_in_a_round(), ElementsAre("wrapped"));
  EXPECT_EQ(ptr_rb_head - ring_buf, 5);
}

TEST_F(SerialPort, SendsLongWrappedTextWhole) {
  expect_start();
  move_to(2000);
  const std::string text = std::string(2096, 'e') + std::string(1999, 's');
  for (size_t at = 0; at < text.size(); at += 200)
    console_printf("%s", text.substr(at, 200).c_str());
  std::string joined;
  for (const std::string &part : sent_in_a_round())
    joined += part;
  EXPECT_EQ(joined, text);
}

TEST_F(SerialPort, RejectsNextMessageIfFullAtEnd) {
  expect_start();
  move_to(4000);
  console_printf("%s", std::string(96, 'x').c_str());
  ASSERT_EQ(sent_in_a_round().size(), 1U); // head and tail are on the end
  const std::string text(4095, 'y');
  console_printf("%s", text.c_str());
  EXPECT_EQ(errors_.take(), "");
  EXPECT_EQ(console_printf("lost"), 0);
  EXPECT_EQ(errors_.take(), "ring buffer full, skip console msg\n");
  EXPECT_THAT(sent_in_a_round(), ElementsAre(text));
}

TEST_F(SerialPort, LosesAllTextIfTailMeetsHead) {
  expect_start();
  move_to(100);
  console_printf("%s", std::string(96, 'x').c_str());
  console_printf("%s", std::string(4000, 'y').c_str()); // the tail is where the head is
  EXPECT_EQ(errors_.take(), "");
  EXPECT_THAT(sent_in_a_round(), IsEmpty());
}

TEST_F(SerialPort, SendsEndOfMessageThatPassesHead) {
  expect_start();
  console_printf("%s", std::string(4000, 'a').c_str());
  console_printf("%s", std::string(300, 'b').c_str()); // 96 up to the end, 204 from the start
  EXPECT_THAT(sent_in_a_round(), ElementsAre(std::string(204, 'b')));
}

TEST_F(SerialPort, SendsWholeRingFromStartToEnd) {
  expect_start();
  console_printf("%s", std::string(2096, 'a').c_str());
  console_printf("%s", std::string(2000, 'b').c_str());
  EXPECT_EQ(ptr_rb_tail - ring_buf, DRAVIK_CONSOLE_RING_SIZE);
  EXPECT_THAT(sent_in_a_round(), ElementsAre(std::string(2096, 'a') + std::string(2000, 'b')));
}

TEST_F(SerialPort, LosesTextThatPortDoesNotAccept) {
  expect_start();
  for (const ssize_t answer : {ssize_t{-1}, ssize_t{0}, ssize_t{3}}) {
    port.answer = answer;
    console_printf("partly");
    EXPECT_THAT(sent_in_a_round(), ElementsAre("partly"));
    EXPECT_THAT(sent_in_a_round(), IsEmpty());
  }
  port.answer = {};
  console_printf("next");
  EXPECT_THAT(sent_in_a_round(), ElementsAre("next"));
  EXPECT_EQ(terminal_.read(7), "parnext");
  EXPECT_EQ(errors_.take(), "");
}

// ------------------------------------------------------------------------------------------------ the end

TEST_F(SerialPort, ReportsStartAndEndOfExit) {
  expect_start();
  pause_between_rounds.set(gate::open);
  const int descriptor = console_write_fd;
  EXPECT_EQ(console_exit(), 0);
  EXPECT_EQ(errors_.take(), "console_exit+\nconsole_exit-\n");
  EXPECT_EQ(__console_io_canceled_write, 1);
  EXPECT_EQ(console_write_fd, -1);
  EXPECT_EQ(::fcntl(descriptor, F_GETFD), -1);
}

TEST_F(SerialPort, DropsTextAfterLastRound) {
  expect_start();
  console_printf("late");
  pause_between_rounds.set(gate::closed_until_told_to_end);
  console_exit();
  EXPECT_THAT(port.take_sent(), IsEmpty());
}

TEST_F(SerialPort, ReturnsResultOfFlushingStandardError) {
  expect_start();
  pause_between_rounds.set(gate::open);
  const unique_fd full{::open("/dev/full", O_WRONLY)};
  const unique_fd before{::dup(STDERR_FILENO)};
  std::setvbuf(stderr, nullptr, _IOFBF, 4096);
  ::dup2(full.get(), STDERR_FILENO);
  EXPECT_EQ(console_exit(), EOF);
  ::dup2(before.get(), STDERR_FILENO);
  std::setvbuf(stderr, nullptr, _IONBF, 0);
}

TEST_F(SerialPort, SendsNothingIfStoppedBeforeStart) {
  __console_io_canceled_write = 1;
  ASSERT_EQ(console_init(), 0);
  console_printf("never");
  pause_between_rounds.set(gate::open);
  console_exit();
  EXPECT_THAT(port.take_sent(), IsEmpty());
  EXPECT_EQ(pause_between_rounds.pauses_us(), 0U); // not even a pause
}

TEST_F(SerialPort, StopsThreadOfSecondInitImmediately) {
  expect_start();
  pause_between_rounds.set(gate::open);
  console_exit();
  ASSERT_EQ(console_init(), 0);
  EXPECT_EQ(ptr_rb_head, ring_buf);
  console_printf("never");
  EXPECT_EQ(console_exit(), 0);
  EXPECT_THAT(port.take_sent(), IsEmpty());
}

} // namespace
} // namespace dravik::test
