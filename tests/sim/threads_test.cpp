// Several threads, children, and calls from signal handlers.

#include "support/board.hpp"

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/fb.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace dravik::test {
namespace {

void blank_often(int times) {
  for (int i = 0; i < times; ++i) {
    const int screen = ::open("/dev/fb0", O_RDWR);
    ::ioctl(screen, FBIOBLANK, 1);
    ::close(screen);
  }
}

TEST(SimThreads, RecordWholeLines) {
  const board board;
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i)
    threads.emplace_back(blank_often, 50);
  for (std::thread &thread : threads)
    thread.join();
  const auto events = board.events();
  EXPECT_EQ(events.size(), 400U);
  EXPECT_THAT(events, testing::Each("fb0: blank 1"));
}

TEST(SimChildren, AreOnTheSameBoardThoughOtherThreadsWereAtWork) {
  const board board;
  std::atomic<bool> stop = false;
  std::thread other{[&] {
    while (!stop)
      blank_often(1);
  }};
  const pid_t child = ::fork();
  if (child == 0) {
    const int log = ::open("/tmp/dravik.log", O_WRONLY | O_CREAT, 0644);
    ::_exit(log >= 0 && ::write(log, "child", 5) == 5 ? 0 : 1);
  }
  int status = -1;
  ::waitpid(child, &status, 0);
  stop = true;
  other.join();
  EXPECT_EQ(status, 0);
  EXPECT_EQ(board.read("tmp/dravik.log"), "child");
}

int reached_in_handler = -1;

TEST(SimSignals, MayOpenAndRequestInHandler) {
  const board board;
  struct sigaction action = {};
  action.sa_handler = [](int) {
    const int screen = ::open("/dev/fb0", O_RDWR);
    reached_in_handler = ::ioctl(screen, FBIOBLANK, 0);
    ::close(screen);
  };
  struct sigaction before;
  ASSERT_EQ(::sigaction(SIGUSR1, &action, &before), 0);
  ::raise(SIGUSR1);
  ::sigaction(SIGUSR1, &before, nullptr);
  EXPECT_EQ(reached_in_handler, 0);
  EXPECT_THAT(board.events(), testing::ElementsAre("fb0: blank 0"));
}

} // namespace
} // namespace dravik::test
