// Starting a program on a board: with the board in its environment, or not at all.
#pragma once

#include "preload/path_map.hpp"
#include "preload/process_board.hpp"

#include <algorithm>

namespace dravik::sim {

/// Decision on a program that an application starts.
struct start_plan {
  enum class way : uint8_t {
    on_board,      ///< with the board in its environment
    command,       ///< by the board's own command of that name
    shell_command, ///< the same, from the one argument of a shell
    on_host,       ///< one of the simulator's own programs, which handles boards from outside
    refused,
  };
  way how;
  int error = 0;            ///< of a rejected one
  size_t skipped_words = 0; ///< of a command inside another program's arguments
};

/// Decide by the path to be started. Records and prints a rejection. Allocates nothing and takes no lock:
/// the child of a vfork() may call it.
start_plan plan_start(const char *requested, const board_path &path, char *const *words) noexcept;

/// Start a program by `next`, which requires a path, words and variables and returns an error number.
/// Return that, or the error number of a rejection. The lists are on the stack.
template <typename Next>
int start_program(const char *name, const board_path &path, char *const *words, char *const *variables,
                  Next next) noexcept {
  if (board_directory() == nullptr || name == nullptr)
    return next(static_cast<const char *>(path), words, variables);
  const start_plan plan = plan_start(name, path, words);
  if (plan.how == start_plan::way::refused)
    return plan.error;
  const size_t room = (count_variables(variables) + most_added_variables) * sizeof(char *);
  auto **own_variables = static_cast<char **>(__builtin_alloca(room));
  child_variables texts;
  if (plan.how == start_plan::way::on_host) {
    drop_board_variables(variables, own_variables);
    return next(static_cast<const char *>(path), words, own_variables);
  }
  add_board_variables(variables, own_variables, texts);
  if (plan.how == start_plan::way::on_board)
    return next(static_cast<const char *>(path), words, own_variables);
  const size_t count = std::max(count_variables(words), plan.skipped_words + 1) - plan.skipped_words;
  auto **own_words = static_cast<char **>(__builtin_alloca((count + 1) * sizeof(char *)));
  std::copy_n(words + plan.skipped_words, count, own_words);
  if (plan.how == start_plan::way::shell_command)
    own_words[0] = const_cast<char *>("sh");
  else if (plan.skipped_words == 0)
    own_words[0] = const_cast<char *>(name);
  own_words[count] = nullptr;
  return next(command_runner(), own_words, own_variables);
}

} // namespace dravik::sim
