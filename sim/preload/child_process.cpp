// Programs of the host that do the work of the board's commands.

#include "preload/child_process.hpp"
#include "base/heap_block.hpp"
#include "preload/path_map.hpp"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/wait.h>

namespace dravik::sim {
namespace {

constexpr int not_found = 127; ///< as a shell says it
constexpr std::string_view preload_variable = "LD_PRELOAD=";
constexpr size_t most_words = 40;

/// Where the launcher lies, from this library's own directory: in the build tree and when installed.
constexpr const char *launcher_places[] = {"../bin", DRAVIK_SIM_PROGRAM_FROM_LIBRARY};

const char *own_path() noexcept {
  Dl_info library;
  return ::dladdr(reinterpret_cast<const void *>(&own_path), &library) != 0 ? library.dli_fname : "";
}

/// Fills in the launcher's path; false when it lies nowhere.
bool find_launcher(char *path, size_t size) noexcept {
  const char *own = own_path();
  const char *slash = std::strrchr(own, '/');
  const int length = slash != nullptr ? static_cast<int>(slash - own) : 0;
  return slash != nullptr && std::ranges::any_of(launcher_places, [=](const char *place) {
           return std::snprintf(path, size, "%.*s/%s/dravik-sim", length, own, place) <
                      static_cast<int>(size) &&
                  ::access(path, X_OK) == 0;
         });
}

/// The environment with this library preloaded alone, or not at all.
class child_environment {
public:
  explicit child_environment(child_of place) noexcept {
    size_t count = 0;
    while (environ[count] != nullptr)
      ++count;
    block_ = allocate_block((count + 2) * sizeof(char *));
    char **end = variables();
    if (end == nullptr)
      return;
    end = std::copy_if(environ, environ + count, end, [](const char *variable) {
      return !std::string_view{variable}.starts_with(preload_variable);
    });
    std::snprintf(preload_, sizeof preload_, "%s%s", preload_variable.data(), own_path());
    if (place == child_of::board)
      *end++ = preload_;
    *end = nullptr;
  }

  /// Null when memory is short.
  char **variables() noexcept { return reinterpret_cast<char **>(block_.get()); }

private:
  heap_block block_;
  char preload_[longest_path + preload_variable.size()];
};

/// Where the child's output goes.
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

/// The end of a child is told to whoever waits for it, not to the application's handler.
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

int run_child(const char *program, const char *const *words, child_of place,
              const shell_words &command) noexcept {
  child_environment environment{place};
  const output_actions output{command};
  const no_child_signal quiet;
  pid_t child = -1;
  const bool runs = environment.variables() != nullptr &&
                    ::posix_spawn(&child, program, output.get(), quiet.for_child(),
                                  const_cast<char *const *>(words), environment.variables()) == 0;
  return runs ? wait_for(child) : ended_with(not_found);
}

int run_card_action(const char *action, const shell_words &command,
                    std::span<const char *const> others) noexcept {
  char launcher[longest_path];
  if (!find_launcher(launcher, sizeof launcher)) {
    ::dprintf(STDERR_FILENO, "libdravik-sim.so: dravik-sim, which looks after the card, is not beside it\n");
    return ended_with(not_found);
  }
  const char *words[most_words] = {"dravik-sim", "card", board_directory(), action};
  std::copy_n(others.begin(), std::min(others.size(), most_words - 5), words + 4);
  return run_child(launcher, words, child_of::host, command);
}

} // namespace dravik::sim
