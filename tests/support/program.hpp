// Other programs, whose answers are compared with the library's.
#pragma once

#include "support/leave_board.hpp"

#include <cstdio>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace dravik::test {

using words = std::vector<std::string>;

/// Run a program to its end, with its output in a file. Return its exit status; 127 if the program does not
/// exist, -1 if it was killed.
inline int run_program(const words &command, const std::string &output = "/dev/null") {
  std::vector<char *> arguments;
  for (const std::string &word : command)
    arguments.push_back(const_cast<char *>(word.c_str()));
  arguments.push_back(nullptr);
  const pid_t child = ::fork();
  if (child == 0) {
    leave_board();
    if (std::freopen(output.c_str(), "wb", stdout) != nullptr &&
        std::freopen("/dev/null", "wb", stderr) != nullptr)
      ::execvp(arguments[0], arguments.data());
    ::_exit(127);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace dravik::test
