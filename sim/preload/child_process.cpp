// Programs of the host that implement commands of the board.

#include "preload/child_process.hpp"
#include "preload/process_board.hpp"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

constexpr int not_found = 127; ///< as in a shell
constexpr size_t most_words = 40;

/// Destination of the child's output.
class output_actions {
public:
  explicit output_actions(const shell_words &command) noexcept {
    ::posix_spawn_file_actions_init(&actions_);
    if (command.drops_output())
      drop(STDOUT_FILENO);
    if (command.drops_errors())
      drop(STDERR_FILENO);
  }
  ~output_actions() { ::posix_spawn_file_actions_destroy(&actions_); }
  output_actions(const output_actions &) = delete;
  output_actions &operator=(const output_actions &) = delete;
  const posix_spawn_file_actions_t *get() const noexcept { return &actions_; }

private:
  void drop(int descriptor) noexcept {
    ::posix_spawn_file_actions_addopen(&actions_, descriptor, "/dev/null", O_WRONLY, 0);
  }
  posix_spawn_file_actions_t actions_;
};

/// SIGCHLD stays blocked, so that the application's handler does not see this child.
class no_child_signal {
public:
  no_child_signal() noexcept {
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGCHLD);
    ::pthread_sigmask(SIG_BLOCK, &signals, &before_);
    ::posix_spawnattr_init(&attributes_);
    ::posix_spawnattr_setsigmask(&attributes_, &before_);
    ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK);
  }
  ~no_child_signal() {
    ::posix_spawnattr_destroy(&attributes_);
    ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  no_child_signal(const no_child_signal &) = delete;
  no_child_signal &operator=(const no_child_signal &) = delete;
  const posix_spawnattr_t *for_child() const noexcept { return &attributes_; }

private:
  sigset_t before_;
  posix_spawnattr_t attributes_;
};

int wait_for(pid_t child) noexcept {
  int status = 0;
  pid_t ended;
  while ((ended = ::waitpid(child, &status, 0)) < 0 && errno == EINTR) {
  }
  return ended == child ? status : -1;
}

} // namespace

int run_child(const char *program, const char *const *words, const char *const *variables,
              const shell_words &command) noexcept {
  const output_actions output{command};
  const no_child_signal quiet;
  pid_t child = -1;
  const bool runs =
      ::posix_spawn(&child, program, output.get(), quiet.for_child(), const_cast<char *const *>(words),
                    const_cast<char *const *>(variables)) == 0;
  return runs ? wait_for(child) : ended_with(not_found);
}

/// The launcher gets no variable of the application but the time zone, which dates the files of the card.
int run_card_action(const char *action, const shell_words &command,
                    std::span<const char *const> others) noexcept {
  char board[longest_path];
  if (*launcher() == '\0' || !find_board(board)) {
    ::dprintf(STDERR_FILENO,
              *launcher() == '\0'
                  ? "libdravik-sim.so: missing dravik-sim next to it, which manages the memory card\n"
                  : "libdravik-sim.so: the board's directory has been moved\n");
    return ended_with(not_found);
  }
  const char *words[most_words] = {"dravik-sim", "card", board, action};
  std::copy_n(others.begin(), std::min(others.size(), most_words - 5), words + 4);
  char time_zone[longest_path];
  const char *variables[] = {"PATH=/usr/sbin:/usr/bin:/sbin:/bin", nullptr, nullptr};
  const char *zone = std::getenv("TZ");
  if (zone != nullptr &&
      std::snprintf(time_zone, sizeof time_zone, "TZ=%s", zone) < static_cast<int>(sizeof time_zone))
    variables[1] = time_zone;
  return run_child(launcher(), words, variables, command);
}

} // namespace dravik::sim
