// An application on a board, while the launcher follows it: a child process that `dravik-sim run` becomes.
#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace dravik::sim {

enum class application_state : uint8_t {
  none, ///< there is none to be started
  running,
  restarting, ///< the board reboots
  ended,
};

class application {
public:
  /// The arguments of `dravik-sim run`, and the name to show; none at all for no application.
  application(std::vector<std::string> run_arguments, std::string name);
  application(const application &) = delete;
  application &operator=(const application &) = delete;

  application_state state() const noexcept { return state_; }
  const std::string &name() const noexcept { return name_; }
  /// The exit status; 128 and its number after a signal.
  int status() const noexcept { return status_; }

  /// Does nothing if it is running. Return false and set `error` on failure.
  [[nodiscard]] bool start(std::string &error);
  /// To be called after a child has ended; returns whether it was this one.
  bool collect();
  /// To the application and its children.
  void send(int signal) const;

private:
  [[noreturn]] void become() const;

  std::vector<std::string> run_arguments_;
  std::string name_;
  application_state state_ = application_state::none;
  int status_ = 0;
  pid_t process_ = -1;
  pid_t parent_;
};

} // namespace dravik::sim
