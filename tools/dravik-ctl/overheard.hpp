// Captured standard output and standard error of a library call and of the commands that it runs.
#pragma once

#include <string>
#include <string_view>

namespace dravik::ctl {

/// Keep the output of a call from the terminal, so that a failure is one line with its reason, and
/// --json is nothing but JSON. Not to be nested.
class overheard {
public:
  template <class Call> explicit overheard(Call call) {
    begin();
    call();
    end();
  }

  bool said_nothing() const noexcept { return words_.empty(); }
  /// The first or last line that holds `part`; empty when there is none.
  std::string first_line(std::string_view part = {}) const;
  std::string last_line() const;

  /// Whether the output is copied to standard error after each call: --verbose.
  static void let_through(bool on) noexcept { let_through_ = on; }

private:
  void begin();
  void end();

  std::string words_;
  int file_ = -1, output_ = -1, errors_ = -1; ///< the capturing descriptor, and the one it replaces
  static inline bool let_through_ = false;
};

/// "message (reason)", or the message alone.
std::string because(std::string_view message, const std::string &reason);

} // namespace dravik::ctl
