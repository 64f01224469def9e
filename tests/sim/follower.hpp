// `dravik-sim events`, read line by line.
#pragma once

#include "base/unique_fd.hpp"
#include "sim/launcher.hpp"
#include "support/paths.hpp"

#include <csignal>
#include <gtest/gtest.h>
#include <poll.h>

namespace dravik::test {

class follower {
public:
  explicit follower(const std::string &board) {
    std::array<int, 2> ends;
    if (::pipe(ends.data()) != 0)
      std::abort();
    child_ = ::fork();
    if (child_ == 0) {
      ::close(ends[0]);
      become({launcher_path, "events", board}, ends[1], STDERR_FILENO);
    }
    ::close(ends[1]);
    output_.reset(ends[0]);
  }
  ~follower() {
    if (child_ > 0)
      end(SIGKILL);
  }
  follower(const follower &) = delete;
  follower &operator=(const follower &) = delete;

  /// The next line, awaited; empty when there are no more.
  std::string line() {
    std::string text;
    char next;
    pollfd ready = {output_.get(), POLLIN, 0};
    while (::poll(&ready, 1, patience_ms) == 1 && ::read(output_.get(), &next, 1) == 1 && next != '\n')
      text += next;
    return text;
  }

  /// Read until a line comes that is as expected.
  bool sees(const std::string &expected) {
    for (std::string next; !(next = line()).empty();)
      if (next == expected)
        return true;
    return false;
  }

  void stop_reading() { output_.reset(); }

  /// Send a signal and return the status of waitpid().
  int end(int signal = 0) {
    if (signal != 0)
      ::kill(child_, signal);
    int status = 0;
    ::waitpid(std::exchange(child_, -1), &status, 0);
    return status;
  }

private:
  static constexpr int patience_ms = 20000;
  pid_t child_ = -1;
  unique_fd output_;
};

} // namespace dravik::test
