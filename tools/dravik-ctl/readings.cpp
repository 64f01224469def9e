// Signals, pace and lines of repeated readings.

#include "dravik-ctl/readings.hpp"

#include "common/numbers.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace dravik::ctl {
namespace {

void print_line(const value::fields &reading, line_form form) {
  if (form == line_form::named) {
    std::puts(value{reading}.inline_text().c_str());
    return;
  }
  for (const field &each : reading)
    std::printf("%8s%s", each.content.inline_text().c_str(), &each == &reading.back() ? "\n" : "");
}

bool print_reading(const command_line &given, const value::fields &reading, line_form form,
                   std::string &error) {
  if (given.has("--json"))
    print_report(given, reading);
  else
    print_line(reading, form);
  if (std::fflush(stdout) == 0)
    return true;
  error = std::string{"standard output: "} + std::strerror(errno);
  return false;
}

} // namespace

bool read_watch_request(const command_line &given, watch_request &request, std::string &error) {
  const auto count = tools::number_of(given.value("--count", "1"), 1);
  const auto interval = tools::number_of(given.value("--interval", "100"), 10, 60000);
  request = {given.has("--watch"), given.has("--count") ? count.value_or(0) : UINT32_MAX,
             interval.value_or(0)};
  if (!request.is_watch && (given.has("--count") || given.has("--interval")))
    error = "missing --watch; --count and --interval require it";
  else if (!count)
    error = "invalid --count '" + given.value("--count") + "'; must be at least 1";
  else if (!interval)
    error = "invalid --interval '" + given.value("--interval") + "'; must be 10 to 60000";
  return error.empty();
}

held_signals::held_signals() {
  ::sigemptyset(&signals_);
  ::sigaddset(&signals_, SIGINT);
  ::sigaddset(&signals_, SIGTERM);
  ::sigprocmask(SIG_BLOCK, &signals_, nullptr);
}

bool held_signals::came_within(uint32_t ms) const {
  const timespec time = {static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1000000};
  return ::sigtimedwait(&signals_, nullptr, &time) > 0;
}

outcome report_readings(const command_line &given, const watch_request &request, reader *read, line_form form,
                        value::fields &report, std::string &error) {
  value::fields reading;
  if (!request.is_watch) {
    if (!read(reading, error))
      return outcome::failed;
    report = reading;
    return outcome::done;
  }
  const held_signals signals;
  for (uint32_t left = request.count; left > 0; --left) {
    if (!read(reading, error) || !print_reading(given, reading, form, error))
      return outcome::failed;
    if (left > 1 && signals.came_within(request.interval_ms))
      break;
  }
  return outcome::done;
}

} // namespace dravik::ctl
