// A program that is killed at one of its system calls.
#pragma once

#include "sim/harmless_calls.hpp"
#include "support/leave_board.hpp"
#include "support/program.hpp"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <set>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace dravik::test {

/// Whether a child can be traced; a container may forbid it.
inline bool can_trace() {
  const pid_t child = ::fork();
  if (child == 0)
    ::_exit(::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0 ? 0 : 1);
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

enum class calls : bool { all, changing };

/// What is killed: all processes of a program, its first process alone, or the one that makes the call. The
/// others continue.
enum class victim : uint8_t { nobody, program, parent, caller };

/// A program and its children, stopped before each call.
class killed_program {
public:
  /// Run a program to its end. `decide` is called before each counted call.
  killed_program(const words &command, calls counted, std::function<victim(const traced_call &)> decide)
      : counted_(counted), decide_(std::move(decide)) {
    start(command);
    while (!tasks_.empty()) {
      int status = 0;
      const pid_t task = ::waitpid(-1, &status, __WALL);
      if (task < 0 && errno != EINTR)
        break;
      if (task > 0)
        take(task, status);
    }
  }

  int exit_status() const { return WIFEXITED(status_) ? WEXITSTATUS(status_) : -1; }
  bool was_killed() const { return was_killed_; }

private:
  void start(const words &command) {
    first_ = ::fork();
    if (first_ == 0)
      become(command);
    ::waitpid(first_, &status_, 0);
    tasks_.insert(first_);
    constexpr long options = PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL | PTRACE_O_TRACEFORK |
                             PTRACE_O_TRACEVFORK | PTRACE_O_TRACECLONE | PTRACE_O_TRACESECCOMP;
    ::ptrace(PTRACE_SETOPTIONS, first_, nullptr, options);
    go_on(first_, 0);
  }

  [[noreturn]] void become(const words &command) const {
    std::vector<char *> arguments;
    for (const std::string &word : command)
      arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);
    leave_board();
    ::setenv("ASAN_OPTIONS", "detect_leaks=0", 1); // the leak check cannot run under ptrace()
    const int nowhere = ::open("/dev/null", O_WRONLY);
    ::dup2(nowhere, STDOUT_FILENO);
    ::dup2(nowhere, STDERR_FILENO);
    ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    ::raise(SIGSTOP);
    if (counted_ == calls::changing)
      install(stop_at_other_calls());
    ::execv(arguments[0], arguments.data());
    ::_exit(127);
  }

  static void install(std::vector<sock_filter> filter) {
    const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
      ::_exit(126);
  }

  void take(pid_t task, int status) {
    if (!WIFSTOPPED(status)) {
      tasks_.erase(task);
      status_ = task == first_ ? status : status_;
      return;
    }
    const bool is_new = tasks_.insert(task).second;
    const int signal = WSTOPSIG(status);
    const int event = status >> 16;
    const traced_call call = call_at(task, signal, event);
    if (call.number >= 0 && !was_killed_)
      kill(decide_(call), task);
    if (event == PTRACE_EVENT_FORK || event == PTRACE_EVENT_VFORK || event == PTRACE_EVENT_CLONE)
      expect_child(task);
    const bool is_own = signal == call_stop || signal == SIGTRAP || signal == SIGSTOP || is_new;
    go_on(task, is_own ? 0 : signal);
  }

  void go_on(pid_t task, long signal) const {
    ::ptrace(counted_ == calls::all ? PTRACE_SYSCALL : PTRACE_CONT, task, nullptr, signal);
  }

  void expect_child(pid_t task) {
    unsigned long child = 0;
    if (::ptrace(PTRACE_GETEVENTMSG, task, nullptr, &child) == 0)
      tasks_.insert(static_cast<pid_t>(child));
  }

  /// The call that a task is about to make; none at other stops, and after a call.
  traced_call call_at(pid_t task, int signal, int event) const {
    __ptrace_syscall_info info = {};
    if ((signal != call_stop && event != PTRACE_EVENT_SECCOMP) ||
        ::ptrace(PTRACE_GET_SYSCALL_INFO, task, sizeof info, &info) <= 0 ||
        (info.op != PTRACE_SYSCALL_INFO_ENTRY && info.op != PTRACE_SYSCALL_INFO_SECCOMP))
      return {};
    static_assert(offsetof(__ptrace_syscall_info, entry.args) ==
                  offsetof(__ptrace_syscall_info, seccomp.args));
    traced_call call = {static_cast<long>(info.entry.nr), {}, tasks_.size() == 1};
    std::ranges::copy(info.entry.args, call.arguments.begin());
    return call;
  }

  void kill(victim killed, pid_t caller) {
    was_killed_ = killed != victim::nobody;
    if (killed == victim::program)
      for (const pid_t task : tasks_)
        ::kill(task, SIGKILL);
    else if (was_killed_)
      ::kill(killed == victim::parent ? first_ : caller, SIGKILL);
  }

  static constexpr int call_stop = SIGTRAP | 0x80;

  calls counted_;
  std::function<victim(const traced_call &)> decide_;
  int status_ = 0;
  bool was_killed_ = false;
  pid_t first_ = -1;
  std::set<pid_t> tasks_;
};

} // namespace dravik::test
