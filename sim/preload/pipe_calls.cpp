// popen() and pclose(): a command whose input or output the application holds. A process of its
// own serves it as system() would.

#include "base/unique_fd.hpp"
#include "preload/next.hpp"
#include "preload/process_board.hpp"
#include "preload/shell_commands.hpp"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

/// A stream and the process at its other end.
struct open_pipe {
  std::atomic<std::FILE *> stream = nullptr;
  pid_t child = -1;
};
constinit open_pipe pipes[256];
constinit std::FILE *const reserved = reinterpret_cast<std::FILE *>(pipes);

open_pipe *reserve_pipe() noexcept {
  for (open_pipe &place : pipes) {
    std::FILE *nothing = nullptr;
    if (place.stream.compare_exchange_strong(nothing, reserved))
      return &place;
  }
  errno = EMFILE;
  return nullptr;
}

open_pipe *pipe_of(std::FILE *stream) noexcept {
  for (open_pipe &place : pipes)
    if (place.stream == stream)
      return &place;
  return nullptr;
}

/// Start the process that serves a command, with one end of a pipe as its input or output.
pid_t start_server(const char *command, int end, int in_place_of) noexcept {
  const char *words[] = {"sh", "-c", command, nullptr};
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, end, in_place_of);
  pid_t child = -1;
  const int error =
      ::posix_spawn(&child, command_runner(), &actions, nullptr, const_cast<char **>(words), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  if (error != 0)
    errno = error;
  return error == 0 ? child : -1;
}

struct pipe_mode {
  explicit pipe_mode(const char *mode) noexcept
      : reads(std::strchr(mode, 'r') != nullptr), writes(std::strchr(mode, 'w') != nullptr) {}
  bool reads, writes;
};

/// exec closes both ends, as POSIX requires for commands of later calls.
std::FILE *open_command(const char *command, pipe_mode mode) noexcept {
  int ends[2];
  if (mode.reads == mode.writes) {
    errno = EINVAL;
    return nullptr;
  }
  if (::pipe2(ends, O_CLOEXEC) != 0)
    return nullptr;
  unique_fd own{ends[mode.reads ? 0 : 1]};
  const unique_fd other{ends[mode.reads ? 1 : 0]};
  open_pipe *place = reserve_pipe();
  if (place == nullptr)
    return nullptr;
  std::FILE *stream = ::fdopen(own.get(), mode.reads ? "r" : "w");
  place->child =
      stream != nullptr ? start_server(command, other.get(), mode.reads ? STDOUT_FILENO : STDIN_FILENO) : -1;
  if (place->child < 0) {
    place->stream = nullptr;
    return nullptr;
  }
  own.release();
  place->stream = stream;
  return stream;
}

} // namespace
} // namespace dravik::sim

using namespace dravik::sim;

SIM_DEFINE(std::FILE *, popen, (const char *command, const char *mode)) {
  if (board_directory() == nullptr)
    return SIM_NEXT(popen)(command, mode);
  int status = 0;
  if (is_reboot(command))
    run_on_board(command, status); // also terminates the application
  return open_command(command, pipe_mode{mode});
}

SIM_DEFINE(int, pclose, (std::FILE * stream)) {
  open_pipe *place = pipe_of(stream);
  if (place == nullptr)
    return SIM_NEXT(pclose)(stream);
  const pid_t child = place->child;
  place->stream = nullptr;
  std::fclose(stream);
  int status = -1;
  pid_t ended;
  while ((ended = ::waitpid(child, &status, 0)) < 0 && errno == EINTR) {
  }
  return ended == child ? status : -1;
}

namespace dravik::sim {
namespace {

constexpr int not_found = 127;

int exit_status(int status) noexcept {
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace
} // namespace dravik::sim

/// The work of board-command: a command of popen(), or a program of the board with its arguments.
extern "C" [[gnu::visibility("default")]] int dravik_sim_serve_command(int count, char **words);

int dravik_sim_serve_command(int count, char **words) {
  serves_another_process = true;
  if (count != 3 || std::strcmp(words[0], "sh") != 0)
    return exit_status(run_board_program({words, static_cast<size_t>(count)}));
  int status = 0;
  if (run_on_board(words[2], status))
    return exit_status(status);
  ::execv("/bin/sh", words);
  return not_found;
}
