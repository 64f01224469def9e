// The launcher, run as users run it.
#pragma once

#include "support/emulation.hpp"
#include "support/leave_board.hpp"
#include "support/paths.hpp"
#include "support/serial_keeper.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace dravik::test {

struct outcome {
  int status = -1; ///< of waitpid()
  std::string output;
  std::string errors;

  int exit_status() const { return WIFEXITED(status) ? WEXITSTATUS(status) : -1; }
};

inline std::string contents(FILE *file) {
  std::string text;
  std::array<char, 4096> block;
  std::rewind(file);
  while (const size_t count = std::fread(block.data(), 1, block.size(), file))
    text.append(block.data(), count);
  std::fclose(file);
  return text;
}

[[noreturn]] inline void become(std::vector<std::string> words, int output, int errors) {
  std::vector<char *> pointers;
  for (std::string &word : words)
    pointers.push_back(word.data());
  pointers.push_back(nullptr);
  ::dup2(output, STDOUT_FILENO);
  ::dup2(errors, STDERR_FILENO);
  leave_board();
  ::execvp(pointers[0], pointers.data());
  ::_exit(127);
}

/// An application that has run leaves the serial port at rest.
inline outcome run(const std::vector<std::string> &words) {
  FILE *output = std::tmpfile();
  FILE *errors = std::tmpfile();
  const pid_t child = ::fork();
  if (child == 0)
    become(words, ::fileno(output), ::fileno(errors));
  outcome result;
  ::waitpid(child, &result.status, 0);
  constexpr std::array<std::string_view, 3> running = {"run", "play", "film"};
  if (const auto command = std::ranges::find_first_of(words, running); words.end() - command > 1)
    await_serial_keeper(command[1]);
  result.output = contents(output);
  result.errors = without_warnings(contents(errors));
  return result;
}

inline outcome launch(std::vector<std::string> words) {
  words.insert(words.begin(), launcher_path);
  return run(words);
}

/// With an application that `play` or `film` starts: a sanitizer's library has to come before the simulator's.
inline outcome launch_with_application(std::vector<std::string> words) {
  words.insert(words.begin(), {"/usr/bin/env", std::string{"LD_PRELOAD="} + preloaded_first,
                               "ASAN_OPTIONS=detect_leaks=0:quarantine_size_mb=1", launcher_path});
  return run(words);
}

} // namespace dravik::test
