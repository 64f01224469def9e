// A program that is killed, with all its children, at one of its system calls.
#pragma once

#include "support/leave_board.hpp"
#include "support/program.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <set>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
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

enum class calls : bool { all, changing_files };

/// A program and its children, traced from call to call.
class killed_program {
public:
  /// Run a program and kill it before its call `number`, counted from 1; 0 lets it run to its end.
  killed_program(const words &command, calls counted, int number) : counted_(counted), number_(number) {
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

  bool was_killed() const { return was_killed_; }
  int exit_status() const { return WIFEXITED(status_) ? WEXITSTATUS(status_) : -1; }
  int count() const { return count_; }

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
    if (counted_ == calls::changing_files)
      stop_at_changes();
    ::execv(arguments[0], arguments.data());
    ::_exit(127);
  }

  /// The kernel stops at these calls alone, and the rest run at their usual speed.
  static void stop_at_changes() {
    constexpr std::array changing = {
        SYS_write,     SYS_pwrite64, SYS_writev,   SYS_renameat,        SYS_renameat2,
        SYS_unlinkat,  SYS_mkdirat,  SYS_truncate, SYS_ftruncate,       SYS_fallocate,
        SYS_utimensat, SYS_fchmod,   SYS_fchown,   SYS_copy_file_range,
#ifdef SYS_rename
        SYS_rename,    SYS_unlink,   SYS_mkdir,    SYS_rmdir,           SYS_creat,
#endif
    };
    constexpr uint32_t flags = offsetof(seccomp_data, args[2]);
    std::vector<sock_filter> filter = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const long call : changing) {
      filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(call), 0, 1));
      filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
    }
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 3));
    filter.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, flags));
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, O_CREAT | O_TRUNC, 0, 1));
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
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
    if (is_at_call(task, signal, event) && ++count_ == number_)
      kill_all();
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

  /// Before a call, not after it.
  bool is_at_call(pid_t task, int signal, int event) const {
    if (was_killed_ || counted_ == calls::changing_files)
      return !was_killed_ && event == PTRACE_EVENT_SECCOMP;
    __ptrace_syscall_info call = {};
    return signal == call_stop && ::ptrace(PTRACE_GET_SYSCALL_INFO, task, sizeof call, &call) > 0 &&
           call.op == PTRACE_SYSCALL_INFO_ENTRY;
  }

  void kill_all() {
    was_killed_ = true;
    for (const pid_t task : tasks_)
      ::kill(task, SIGKILL);
  }

  static constexpr int call_stop = SIGTRAP | 0x80;

  calls counted_;
  int number_;
  int count_ = 0;
  int status_ = 0;
  bool was_killed_ = false;
  pid_t first_ = -1;
  std::set<pid_t> tasks_;
};

} // namespace dravik::test
