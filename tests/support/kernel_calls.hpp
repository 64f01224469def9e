// The system calls of a job, in a process of its own.
#pragma once

#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <ostream>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace dravik::test {

/// A system call on a descriptor, with the number of bytes.
struct kernel_call {
  uint64_t number, descriptor, size;
  bool operator==(const kernel_call &) const = default;
};
using kernel_calls = std::vector<kernel_call>;

inline void PrintTo(const kernel_call &call, std::ostream *to) {
  *to << "call " << call.number << "(" << call.descriptor << ", ..., " << call.size << ")";
}

inline constexpr long call_mark = SYS_getppid;

/// In a process of its own: a mark before and after the job.
[[noreturn]] inline void run_traced(const std::function<void()> &job) {
  ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
  ::raise(SIGSTOP);
  ::syscall(call_mark);
  job();
  ::syscall(call_mark);
  ::_exit(0);
}

/// Run the process to its next system call. False when it has ended.
inline bool reaches_system_call(pid_t process, kernel_call &call) {
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

/// The system calls of a job, as a tracer sees them.
inline kernel_calls calls_of(const std::function<void()> &job) {
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
    if (call.number == static_cast<uint64_t>(call_mark))
      ++marks;
    else if (marks == 1)
      seen.push_back(call);
  }
  EXPECT_EQ(marks, 2);
  return seen;
}

} // namespace dravik::test
