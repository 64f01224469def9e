// Programs run on the board of a test, as users run them, and their contents on its screen.
#pragma once

#include "support/board.hpp"

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace dravik::test {

/// A program on the test's board. It is killed if it still runs at the end.
class application {
public:
  application(const board &on, const std::string &program, std::vector<std::string> arguments = {});
  ~application();
  application(const application &) = delete;
  application &operator=(const application &) = delete;

  /// Wait until its standard error contains this text. The test fails if it ends without.
  void await_error(std::string_view text);
  /// The same of its standard output.
  void await_output(std::string_view text);
  void send(int signal) const;
  /// Wait for its end. Return its exit status; that of one ended by a signal is the signal's number + 128.
  int finish();

  /// What it wrote, complete after finish().
  const std::string &output() const noexcept { return output_; }
  const std::string &errors() const noexcept { return errors_; }

private:
  pid_t process_ = -1;
  int output_pipe_ = -1;
  int error_pipe_ = -1;
  std::string output_;
  std::string errors_;
};

/// The board's screen memory at one moment.
class shot {
public:
  shot(const board &of, const sim::screen &shown);

  uint16_t at(uint32_t x, uint32_t y) const { return pixels_[y * pitch_ + x]; }
  std::vector<uint16_t> area(uint32_t x, uint32_t y, uint32_t width, uint32_t height) const;
  std::set<uint16_t> colours(uint32_t x, uint32_t y, uint32_t width, uint32_t height) const;

private:
  std::vector<uint16_t> pixels_;
  size_t pitch_;
};

} // namespace dravik::test
