// Readings: one as a report, or one per line until interrupted.
#pragma once

#include "dravik-ctl/commands.hpp"

#include <csignal>

namespace dravik::ctl {

/// Options of a command that can repeat its reading.
inline constexpr option_rule watch_options[] = {{"--watch", false}, {"--count", true}, {"--interval", true}};

struct watch_request {
  bool is_watch;
  uint32_t count;
  uint32_t interval_ms;
};

/// On failure returns false and sets `error`.
[[nodiscard]] bool read_watch_request(const command_line &given, watch_request &request, std::string &error);

/// Blocks SIGINT and SIGTERM, so that a command can stop its device before it ends.
class held_signals {
public:
  held_signals();
  /// Wait for one of them. Return whether one came within the time.
  bool came_within(uint32_t ms) const;

private:
  sigset_t signals_;
};

/// One reading. On failure returns false and sets `error`.
using reader = bool(value::fields &reading, std::string &error);

/// Text of a reading on one line: aligned values, or values with their names.
enum class line_form { columns, named };

/// Read once into the report, or print one reading per line as requested.
outcome report_readings(const command_line &given, const watch_request &request, reader *read, line_form form,
                        value::fields &report, std::string &error);

} // namespace dravik::ctl
