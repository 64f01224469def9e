// A terminal with the test at its other end.
#pragma once

#include "base/unique_fd.hpp"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <string>
#include <string_view>
#include <termios.h>
#include <unistd.h>

namespace dravik::test {

class terminal_pair {
public:
  terminal_pair()
      : far_end_(::posix_openpt(O_RDWR | O_NOCTTY)), name_(unlocked_name(far_end_.get())),
        terminal_(::open(name_.c_str(), O_RDWR | O_NOCTTY)) {
    if (!terminal_)
      std::abort();
  }

  const std::string &name() const { return name_; }
  int terminal() const { return terminal_.get(); }

  termios settings() const {
    termios current = {};
    EXPECT_EQ(::tcgetattr(terminal_.get(), &current), 0);
    return current;
  }
  void set(const termios &settings) const { ASSERT_EQ(::tcsetattr(terminal_.get(), TCSANOW, &settings), 0); }

  /// Send keys to the terminal.
  void press(std::string_view keys) const {
    ASSERT_EQ(::write(far_end_.get(), keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
  }

  /// Wait for so many bytes from the terminal.
  std::string read(size_t count) const {
    std::string text;
    char block[4096];
    pollfd ready = {far_end_.get(), POLLIN, 0};
    while (text.size() < count && ::poll(&ready, 1, patience_ms) == 1) {
      const ssize_t got = ::read(far_end_.get(), block, std::min(sizeof block, count - text.size()));
      text.append(block, got > 0 ? static_cast<size_t>(got) : 0);
    }
    return text;
  }

  /// What came from the terminal until now.
  std::string read_all() const {
    constexpr char mark = '\1';
    EXPECT_EQ(::write(terminal_.get(), &mark, 1), 1);
    std::string text;
    for (std::string next; (next = read(1)).size() == 1 && next[0] != mark;)
      text += next;
    return text;
  }

private:
  static constexpr int patience_ms = 20000;

  static std::string unlocked_name(int far_end) {
    const char *name = ::grantpt(far_end) == 0 && ::unlockpt(far_end) == 0 ? ::ptsname(far_end) : nullptr;
    return name != nullptr ? name : "";
  }

  unique_fd far_end_;
  std::string name_;
  unique_fd terminal_;
};

inline bool are_same(const termios &one, const termios &other) {
  return one.c_iflag == other.c_iflag && one.c_oflag == other.c_oflag && one.c_cflag == other.c_cflag &&
         one.c_lflag == other.c_lflag && std::equal(one.c_cc, one.c_cc + NCCS, other.c_cc) &&
         ::cfgetispeed(&one) == ::cfgetispeed(&other) && ::cfgetospeed(&one) == ::cfgetospeed(&other);
}

} // namespace dravik::test
