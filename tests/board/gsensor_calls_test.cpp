// What a reading of the accelerometer asks of the kernel, as a tracer sees it. Here the bus is a device that
// takes and gives every byte.

#include "dravik.h"
#include "support/board.hpp"
#include "support/call_watcher.hpp"
#include "support/stderr_capture.hpp"

#include <functional>
#include <gmock/gmock.h>
#include <string_view>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <vector>

namespace dravik::test {
namespace {

/// The bus, past the simulator, which looks after each descriptor.
struct watched_bus : call_watcher {
  int descriptor = -1;

  int open(const char *path, int flags, mode_t mode) override {
    if (std::string_view{path} != "/dev/i2c-0")
      return call_watcher::open(path, flags, mode);
    return descriptor = call_watcher::open("/dev/zero", flags, mode);
  }
  int ioctl(int asked, unsigned long request, void *argument) override {
    return asked == descriptor && asked >= 0 ? 0 : call_watcher::ioctl(asked, request, argument);
  }
  ssize_t write(int asked, const void *data, size_t size) override {
    return ::syscall(SYS_write, asked, data, size);
  }
  ssize_t read(int asked, void *data, size_t size) override { return ::syscall(SYS_read, asked, data, size); }
} bus;

/// A system call on a descriptor, with the number of bytes.
struct kernel_call {
  uint64_t number, descriptor, size;
  bool operator==(const kernel_call &) const = default;
};
using kernel_calls = std::vector<kernel_call>;

void PrintTo(const kernel_call &call, std::ostream *to) {
  *to << "call " << call.number << "(" << call.descriptor << ", ..., " << call.size << ")";
}

constexpr long mark = SYS_getppid;

/// In a process of its own: a mark before and after the job.
[[noreturn]] void run_traced(const std::function<void()> &job) {
  ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
  ::raise(SIGSTOP);
  ::syscall(mark);
  job();
  ::syscall(mark);
  ::_exit(0);
}

/// Runs the process to its next system call. False when it has ended.
bool reaches_system_call(pid_t process, kernel_call &call) {
  for (;;) {
    int status = 0;
    if (::ptrace(PTRACE_SYSCALL, process, nullptr, nullptr) != 0 ||
        ::waitpid(process, &status, 0) != process || !WIFSTOPPED(status))
      return false;
    __ptrace_syscall_info info = {};
    ::ptrace(PTRACE_GET_SYSCALL_INFO, process, sizeof info, &info);
    if (info.op != PTRACE_SYSCALL_INFO_ENTRY)
      continue;
    call = {info.entry.nr, info.entry.args[0], info.entry.args[2]};
    return true;
  }
}

/// The system calls between the marks.
kernel_calls calls_of(const std::function<void()> &job) {
  const pid_t process = ::fork();
  if (process == 0)
    run_traced(job);
  int status = 0;
  EXPECT_EQ(::waitpid(process, &status, 0), process);
  EXPECT_TRUE(WIFSTOPPED(status));
  EXPECT_EQ(::ptrace(PTRACE_SETOPTIONS, process, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL), 0);
  kernel_calls seen;
  int marks = 0;
  for (kernel_call call; reaches_system_call(process, call);) {
    if (call.number == static_cast<uint64_t>(mark))
      ++marks;
    else if (marks == 1)
      seen.push_back(call);
  }
  EXPECT_EQ(marks, 2);
  return seen;
}

TEST(GsensorCalls, TracerSeesACall) {
  const kernel_calls expected = {{SYS_fsync, 77, 5}};
  EXPECT_EQ(calls_of([] { ::syscall(SYS_fsync, 77, 0, 5); }), expected);
}

TEST(GsensorCalls, ReadingIsTwelveSystemCalls) {
  const board any;
  watcher = &bus;
  {
    stderr_capture told;
    ASSERT_EQ(gsensor_init(), 0);
  }
  const kernel_call select = {SYS_write, static_cast<uint64_t>(bus.descriptor), 1};
  const kernel_call take = {SYS_read, static_cast<uint64_t>(bus.descriptor), 1};
  int32_t x, y, z;
  EXPECT_THAT(calls_of([&] { gsensor_get_data(&x, &y, &z); }),
              testing::ElementsAre(select, take, select, take, select, take, select, take, select, take,
                                   select, take));
}

} // namespace
} // namespace dravik::test
