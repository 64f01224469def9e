// What the library, and the commands that it runs, say on standard output and standard error during a call.
#pragma once

#include <string>
#include <string_view>

namespace dravik::ctl {

/// Keeps the words of a call from the terminal, so that a failure is one line with the reason in it, and
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

  /// Whether the words go to standard error too, after each call: --verbose.
  static void let_through(bool on) noexcept { let_through_ = on; }

private:
  void begin();
  void end();

  std::string words_;
  int file_ = -1, output_ = -1, errors_ = -1; ///< what collects, and what it stands in for
  static inline bool let_through_ = false;
};

/// "message (reason)", or the message alone.
std::string because(std::string_view message, const std::string &reason);

} // namespace dravik::ctl
