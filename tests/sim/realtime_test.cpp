// Real-time priorities, on hosts that grant them and on hosts that do not.

#include "board/use_board.h"
#include "support/board.hpp"

#include <cerrno>
#include <gmock/gmock.h>
#include <linux/capability.h>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace dravik::test {
namespace {

using testing::ElementsAre;

int set(pthread_t thread, int policy, int priority) {
  const sched_param parameters = {priority};
  return ::pthread_setschedparam(thread, policy, &parameters);
}

struct schedule {
  int policy;
  int priority;
  bool operator==(const schedule &) const = default;
};

void PrintTo(const schedule &printed, std::ostream *to) {
  *to << "policy " << printed.policy << ", priority " << printed.priority;
}

schedule checked_schedule(pthread_t thread) {
  schedule read = {-1, -1};
  sched_param parameters = {-1};
  EXPECT_EQ(::pthread_getschedparam(thread, &read.policy, &parameters), 0);
  read.priority = parameters.sched_priority;
  return read;
}

constexpr schedule ordinary = {SCHED_OTHER, 0};

/// The scheduling of the calling thread, from the kernel.
int policy_of_host() {
  return static_cast<int>(::syscall(SYS_sched_getscheduler, 0));
}

/// From here on the host rejects this thread, and those that it starts, real-time priorities.
void give_up_priorities() {
  const rlimit none = {0, 0};
  ASSERT_EQ(::setrlimit(RLIMIT_RTPRIO, &none), 0);
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct rights[2] = {};
  ASSERT_EQ(::syscall(SYS_capget, &header, rights), 0);
  rights[0].effective &= ~(1U << CAP_SYS_NICE);
  ASSERT_EQ(::syscall(SYS_capset, &header, rights), 0);
}

TEST(SimRealTime, IsGrantedWhereTheHostRefusesIt) {
  const board board;
  give_up_priorities();
  EXPECT_EQ(set(::pthread_self(), SCHED_FIFO, 90), 0);
  EXPECT_EQ(checked_schedule(::pthread_self()), (schedule{SCHED_FIFO, 90}));
  EXPECT_EQ(policy_of_host(), SCHED_OTHER);
  EXPECT_THAT(board.events(), ElementsAre("thread: real-time priority 90, simulated"));
}

TEST(SimRealTime, IsTheHostsWhereItGrantsIt) {
  const board board;
  EXPECT_EQ(set(::pthread_self(), SCHED_FIFO, 1), 0);
  EXPECT_EQ(checked_schedule(::pthread_self()), (schedule{SCHED_FIFO, 1}));
  if (policy_of_host() != SCHED_FIFO)
    GTEST_SKIP() << "this host does not grant it";
  EXPECT_THAT(board.events(), ElementsAre("thread: real-time priority 1"));
  EXPECT_EQ(set(::pthread_self(), SCHED_OTHER, 0), 0);
  EXPECT_EQ(policy_of_host(), SCHED_OTHER);
}

TEST(SimRealTime, IsRefusedWhenTheBoardSaysSo) {
  const board board;
  board.set("realtime", "refused");
  EXPECT_EQ(set(::pthread_self(), SCHED_FIFO, 90), EPERM);
  EXPECT_EQ(checked_schedule(::pthread_self()), ordinary);
  EXPECT_EQ(policy_of_host(), SCHED_OTHER);
  EXPECT_THAT(board.events(), ElementsAre("thread: real-time priority 90, refused"));
}

class SimRealTimeSimulated : public testing::Test {
protected:
  SimRealTimeSimulated() { board_.set("realtime", "simulated"); }
  const board board_;
};

TEST_F(SimRealTimeSimulated, IsNotAskedOfTheHost) {
  EXPECT_EQ(set(::pthread_self(), SCHED_RR, 99), 0);
  EXPECT_EQ(checked_schedule(::pthread_self()), (schedule{SCHED_RR, 99}));
  EXPECT_EQ(policy_of_host(), SCHED_OTHER);
}

TEST_F(SimRealTimeSimulated, IsThatOfOneThread) {
  pthread_barrier_t end;
  ::pthread_barrier_init(&end, nullptr, 2);
  std::thread other{[&end] { ::pthread_barrier_wait(&end); }};
  EXPECT_EQ(set(other.native_handle(), SCHED_FIFO, 90), 0);
  EXPECT_EQ(checked_schedule(other.native_handle()), (schedule{SCHED_FIFO, 90}));
  EXPECT_EQ(checked_schedule(::pthread_self()), ordinary);
  EXPECT_EQ(set(other.native_handle(), SCHED_FIFO, 80), 0);
  EXPECT_EQ(checked_schedule(other.native_handle()), (schedule{SCHED_FIFO, 80}));
  ::pthread_barrier_wait(&end);
  other.join();
  ::pthread_barrier_destroy(&end);
}

TEST_F(SimRealTimeSimulated, EndsWithTheThread) {
  for (int i = 0; i < 200; ++i) // the C library reuses their identifiers
    std::thread{[] {
      EXPECT_EQ(checked_schedule(::pthread_self()), ordinary);
      EXPECT_EQ(set(::pthread_self(), SCHED_FIFO, 90), 0);
      EXPECT_EQ(checked_schedule(::pthread_self()), (schedule{SCHED_FIFO, 90}));
    }}.join();
}

TEST_F(SimRealTimeSimulated, EndsWithAnOrdinaryPolicy) {
  EXPECT_EQ(set(::pthread_self(), SCHED_FIFO, 90), 0);
  EXPECT_EQ(set(::pthread_self(), SCHED_OTHER, 0), 0);
  EXPECT_EQ(checked_schedule(::pthread_self()), ordinary);
}

TEST_F(SimRealTimeSimulated, IsRefusedWhenTheSettingChanges) {
  EXPECT_EQ(set(::pthread_self(), SCHED_FIFO, 90), 0);
  board_.set("realtime", "refused");
  EXPECT_EQ(set(::pthread_self(), SCHED_FIFO, 50), EPERM);
  EXPECT_EQ(checked_schedule(::pthread_self()), (schedule{SCHED_FIFO, 90}));
}

TEST_F(SimRealTimeSimulated, IsReplacedByTheHosts) {
  EXPECT_EQ(set(::pthread_self(), SCHED_FIFO, 90), 0);
  board_.set("realtime", "host");
  EXPECT_EQ(set(::pthread_self(), SCHED_FIFO, 1), 0);
  EXPECT_EQ(checked_schedule(::pthread_self()), (schedule{SCHED_FIFO, 1}));
}

TEST_F(SimRealTimeSimulated, AcceptsOnlyValidPriorities) {
  for (const int priority : {-1, 0, 100, 65626})
    EXPECT_EQ(set(::pthread_self(), SCHED_FIFO, priority), EINVAL) << priority;
  EXPECT_EQ(checked_schedule(::pthread_self()), ordinary);
  EXPECT_THAT(board_.events(), ElementsAre());
}

TEST(SimRealTimeWithoutABoard, IsTheHostsAffair) {
  {
    const board board;
    board.set("realtime", "simulated");
  }
  ::dravik_sim_use_board(nullptr);
  give_up_priorities();
  EXPECT_EQ(set(::pthread_self(), SCHED_FIFO, 90), EPERM);
  EXPECT_EQ(checked_schedule(::pthread_self()), ordinary);
}

} // namespace
} // namespace dravik::test
