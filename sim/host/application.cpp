// The application of a live board: a child process that `dravik-sim run` becomes.

#include "host/application.hpp"
#include "board/reboot_status.hpp"
#include "host/host_tool.hpp"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

constexpr int signal_status = 128;

/// Nothing of the server stays open: the keeper of the serial port, which outlives the application, would keep
/// the server's port.
void close_files_of_server() {
  const int input = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  ::dup2(input, STDIN_FILENO);
  if (::syscall(SYS_close_range, STDERR_FILENO + 1, UINT_MAX, 0) == 0)
    return;
  for (int descriptor = STDERR_FILENO + 1; descriptor < ::sysconf(_SC_OPEN_MAX); ++descriptor)
    ::close(descriptor);
}

} // namespace

application::application(std::vector<std::string> run_arguments, std::string name)
    : run_arguments_(std::move(run_arguments)), name_(std::move(name)), parent_(::getpid()) {}

/// A group of its own, so that the terminal's Ctrl-C reaches the server alone, which ends both in order. The
/// application ends with a server that is killed.
void application::become() const {
  ::setpgid(0, 0);
  set_default_signals();
  close_files_of_server();
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (::getppid() != parent_)
    ::_exit(1);
  std::vector<char *> words;
  for (const std::string &word : run_arguments_)
    words.push_back(const_cast<char *>(word.c_str()));
  words.push_back(nullptr);
  ::execv("/proc/self/exe", words.data());
  ::_exit(1);
}

bool application::start(std::string &error) {
  if (state_ == application_state::running || run_arguments_.empty())
    return true;
  sigset_t all;
  sigset_t before;
  ::sigfillset(&all);
  ::sigprocmask(SIG_SETMASK, &all, &before); // no handler of the server runs in the child
  process_ = ::fork();
  if (process_ == 0)
    become();
  const int reason = errno;
  ::sigprocmask(SIG_SETMASK, &before, nullptr);
  if (process_ < 0) {
    error = "cannot start a process: " + std::string{std::strerror(reason)};
    return false;
  }
  ::setpgid(process_, process_); // whoever is first
  state_ = application_state::running;
  return true;
}

bool application::collect() {
  int status = 0;
  if (state_ != application_state::running || ::waitpid(process_, &status, WNOHANG) != process_)
    return false;
  status_ = WIFEXITED(status) ? WEXITSTATUS(status) : signal_status + WTERMSIG(status);
  state_ = status_ == reboot_status ? application_state::restarting : application_state::ended;
  return true;
}

void application::send(int signal) const {
  if (state_ == application_state::running)
    ::kill(-process_, signal);
}

} // namespace dravik::sim
