// Whether a program can be run on a board at all. For the launcher, and for applications that start others:
// needs no run-time library, allocates nothing and looks at the host's own files.
#pragma once

namespace dravik::sim {

struct program_judgement {
  /// Of the exec() that is to be refused; 0 for a program that the preload library reaches into.
  int error = 0;
  /// Whether the kernel refuses it by itself: there is no such program, or it is none.
  bool is_the_kernels = false;
  /// Why, in words that follow the program's name; empty when there is no error.
  char reason[640] = {};
};

/// Follows a script to the program that runs it.
program_judgement judge_program(const char *path) noexcept;

} // namespace dravik::sim
