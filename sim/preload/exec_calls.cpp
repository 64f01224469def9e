// The calls that replace this process by another program, or start one. In the C library they do not
// use each other, so each is here.

#include "board/program_file.hpp"
#include "board/settings_text.hpp"
#include "preload/next.hpp"
#include "preload/shell_commands.hpp"
#include "preload/start_program.hpp"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <spawn.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace dravik::sim;

using word_vector = char *const *;

namespace dravik::sim {
namespace {

int failed_with(int error) noexcept {
  errno = error;
  return -1;
}

} // namespace
} // namespace dravik::sim

SIM_DEFINE(int, execve, (const char *path, word_vector words, word_vector variables)) {
  const auto next = SIM_NEXT(execve);
  return failed_with(start_program(path, seen_path{path}, words, variables,
                                   [=](const char *program, word_vector with, word_vector in) {
                                     next(program, with, in);
                                     return errno;
                                   }));
}

SIM_DEFINE(int, execv, (const char *path, word_vector words)) {
  return board_directory() != nullptr ? sim_execve(path, words, environ) : SIM_NEXT(execv)(path, words);
}

namespace dravik::sim {
namespace {

/// The name of an open file that identifies a command, and one by which the file can be checked.
struct descriptor_path {
  explicit descriptor_path(int descriptor, const char *below = "") noexcept {
    const bool is_below = *below != '\0';
    std::snprintf(link, sizeof link, is_below ? "/proc/self/fd/%d/%s" : "/proc/self/fd/%d", descriptor,
                  below);
    const long length = is_below ? 0 : ::syscall(SYS_readlinkat, AT_FDCWD, link, name, sizeof name - 1);
    name[length > 0 ? length : 0] = '\0';
  }
  char link[longest_path];
  char name[longest_path];
};

} // namespace
} // namespace dravik::sim

SIM_DEFINE(int, fexecve, (int descriptor, word_vector words, word_vector variables)) {
  const auto next = SIM_NEXT(fexecve);
  const auto next_of_path = SIM_NEXT(execve);
  const descriptor_path file{descriptor};
  return failed_with(start_program(file.name, seen_path{file.link}, words, variables,
                                   [=](const char *program, word_vector with, word_vector in) {
                                     if (program == command_runner())
                                       next_of_path(program, with, in);
                                     else
                                       next(descriptor, with, in);
                                     return errno;
                                   }));
}

SIM_DEFINE(int, execveat, (int from, const char *path, word_vector words, word_vector variables, int flags)) {
  if (board_directory() == nullptr || path == nullptr)
    return SIM_NEXT(execveat)(from, path, words, variables, flags);
  if (*path == '\0' && (flags & AT_EMPTY_PATH) != 0)
    return sim_fexecve(from, words, variables);
  return *path == '/' || *path == '\0' || from == AT_FDCWD
             ? sim_execve(path, words, variables)
             : sim_execve(descriptor_path{from, path}.link, words, variables);
}

// ---------------------------------------------------------------------------------------- found in PATH

namespace dravik::sim {
namespace {

/// Call `attempt` with each candidate in PATH until it returns true.
template <typename Attempt> void search_path(const char *name, Attempt attempt) noexcept {
  const char *given = std::getenv("PATH");
  std::string_view directories = given != nullptr ? given : "/bin:/usr/bin";
  bool is_last;
  do {
    is_last = directories.find(':') == directories.npos;
    const std::string_view directory = take_until(directories, ':');
    char candidate[longest_path];
    const int length =
        std::snprintf(candidate, sizeof candidate, "%.*s%s%s", static_cast<int>(directory.size()),
                      directory.data(), directory.empty() ? "" : "/", name);
    if (length < static_cast<int>(sizeof candidate) && attempt(static_cast<const char *>(candidate)))
      return;
  } while (!is_last);
}

/// A text file that the kernel rejects is a script of the shell.
int become_program_or_script(const char *path, word_vector words, word_vector variables) noexcept {
  sim_execve(path, words, variables);
  const int error = errno;
  if (error != ENOEXEC || !judge_program(seen_path{path}).is_the_kernels)
    return error;
  const size_t count = count_variables(words);
  auto **shell_words = static_cast<char **>(__builtin_alloca((count + 3) * sizeof(char *)));
  shell_words[0] = const_cast<char *>("/bin/sh");
  shell_words[1] = const_cast<char *>(path);
  std::copy_n(words + std::min<size_t>(count, 1), count - std::min<size_t>(count, 1) + 1, shell_words + 2);
  sim_execve(shell_words[0], shell_words, variables);
  return errno;
}

bool is_passed_over(int error) noexcept {
  return error == ENOENT || error == ENOTDIR || error == EACCES || error == ESTALE || error == ENODEV ||
         error == ETIMEDOUT;
}

int become_found(const char *name, word_vector words, word_vector variables) noexcept {
  if (*name == '\0')
    return ENOENT;
  const bool is_board_only = is_board_program(name) && !is_board_program_of_host(name);
  if (std::strchr(name, '/') != nullptr || is_board_only)
    return become_program_or_script(name, words, variables);
  int error = ENOENT;
  search_path(name, [&](const char *candidate) {
    const int reason = become_program_or_script(candidate, words, variables);
    error = error == EACCES && is_passed_over(reason) ? error : reason;
    return !is_passed_over(reason);
  });
  return error == ENOENT && is_board_program(name) ? become_program_or_script(name, words, variables) : error;
}

} // namespace
} // namespace dravik::sim

SIM_DEFINE(int, execvpe, (const char *name, word_vector words, word_vector variables)) {
  return board_directory() == nullptr ? SIM_NEXT(execvpe)(name, words, variables)
                                      : failed_with(become_found(name, words, variables));
}

SIM_DEFINE(int, execvp, (const char *name, word_vector words)) {
  return sim_execvpe(name, words, environ);
}

// ---------------------------------------------------------------------------------------- words in the call

namespace dravik::sim {
namespace {

size_t count_words(const char *first, va_list &rest) noexcept {
  size_t count = 0;
  for (const char *word = first; word != nullptr; word = va_arg(rest, const char *))
    ++count;
  return count;
}

/// Afterwards `rest` is after the terminating null.
void fill_words(const char *first, va_list &rest, char **into) noexcept {
  for (const char *word = first; word != nullptr; word = va_arg(rest, const char *))
    *into++ = const_cast<char *>(word);
  *into = nullptr;
}

} // namespace
} // namespace dravik::sim

// The words of a call as a list on the stack; `after` runs while the following arguments can be read.
#define SIM_LIST_WORDS(words, first, after)                                                                  \
  va_list rest;                                                                                              \
  va_start(rest, first);                                                                                     \
  const size_t count = count_words(first, rest);                                                             \
  va_end(rest);                                                                                              \
  auto **words = static_cast<char **>(__builtin_alloca((count + 1) * sizeof(char *)));                       \
  va_start(rest, first);                                                                                     \
  fill_words(first, rest, words);                                                                            \
  after;                                                                                                     \
  va_end(rest)

SIM_DEFINE(int, execl, (const char *path, const char *first, ...)) {
  SIM_LIST_WORDS(words, first, );
  return sim_execve(path, words, environ);
}

SIM_DEFINE(int, execlp, (const char *name, const char *first, ...)) {
  SIM_LIST_WORDS(words, first, );
  return sim_execvpe(name, words, environ);
}

SIM_DEFINE(int, execle, (const char *path, const char *first, ...)) {
  SIM_LIST_WORDS(words, first, word_vector variables = va_arg(rest, word_vector));
  return sim_execve(path, words, variables);
}

// ----------------------------------------------------------------------------------------- posix_spawn()

using file_actions = const posix_spawn_file_actions_t *;
using spawn_attributes = const posix_spawnattr_t *;

namespace dravik::sim {
namespace {

/// A command that reboots the board does not return, and terminates the application.
void reboot_if_requested(const char *path) noexcept {
  const char *words[] = {path};
  if (is_reboot(words))
    run_board_program(words);
}

} // namespace
} // namespace dravik::sim

SIM_DEFINE(int, posix_spawn,
           (pid_t * child, const char *path, file_actions actions, spawn_attributes attributes,
            word_vector words, word_vector variables)) {
  const auto next = SIM_NEXT(posix_spawn);
  reboot_if_requested(path);
  return start_program(path, seen_path{path}, words, variables,
                       [=](const char *program, word_vector with, word_vector in) {
                         return next(child, program, actions, attributes, with, in);
                       });
}

SIM_DEFINE(int, posix_spawnp,
           (pid_t * child, const char *name, file_actions actions, spawn_attributes attributes,
            word_vector words, word_vector variables)) {
  if (board_directory() == nullptr)
    return SIM_NEXT(posix_spawnp)(child, name, actions, attributes, words, variables);
  const bool is_board_only = is_board_program(name) && !is_board_program_of_host(name);
  if (std::strchr(name, '/') != nullptr || is_board_only)
    return sim_posix_spawn(child, name, actions, attributes, words, variables);
  int error = ENOENT;
  search_path(name, [&](const char *candidate) {
    error = sim_posix_spawn(child, candidate, actions, attributes, words, variables);
    return !is_passed_over(error);
  });
  return error == ENOENT && is_board_program(name)
             ? sim_posix_spawn(child, name, actions, attributes, words, variables)
             : error;
}

SIM_DEFINE(int, posix_spawn_file_actions_addopen,
           (posix_spawn_file_actions_t * actions, int descriptor, const char *path, int flags, mode_t mode)) {
  return SIM_NEXT(posix_spawn_file_actions_addopen)(actions, descriptor, board_path{path}, flags, mode);
}

SIM_DEFINE(int, posix_spawn_file_actions_addchdir_np,
           (posix_spawn_file_actions_t * actions, const char *path)) {
  return SIM_NEXT(posix_spawn_file_actions_addchdir_np)(actions, seen_path{path});
}
