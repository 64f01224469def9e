// The serial port of a simulated board: by the library's console, by plain calls, by other programs.

#include "base/unique_fd.hpp"
#include "dravik.h"
#include "log/terminal_pair.hpp"
#include "sim/follower.hpp"
#include "sim/launcher.hpp"
#include "support/board.hpp"
#include "support/emulation.hpp"
#include "support/stderr_capture.hpp"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <sys/uio.h>
#include <termios.h>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char *port_path = "/dev/ttyS0";
constexpr const char *input = "dev/ttyS0.in";

class SimSerialPort : public testing::Test {
protected:
  static unique_fd opened(int flags) {
    unique_fd port{::open(port_path, flags | O_NOCTTY)};
    EXPECT_TRUE(port);
    return port;
  }
  void type(std::string_view text) const { board_.write(input, text); }
  std::string sent() const { return board_.read("dev/ttyS0"); }
  static std::string received(const unique_fd &port) {
    std::array<char, 64> text;
    const ssize_t count = ::read(port.get(), text.data(), text.size());
    return count < 0 ? "nothing" : std::string(text.data(), static_cast<size_t>(count));
  }

  const board board_;
};

// ------------------------------------------------------------------------------------------- the library

class SimConsole : public SimSerialPort {
protected:
  stderr_capture errors_;
};

TEST_F(SimConsole, PrintsIntoTheBoardsFileAndItsEvents) {
  follower events{board_.path()};
  ASSERT_EQ(console_init(), 0);
  console_printf("speed %d km/h\nlane kept\n", 52);
  EXPECT_TRUE(events.sees("ttyS0: lane kept"));
  console_exit();
  EXPECT_EQ(sent(), "speed 52 km/h\nlane kept\n");
  EXPECT_THAT(board_.events(),
              ElementsAre("ttyS0: 115200 bits per second", "ttyS0: speed 52 km/h", "ttyS0: lane kept"));
}

TEST_F(SimConsole, FailsToStartIfInjected) {
  const std::pair<const char *, const char *> cases[] = {
      {"open", "get"}, {"tcgetattr", "get"}, {"tcsetattr", "set"}};
  for (const auto &[request, verb] : cases) {
    board_.set_fault(request, port_path, "EIO");
    EXPECT_EQ(console_init(), -1) << request;
    EXPECT_THAT(errors_.take(), testing::StartsWith(std::string{"Can't "} + verb + " port settings: "))
        << request;
    board_.clear_faults();
  }
}

TEST_F(SimConsole, ReadsKeyFromPort) {
  const unique_fd before{::dup(STDIN_FILENO)};
  ::dup2(opened(O_RDWR).get(), STDIN_FILENO);
  type("k");
  EXPECT_EQ(getch(), 'k');
  EXPECT_THAT(board_.events(), IsEmpty());
  ::dup2(before.get(), STDIN_FILENO);
}

// ------------------------------------------------------------------------------------------- sending

TEST_F(SimSerialPort, AppendsSentText) {
  const unique_fd both = opened(O_RDWR);
  const unique_fd writer = opened(O_WRONLY | O_TRUNC);
  EXPECT_EQ(::write(both.get(), "one\n", 4), 4);
  EXPECT_EQ(::write(writer.get(), "two", 3), 3);
  EXPECT_EQ(::write(both.get(), "\r\n\r\nthree", 9), 9);
  EXPECT_EQ(sent(), "one\ntwo\r\n\r\nthree");
  EXPECT_THAT(board_.events(), ElementsAre("ttyS0: one", "ttyS0: two", "ttyS0: three"));
}

TEST_F(SimSerialPort, SendsPiecesTogether) {
  const unique_fd port = opened(O_RDWR);
  char one[] = "to", two[] = "gether";
  const iovec pieces[] = {{one, 2}, {two, 6}};
  EXPECT_EQ(::writev(port.get(), pieces, 2), 8);
  EXPECT_THAT(board_.events(), ElementsAre("ttyS0: together"));
}

TEST_F(SimSerialPort, DoesNotEchoSentText) {
  const unique_fd port = opened(O_RDWR | O_NONBLOCK);
  EXPECT_EQ(::write(port.get(), "out", 3), 3);
  EXPECT_EQ(received(port), "nothing");
  EXPECT_EQ(errno, EAGAIN);
}

TEST_F(SimSerialPort, SendsEachLineOfStream) {
  std::FILE *stream = std::fopen(port_path, "w");
  ASSERT_NE(stream, nullptr);
  std::fputs("line\nrest", stream);
  EXPECT_EQ(sent(), "line\n");
  std::fclose(stream);
  EXPECT_EQ(sent(), "line\nrest");
}

TEST_F(SimSerialPort, AppendsFromReopenedStream) {
  ::write(opened(O_WRONLY).get(), "first\n", 6);
  std::FILE *stream = std::freopen(port_path, "w", std::tmpfile());
  ASSERT_NE(stream, nullptr);
  std::fputs("second\n", stream);
  std::fclose(stream);
  EXPECT_EQ(sent(), "first\nsecond\n");
}

TEST_F(SimSerialPort, SendsFromShells) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  for (const char *shell : {"sh", "bash"})
    EXPECT_EQ(launch({"run", board_.path(), "--", shell, "-c", "echo $0 >/dev/ttyS0; ls -d /dev >/dev/ttyS0"})
                  .exit_status(),
              0);
  EXPECT_EQ(sent(), "sh\r\n/dev\r\nbash\r\n/dev\r\n");
}

TEST_F(SimSerialPort, SendsFromChildren) {
  const unique_fd port = opened(O_RDWR);
  const pid_t child = ::fork();
  if (child == 0)
    ::_exit(::write(port.get(), "child\n", 6) == 6 ? 0 : 1);
  int status = -1;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(sent(), "child\n");
}

// ------------------------------------------------------------------------------------------- receiving

TEST_F(SimSerialPort, ReceivesTypedText) {
  const unique_fd port = opened(O_RDWR | O_NONBLOCK);
  EXPECT_EQ(received(port), "nothing");
  EXPECT_EQ(errno, EAGAIN);
  type("start\n");
  pollfd ready = {port.get(), POLLIN, 0};
  EXPECT_EQ(::poll(&ready, 1, 0), 1);
  EXPECT_EQ(ready.revents, POLLIN);
  EXPECT_EQ(received(port), "start\n");
  type("stop"); // another program
  EXPECT_EQ(received(port), "stop");
}

TEST_F(SimSerialPort, HasNoEndWhenTheTypistLeaves) {
  const unique_fd port = opened(O_RDONLY);
  type("x");
  EXPECT_EQ(received(port), "x");
  pollfd ready = {port.get(), POLLIN, 0};
  EXPECT_EQ(::poll(&ready, 1, 0), 0);
}

TEST_F(SimSerialPort, DropsUnreadTextOnFlush) {
  const unique_fd port = opened(O_RDWR | O_NONBLOCK);
  type(std::string(1000, 'x'));
  EXPECT_EQ(::tcflush(port.get(), TCOFLUSH), 0);
  int waiting = 0;
  EXPECT_EQ(::ioctl(port.get(), FIONREAD, &waiting), 0);
  EXPECT_EQ(waiting, 1000);
  EXPECT_EQ(::tcflush(port.get(), TCIFLUSH), 0);
  EXPECT_EQ(received(port), "nothing");
  type("y");
  termios settings;
  ::tcgetattr(port.get(), &settings);
  EXPECT_EQ(::tcsetattr(port.get(), TCSAFLUSH, &settings), 0);
  EXPECT_EQ(received(port), "nothing");
}

TEST_F(SimSerialPort, FlushesBlockingPortWithoutBlocking) {
  const unique_fd port = opened(O_RDWR);
  EXPECT_EQ(::tcflush(port.get(), TCIOFLUSH), 0);
}

// ------------------------------------------------------------------------------------------- the terminal

TEST_F(SimSerialPort, IsATerminalInEachDirection) {
  for (const int flags : {O_RDONLY, O_WRONLY, O_RDWR}) {
    const unique_fd port = opened(flags);
    EXPECT_EQ(::isatty(port.get()), 1);
    termios settings;
    EXPECT_EQ(::tcgetattr(port.get(), &settings), 0);
    EXPECT_EQ(::tcdrain(port.get()), 0);
    EXPECT_EQ(::tcflow(port.get(), TCOON), 0);
    EXPECT_EQ(::tcsendbreak(port.get(), 0), 0);
  }
  const unique_fd file{::open("/tmp/ptb", O_RDWR | O_CREAT, 0644)};
  EXPECT_EQ(::isatty(file.get()), 0);
  termios settings;
  EXPECT_EQ(::tcgetattr(file.get(), &settings), -1);
  EXPECT_EQ(::tcflush(file.get(), TCIFLUSH), -1);
}

TEST_F(SimSerialPort, KeepsSettingsForNextProgram) {
  termios settings;
  ASSERT_EQ(::tcgetattr(opened(O_RDWR).get(), &settings), 0);
  EXPECT_EQ(::cfgetospeed(&settings), speed_t{B9600});
  EXPECT_NE(settings.c_lflag & ICANON, 0U);
  ::cfmakeraw(&settings);
  ::cfsetospeed(&settings, B19200);
  ASSERT_EQ(::tcsetattr(opened(O_RDWR).get(), TCSANOW, &settings), 0);
  termios kept;
  ASSERT_EQ(::tcgetattr(opened(O_RDONLY).get(), &kept), 0);
  EXPECT_TRUE(are_same(settings, kept));
  EXPECT_THAT(board_.events(), ElementsAre("ttyS0: 19200 bits per second"));
}

TEST_F(SimSerialPort, IsSetUpByOtherPrograms) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  const auto stty = [&](const char *what) {
    return launch({"run", board_.path(), "--", "stty", "-F", port_path, what});
  };
  EXPECT_EQ(stty("speed").output, "9600\n");
  EXPECT_EQ(stty("57600").exit_status(), 0);
  EXPECT_EQ(stty("speed").output, "57600\n");
  EXPECT_THAT(stty("-a").output, testing::HasSubstr("speed 57600 baud; rows 0; columns 0;"));
}

TEST_F(SimSerialPort, RejectsUnknownRequests) {
  const unique_fd port = opened(O_RDWR);
  int lines;
  EXPECT_EQ(::ioctl(port.get(), TIOCMGET, &lines), -1);
  EXPECT_EQ(errno, ENOTTY);
  EXPECT_EQ(::ioctl(port.get(), FIONREAD, nullptr), -1);
  EXPECT_EQ(errno, EFAULT);
  EXPECT_THAT(board_.events(), ElementsAre("ttyS0: request 0x5415 refused"));
}

// ------------------------------------------------------------------------------------------- failures, links

TEST_F(SimSerialPort, RequestsFailByInjectedFaults) {
  const unique_fd port = opened(O_RDWR);
  board_.set_fault("count", port_path, "EIO");
  board_.set_fault("size", port_path, "ENXIO");
  int waiting = 7;
  EXPECT_EQ(::ioctl(port.get(), FIONREAD, &waiting), -1);
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(waiting, 7);
  winsize size = {};
  EXPECT_EQ(::ioctl(port.get(), TIOCGWINSZ, &size), -1);
  EXPECT_EQ(errno, ENXIO);
}

TEST_F(SimSerialPort, ReadsAndWritesFailAsOrdered) {
  const unique_fd port = opened(O_RDWR);
  board_.set_fault("write", port_path, "EIO");
  board_.set_fault("read", port_path, "ENXIO");
  EXPECT_EQ(::write(port.get(), "x", 1), -1);
  EXPECT_EQ(errno, EIO);
  type("y");
  EXPECT_EQ(received(port), "nothing");
  EXPECT_EQ(errno, ENXIO);
  board_.clear_faults();
  EXPECT_EQ(received(port), "y");
  EXPECT_EQ(sent(), "");
  EXPECT_THAT(board_.events(), IsEmpty());
}

TEST_F(SimSerialPort, IsMissingWithoutFile) {
  board_.remove("dev/ttyS0");
  for (const int flags : {O_RDONLY, O_WRONLY, O_RDWR}) {
    EXPECT_EQ(::open(port_path, flags), -1);
    EXPECT_EQ(errno, ENOENT);
  }
}

TEST_F(SimSerialPort, SendsAndReceivesNothingWithoutPipe) {
  board_.remove(input);
  const unique_fd port = opened(O_RDWR);
  EXPECT_EQ(::isatty(port.get()), 1);
  EXPECT_EQ(::write(port.get(), "out\n", 4), 4);
  EXPECT_EQ(sent(), "out\n");
}

TEST_F(SimSerialPort, UsesLinkedTerminalAsPort) {
  const terminal_pair cable;
  board_.remove("dev/ttyS0");
  std::filesystem::create_symlink(cable.name(), board_.path("dev/ttyS0"));
  const unique_fd port = opened(O_RDWR);
  EXPECT_EQ(::write(port.get(), "far", 3), 3);
  EXPECT_EQ(cable.read(3), "far");
  termios settings;
  EXPECT_EQ(::tcgetattr(port.get(), &settings), 0);
  EXPECT_TRUE(are_same(settings, cable.settings()));
}

} // namespace
} // namespace dravik::test
