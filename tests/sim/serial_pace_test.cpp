// The serial port of a board whose line has a pace: on the plain file, on a terminal of the test's own, and
// on the terminal of the launcher.

#include "base/unique_fd.hpp"
#include "dravik.h"
#include "log/terminal_pair.hpp"
#include "sim/follower.hpp"
#include "sim/launcher.hpp"
#include "support/application.hpp"
#include "support/board.hpp"
#include "support/emulation.hpp"
#include "support/serial_keeper.hpp"
#include "support/stderr_capture.hpp"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <thread>

namespace dravik::test {
namespace {

namespace files = std::filesystem;

constexpr const char *port_path = "/dev/ttyS0";
constexpr const char *port_file = "dev/ttyS0";
constexpr size_t driver_buffer = 4096;
constexpr double bytes_per_second = 11520; // at 115200 baud, with 10 bits per byte

class stopwatch {
public:
  double seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
  }

private:
  std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

/// Text that differs at each place.
std::string text_of(size_t size) {
  std::string text;
  for (size_t i = 0; text.size() < size; ++i)
    text += std::to_string(i) + ' ';
  text.resize(size);
  return text;
}

class SimSerialPace : public testing::Test {
protected:
  SimSerialPace() { board_.set("serial_pace", "line"); }

  static unique_fd opened(int flags, speed_t speed = B115200, tcflag_t more_flags = 0) {
    unique_fd port{::open(port_path, flags | O_NOCTTY)};
    termios settings = {};
    EXPECT_EQ(::tcgetattr(port.get(), &settings), 0);
    ::cfmakeraw(&settings);
    ::cfsetispeed(&settings, speed);
    ::cfsetospeed(&settings, speed);
    settings.c_cflag |= more_flags;
    EXPECT_EQ(::tcsetattr(port.get(), TCSANOW, &settings), 0);
    return port;
  }
  static ssize_t write(const unique_fd &port, std::string_view text) {
    return ::write(port.get(), text.data(), text.size());
  }
  std::string sent() const { return board_.read(port_file); }
  void make_port(const terminal_pair &cable) const {
    board_.remove(port_file);
    files::create_symlink(cable.name(), board_.path(port_file));
  }

  const board board_;
};

// ------------------------------------------------------------------------------------------ the plain file

TEST_F(SimSerialPace, AcceptsADriversBufferWithoutBlocking) {
  const std::string text = text_of(10000);
  const unique_fd port = opened(O_RDWR | O_NONBLOCK);
  const stopwatch since;
  EXPECT_EQ(write(port, text), ssize_t{driver_buffer});
  EXPECT_EQ(sent(), text.substr(0, driver_buffer));
  size_t accepted = driver_buffer;
  while (since.seconds() < 0.1) {
    const ssize_t count = write(port, std::string_view{text}.substr(0, 100));
    EXPECT_TRUE(count > 0 || (count == -1 && errno == EAGAIN)) << count;
    accepted += static_cast<size_t>(std::max<ssize_t>(count, 0));
    ASSERT_LE(static_cast<double>(accepted), driver_buffer + since.seconds() * bytes_per_second + 1);
  }
}

TEST_F(SimSerialPace, BlocksUntilLineHasSentEnough) {
  const std::string text = text_of(9000);
  const unique_fd port = opened(O_WRONLY);
  const stopwatch since;
  EXPECT_EQ(write(port, text), 9000);
  EXPECT_GE(since.seconds(), (9000 - driver_buffer) / bytes_per_second);
  EXPECT_EQ(sent(), text);
}

TEST_F(SimSerialPace, FollowsTheSettingsOfTheLine) {
  const unique_fd fast = opened(O_WRONLY, B460800);
  EXPECT_EQ(write(fast, text_of(driver_buffer)), ssize_t{driver_buffer});
  while (write(unique_fd{::open(port_path, O_WRONLY | O_NONBLOCK)}, "x") != 1) {
  }
  // 9600 baud and 12 bits per byte: 800 bytes per second.
  board_.remove("dev/ttyS0.pace");
  const unique_fd slow = opened(O_WRONLY, B9600, PARENB | CSTOPB);
  const stopwatch since;
  EXPECT_EQ(write(slow, text_of(driver_buffer + 160)), ssize_t{driver_buffer + 160});
  EXPECT_GE(since.seconds(), 0.2);
  EXPECT_LT(since.seconds(), 20);
}

TEST_F(SimSerialPace, IsOffUnlessItIsSet) {
  const std::string text = text_of(1000000);
  for (const char *value : {"none", "", "on"}) {
    board_.set("serial_pace", value);
    const unique_fd port = opened(O_RDWR | O_NONBLOCK);
    EXPECT_EQ(write(port, text), 1000000) << value;
    EXPECT_FALSE(board_.exists("dev/ttyS0.pace"));
  }
}

TEST_F(SimSerialPace, StartsEmptyAfterAStateThatCannotBe) {
  for (const std::string &state : {std::string(8, '\x7F'), std::string(8, '\xFF'), std::string{"half"}}) {
    board_.write("dev/ttyS0.pace", state);
    EXPECT_EQ(write(opened(O_RDWR | O_NONBLOCK), text_of(5000)), ssize_t{driver_buffer});
  }
}

// ------------------------------------------------------------------------------------------ the library

class SimConsolePace : public SimSerialPace {
protected:
  /// Messages of 500 bytes, each handed to the port before the next. Return the time from the first.
  static double print(int messages) {
    EXPECT_EQ(console_init(), 0);
    const stopwatch since;
    for (int i = 0; i < messages; ++i) {
      console_printf("%0499d\n", i);
      while (std::atomic_ref{ptr_rb_head}.load() != std::atomic_ref{ptr_rb_tail}.load())
        std::this_thread::yield();
    }
    const double seconds = since.seconds();
    console_exit();
    return seconds;
  }

  stderr_capture errors_;
};

TEST_F(SimConsolePace, LosesBurstBeyondPace) {
  const double seconds = print(100);
  const std::string text = sent();
  EXPECT_GE(text.size(), driver_buffer);
  EXPECT_LE(static_cast<double>(text.size()), driver_buffer + seconds * bytes_per_second + 1);
  EXPECT_EQ(text.substr(0, 1000), std::string(499, '0') + '\n' + std::string(498, '0') + "1\n");
}

TEST_F(SimConsolePace, SendsBurstWithoutPace) {
  board_.set("serial_pace", "none");
  print(100);
  EXPECT_EQ(sent().size(), 50000U);
}

// ------------------------------------------------------------------------------------------ terminals

TEST_F(SimSerialPace, AppliesToTerminals) {
  const terminal_pair cable;
  make_port(cable);
  const std::string text = text_of(10000);
  const unique_fd port = opened(O_RDWR | O_NONBLOCK);
  const stopwatch since;
  EXPECT_EQ(write(port, text), ssize_t{driver_buffer});
  EXPECT_EQ(cable.read(driver_buffer), text.substr(0, driver_buffer));
  EXPECT_EQ(write(unique_fd{::open(port_path, O_WRONLY | O_NOCTTY)}, text.substr(0, 3000)), 3000);
  EXPECT_GE(since.seconds(), 3000 / bytes_per_second);
  EXPECT_EQ(cable.read(3000), text.substr(0, 3000));
}

TEST_F(SimSerialPace, AppliesToPieces) {
  const terminal_pair cable;
  make_port(cable);
  std::string one = text_of(3000), two = text_of(3000);
  const iovec pieces[] = {{one.data(), one.size()}, {two.data(), two.size()}};
  const unique_fd port = opened(O_RDWR | O_NONBLOCK);
  EXPECT_EQ(::writev(port.get(), pieces, 2), ssize_t{driver_buffer});
  EXPECT_EQ(cable.read(driver_buffer), (one + two).substr(0, driver_buffer));
}

TEST_F(SimSerialPace, IgnoresOtherTerminals) {
  const terminal_pair cable, other;
  make_port(cable);
  termios settings = other.settings();
  ::cfmakeraw(&settings);
  other.set(settings);
  const std::string text = text_of(2000);
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(::write(other.terminal(), text.data(), text.size()), 2000);
    EXPECT_EQ(other.read(2000), text);
  }
  EXPECT_FALSE(board_.exists("dev/ttyS0.pace")); // nothing has passed the line
}

// ------------------------------------------------------------------------------------------ the launcher

TEST_F(SimSerialPace, LimitsApplicationToPaceOfLine) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  const std::string text = text_of(12000);
  board_.write("usr/local/dravik/text", text);
  const stopwatch since;
  const auto result = launch({"run", board_.path(), "--", "/bin/sh", "-c",
                              "stty -F /dev/ttyS0 raw 115200; cat /usr/local/dravik/text >/dev/ttyS0"});
  EXPECT_EQ(result.exit_status(), 0);
  EXPECT_GE(since.seconds(), (12000 - driver_buffer) / bytes_per_second);
  EXPECT_TRUE(board_.read("console") == text);
}

/// Also of what went to the terminal past the calls that the simulator sees.
TEST_F(SimSerialPace, DeliversTextAtPaceOfLine) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  follower events{board_.path()};
  ::mkfifo(board_.path("gate").c_str(), 0600);
  application waiting{board_,
                      "/bin/sh",
                      {"-c", "stty -F /dev/ttyS0 raw 115200; echo ready; read go <" + board_.path("gate")}};
  waiting.await_output("ready\n");
  const unique_fd terminal{::open(files::read_symlink(board_.path(port_file)).c_str(), O_WRONLY | O_NOCTTY)};
  const std::string text = text_of(6000) + "\nend\n";
  const stopwatch since;
  EXPECT_EQ(::syscall(SYS_write, terminal.get(), text.data(), text.size()),
            static_cast<ssize_t>(text.size()));
  EXPECT_TRUE(events.sees("ttyS0: end"));
  EXPECT_GE(since.seconds(), 0.45); // of 0.52 s; the first hundredth comes at once
  board_.write("gate", "\n");
  EXPECT_EQ(waiting.finish(), 0);
  await_serial_keeper(board_.path());
  EXPECT_TRUE(board_.read("console") == text);
}

} // namespace
} // namespace dravik::test
