// Starting a program on a board: with the board in its environment, or not at all.

#include "preload/start_program.hpp"
#include "board/board_files.hpp"
#include "board/preserve_errno.hpp"
#include "board/program_file.hpp"
#include "preload/shell_commands.hpp"
#include "preload/shell_words.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

constexpr std::string_view programs_with_many_names[] = {"busybox", "toybox"};

bool has_many_names(std::string_view name) noexcept {
  return std::ranges::find(programs_with_many_names, without_directory(name)) !=
         std::end(programs_with_many_names);
}

/// Return which word names a command of the board, a negative number if none does.
int command_among(const char *name, char *const *words) noexcept {
  if (is_board_program(name))
    return 0;
  if (!has_many_names(name) || words == nullptr || words[0] == nullptr)
    return -1;
  if (!has_many_names(words[0]))
    return is_board_program(words[0]) ? 0 : -1;
  return words[1] != nullptr && is_board_program(words[1]) ? 1 : -1;
}

/// amixer of the host sets and prints the controls of the sound card. Without it, the board's own command does.
bool is_of_the_host(const char *requested, const char *path) noexcept {
  struct statx status = {};
  constexpr std::string_view usual_place = "/usr/bin/amixer";
  return is_board_program_of_host(requested) && std::strchr(requested, '/') != nullptr &&
         (requested != usual_place || ::syscall(SYS_statx, AT_FDCWD, path, 0, STATX_TYPE, &status) == 0);
}

/// sh -c COMMAND, with a command of the board: a host's shell might not find its program.
bool is_shell_for_command(const char *name, char *const *words) noexcept {
  constexpr std::string_view shells[] = {"sh", "ash", "bash", "dash"};
  return std::ranges::find(shells, without_directory(name)) != std::end(shells) &&
         count_variables(words) == 3 && std::strcmp(words[1], "-c") == 0 && is_board_command(words[2]);
}

bool is_launcher(const char *path) noexcept {
  struct statx program = {}, own = {};
  return without_directory(path) == "dravik-sim" &&
         ::syscall(SYS_statx, AT_FDCWD, path, 0, STATX_INO, &program) == 0 &&
         ::syscall(SYS_statx, AT_FDCWD, launcher(), 0, STATX_INO, &own) == 0 &&
         program.stx_ino == own.stx_ino && program.stx_dev_major == own.stx_dev_major &&
         program.stx_dev_minor == own.stx_dev_minor;
}

void report(const char *program, const char *reason) noexcept {
  char line[longest_path];
  const int length = std::snprintf(line, sizeof line, "dravik-sim: %s: %s\n", program, reason);
  const size_t size = std::min(static_cast<size_t>(std::max(length, 0)), sizeof line - 1);
  if (::syscall(SYS_write, STDERR_FILENO, line, size) < 0)
    return; // there is no output
}

start_plan reject(const char *program, int error, const char *reason) noexcept {
  record_event("exec: %s refused", program);
  report(program, reason);
  return {start_plan::way::refused, error};
}

} // namespace

start_plan plan_start(const char *requested, const board_path &path, char *const *words) noexcept {
  const preserve_errno unchanged;
  if (is_launcher(path))
    return {start_plan::way::on_host};
  if (!can_be_preloaded())
    return reject(
        requested, EACCES,
        "cannot be run on the board: the loader accepts no path of libdravik-sim.so with a space or a colon");
  if (const int place = command_among(requested, words); place >= 0 && !is_of_the_host(requested, path))
    return {start_plan::way::command, 0, static_cast<size_t>(place)};
  if (is_shell_for_command(requested, words))
    return {start_plan::way::shell_command};
  const program_judgement judgement = judge_program(path);
  return judgement.error == 0 || judgement.is_the_kernels
             ? start_plan{start_plan::way::on_board}
             : reject(requested, judgement.error, judgement.reason);
}

} // namespace dravik::sim
