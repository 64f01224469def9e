// Many threads on the event log at the same time, from its first line on.

#include "dravik.h"
#include "support/board.hpp"
#include "support/log_lines.hpp"

#include <algorithm>
#include <array>
#include <barrier>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <thread>

namespace dravik::test {
namespace {

constexpr int threads = 16;
constexpr int messages_each = 12; ///< so that all of them stay below the file's cap

/// Long enough for several writes of a buffered stream.
std::string filler(int thread) {
  return std::string(static_cast<size_t>(thread) * 150, static_cast<char>('a' + thread));
}

/// Run `log_one(thread, n)` for every message of every thread; the threads start at the same time.
template <class LogOne> void log_together(LogOne log_one) {
  std::barrier start(threads);
  std::vector<std::thread> all;
  for (int thread = 0; thread < threads; ++thread)
    all.emplace_back([thread, &start, &log_one] {
      start.arrive_and_wait();
      for (int n = 0; n < messages_each; ++n)
        log_one(thread, n);
    });
  for (std::thread &one : all)
    one.join();
}

TEST(EventLogThreads, PrintOneBannerAndWholeLines) {
  const board on;
  log_together(
      [](int thread, int n) { log_printf("thread %d message %d %s.", thread, n, filler(thread).c_str()); });
  const auto lines = lines_of(read_file(on.path("tmp/dravik.log")));
  ASSERT_EQ(lines.size(), 1 + size_t{threads * messages_each});
  const std::regex banner(R"(\[    0\.000000\] s #### [0-9/]{10} [0-9:.]{15} ####)");
  EXPECT_TRUE(std::regex_match(lines[0], banner)) << lines[0];
  std::map<int, int> next;
  for (size_t i = 1; i < lines.size(); ++i) {
    int thread = -1, n = -1, text = 0;
    ASSERT_EQ(std::sscanf(lines[i].c_str(), "[%*5d.%*6d] thread %d message %d %n", &thread, &n, &text), 2)
        << lines[i];
    ASSERT_EQ(lines[i].substr(static_cast<size_t>(text)), filler(thread) + ".");
    EXPECT_EQ(n, next[thread]++);
  }
}

TEST(EventLogThreads, LoseNoMessage) {
  const board on;
  std::array<int, threads> counts = {};
  log_together([&counts](int thread, int n) {
    counts[static_cast<size_t>(thread)] += log_printf("%02d %02d", thread, n);
  });
  for (const int count : counts)
    EXPECT_EQ(count, messages_each * 5);
  auto messages = log_messages(on.path("tmp/dravik.log"));
  std::sort(messages.begin(), messages.end());
  ASSERT_EQ(messages.size(), size_t{threads * messages_each});
  EXPECT_EQ(std::unique(messages.begin(), messages.end()), messages.end());
}

} // namespace
} // namespace dravik::test
