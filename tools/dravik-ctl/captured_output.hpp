// Captured standard output and standard error of a library call and of the commands that it runs.
#pragma once

#include <string>
#include <string_view>

namespace dravik::ctl {

/// Keep the output of a call from the terminal, so that a failure is one line with its reason, and --json
/// prints only JSON. Must not be nested.
class captured_output {
public:
  template <class Call> explicit captured_output(Call call) {
    begin();
    call();
    end();
  }

  bool is_empty() const noexcept { return text_.empty(); }
  /// Return the first line that contains `part`, or the last line; empty if there is none.
  std::string first_line(std::string_view part = {}) const;
  std::string last_line() const;

  /// Copy the output to standard error after each call (--verbose), or do not.
  static void print_to_stderr(bool on) noexcept { prints_to_stderr_ = on; }

private:
  void begin();
  void end();

  std::string text_;
  int file_ = -1, output_ = -1, errors_ = -1; ///< the capturing descriptor, and the one it replaces
  static inline bool prints_to_stderr_ = false;
};

/// "message (reason)", or the message alone.
std::string because(std::string_view message, const std::string &reason);

} // namespace dravik::ctl
