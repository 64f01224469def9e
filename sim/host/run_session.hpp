// A run of an application that the launcher follows: its start, its reboots, signals to the launcher, its end.
#pragma once

#include "base/unique_fd.hpp"
#include "host/application.hpp"

#include <chrono>
#include <csignal>
#include <string>
#include <vector>

namespace dravik::sim {

/// One per process: signals to end the launcher are blocked while it lives.
class run_session {
public:
  using clock = std::chrono::steady_clock; ///< CLOCK_MONOTONIC, as the board's devices

  /// `run_arguments` are those of `dravik-sim run`; none at all for no application.
  run_session(std::string board, std::vector<std::string> run_arguments);
  ~run_session();
  run_session(const run_session &) = delete;
  run_session &operator=(const run_session &) = delete;

  /// Return false and set `error` on failure.
  [[nodiscard]] bool start(std::string &error);

  /// Wait until a file of the board changes, a process ends, a signal arrives, or a time is reached. Stores to
  /// frame buffer memory do not wake it.
  void wait_until(clock::time_point time);

  /// Collect what has happened; start the application again after a reboot.
  void look();

  const sim::application &application() const noexcept { return application_; }
  /// Whether the application has ended, and all its output is in the files of the board.
  bool has_ended() const;
  bool is_interrupted() const noexcept { return is_interrupted_; }

  /// Request the application to end.
  void stop() const { application_.send(SIGTERM); }
  /// End the application if it still runs, and wait until the board is at rest. An application that does not
  /// end by itself is killed; then return false.
  bool end();

private:
  template <class Condition> bool await(Condition holds);
  void watch_files();
  void read_signals();

  std::string board_;
  sim::application application_;
  sigset_t signals_before_ = {};
  unique_fd signals_;
  unique_fd changes_;
  clock::time_point started_;
  bool is_interrupted_ = false;
  bool is_ending_ = false;
};

} // namespace dravik::sim
