// Captures standard error while an object lives.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace dravik::test {

class stderr_capture {
public:
  stderr_capture() : before_(::dup(STDERR_FILENO)), file_(std::tmpfile()) {
    if (before_ < 0 || file_ == nullptr)
      std::abort();
    std::fflush(stderr);
    ::dup2(::fileno(file_), STDERR_FILENO);
  }
  ~stderr_capture() {
    std::fflush(stderr);
    ::dup2(before_, STDERR_FILENO);
    ::close(before_);
    std::fclose(file_);
  }
  stderr_capture(const stderr_capture &) = delete;
  stderr_capture &operator=(const stderr_capture &) = delete;

  /// The output since the last call.
  std::string take() {
    std::fflush(stderr);
    std::string text;
    char block[4096];
    const int fd = ::fileno(file_);
    for (ssize_t got; (got = ::pread(fd, block, sizeof block, static_cast<off_t>(taken_))) > 0;) {
      text.append(block, static_cast<size_t>(got));
      taken_ += static_cast<size_t>(got);
    }
    return text;
  }

private:
  int before_;
  std::FILE *file_;
  size_t taken_ = 0;
};

} // namespace dravik::test
