// Check whether a program can run on a board, for the launcher and for applications that start others.
// Allocates nothing; reads the host's own files.
#pragma once

namespace dravik::sim {

struct program_judgement {
  /// Error number of the exec() to be rejected; 0 if the preload library reaches into the program.
  int error = 0;
  /// Whether the kernel itself rejects it: the file does not exist or is not a program.
  bool is_the_kernels = false;
  /// The reason, to be printed after the name of the program; empty if there is no error.
  char reason[640] = {};
};

/// Check a program, or the interpreter of a script.
program_judgement judge_program(const char *path) noexcept;

} // namespace dravik::sim
