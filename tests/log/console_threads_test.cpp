// Many threads on the serial console at the same time, while it sends.

#include "dravik.h"
#include "log/terminal_pair.hpp"
#include "support/board.hpp"
#include "support/stderr_capture.hpp"

#include <array>
#include <barrier>
#include <filesystem>
#include <sstream>
#include <thread>
#include <vector>

namespace dravik::test {
namespace {

constexpr int threads = 8;
constexpr int lines_each = 25; ///< so that all of a round fit into the ring, whether sent or not
constexpr int rounds = 10;
constexpr size_t line_length = 18;

/// Run `print(thread)` in every thread; they start at the same time.
template <class Print> void print_together(Print print) {
  std::barrier start(threads);
  std::vector<std::thread> all;
  for (int thread = 0; thread < threads; ++thread)
    all.emplace_back([thread, &start, &print] {
      start.arrive_and_wait();
      print(thread);
    });
  for (std::thread &one : all)
    one.join();
}

class ConsoleThreads : public testing::Test {
protected:
  ConsoleThreads() {
    board_.remove("dev/ttyS0");
    std::filesystem::create_symlink(terminal_.name(), board_.path("dev/ttyS0"));
  }

  terminal_pair terminal_;
  board board_;
  stderr_capture errors_;
};

TEST_F(ConsoleThreads, SendWholeLinesInOrderOfThreads) {
  ASSERT_EQ(console_init(), 0);
  std::array<int, threads> next = {};
  for (int round = 0; round < rounds; ++round) {
    print_together([round](int thread) {
      for (int n = 0; n < lines_each; ++n)
        console_printf("thread %d line %03d\n", thread, round * lines_each + n);
    });
    std::istringstream text{terminal_.read(line_length * threads * lines_each)};
    int count = 0;
    for (std::string line; std::getline(text, line); ++count) {
      int thread = -1, n = -1, end = 0;
      ASSERT_EQ(std::sscanf(line.c_str(), "thread %1d line %3d%n", &thread, &n, &end), 2) << line;
      ASSERT_EQ(static_cast<size_t>(end), line.size()) << line;
      ASSERT_EQ(n, next.at(static_cast<size_t>(thread))++) << line;
    }
    ASSERT_EQ(count, threads * lines_each);
  }
  console_exit();
  EXPECT_EQ(errors_.take(), "console_exit+\nconsole_exit-\n");
}

TEST_F(ConsoleThreads, LeaveRingValidIfOverfull) {
  ASSERT_EQ(console_init(), 0);
  print_together([](int thread) {
    const std::string text(static_cast<size_t>(100 + 150 * thread), static_cast<char>('a' + thread));
    for (int n = 0; n < 300; ++n)
      console_printf("%s", text.c_str());
  });
  console_exit();
  EXPECT_GE(ptr_rb_head, ring_buf);
  EXPECT_LE(ptr_rb_head, std::end(ring_buf));
  EXPECT_GE(ptr_rb_tail, ring_buf);
  EXPECT_LE(ptr_rb_tail, std::end(ring_buf));
  EXPECT_EQ(std::find_if(std::begin(ring_buf), std::end(ring_buf),
                         [](char byte) { return byte < 'a' || byte >= 'a' + threads; }),
            std::end(ring_buf));
}

} // namespace
} // namespace dravik::test
