// Programs run on the board of a test, and their contents on its screen.

#include "support/application.hpp"
#include "support/emulation.hpp"
#include "support/leave_board.hpp"
#include "support/paths.hpp"

#include <array>
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace dravik::test {
namespace {

struct pipe_ends {
  int to_read = -1, to_write = -1;
};

pipe_ends make_pipe() {
  std::array<int, 2> ends = {-1, -1};
  EXPECT_EQ(::pipe(ends.data()), 0);
  return {ends[0], ends[1]};
}

/// Append what comes next; false at the end.
bool read_more(int from, std::string &text) {
  std::array<char, 4096> block;
  const ssize_t length = ::read(from, block.data(), block.size());
  if (length <= 0)
    return false;
  text.append(block.data(), static_cast<size_t>(length));
  return true;
}

void await(std::string_view text, int from, std::string &so_far) {
  while (so_far.find(text) == std::string::npos)
    if (!read_more(from, so_far)) {
      ADD_FAILURE() << "the program ended without \"" << text << "\" but with \"" << so_far << '"';
      return;
    }
}

[[noreturn]] void become(const std::vector<std::string> &words, int output, int errors) {
  std::vector<char *> raw;
  for (const std::string &word : words)
    raw.push_back(const_cast<char *>(word.c_str()));
  raw.push_back(nullptr);
  ::dup2(output, STDOUT_FILENO);
  ::dup2(errors, STDERR_FILENO);
  const char *preloaded = std::getenv("LD_PRELOAD");
  if (*preloaded_first != '\0') // a sanitizer's own library insists on its place
    ::setenv("LD_PRELOAD",
             (std::string{preloaded_first} + ":" + (preloaded != nullptr ? preloaded : "")).c_str(), 1);
  leave_board();
  ::execv(raw[0], raw.data());
  ::_exit(127);
}

} // namespace

application::application(const board &on, const std::string &program, std::vector<std::string> arguments) {
  std::vector<std::string> words = {launcher_path, "run", on.path(), "--", program};
  words.insert(words.end(), arguments.begin(), arguments.end());
  const pipe_ends output = make_pipe(), errors = make_pipe();
  process_ = ::fork();
  if (process_ == 0) {
    ::close(output.to_read);
    ::close(errors.to_read);
    become(words, output.to_write, errors.to_write);
  }
  EXPECT_GT(process_, 0);
  ::close(output.to_write);
  ::close(errors.to_write);
  output_pipe_ = output.to_read;
  error_pipe_ = errors.to_read;
}

application::~application() {
  if (process_ > 0) {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
  }
  ::close(output_pipe_);
  ::close(error_pipe_);
}

void application::await_error(std::string_view text) {
  await(text, error_pipe_, errors_);
}

void application::await_output(std::string_view text) {
  await(text, output_pipe_, output_);
}

void application::send(int signal) const {
  ASSERT_GT(process_, 0);
  EXPECT_EQ(::kill(process_, signal), 0);
}

int application::finish() {
  while (read_more(error_pipe_, errors_)) {
  }
  while (read_more(output_pipe_, output_)) {
  }
  errors_ = without_warnings(std::move(errors_));
  int status = 0;
  EXPECT_EQ(::waitpid(process_, &status, 0), process_);
  process_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

shot::shot(const board &of, const sim::screen &shown)
    : pixels_(of.pixels()), pitch_(shown.line_length / sizeof(uint16_t)) {}

std::vector<uint16_t> shot::area(uint32_t x, uint32_t y, uint32_t width, uint32_t height) const {
  std::vector<uint16_t> pixels;
  for (uint32_t row = y; row < y + height; ++row)
    for (uint32_t column = x; column < x + width; ++column)
      pixels.push_back(at(column, row));
  return pixels;
}

std::set<uint16_t> shot::colours(uint32_t x, uint32_t y, uint32_t width, uint32_t height) const {
  const std::vector<uint16_t> pixels = area(x, y, width, height);
  return {pixels.begin(), pixels.end()};
}

} // namespace dravik::test
