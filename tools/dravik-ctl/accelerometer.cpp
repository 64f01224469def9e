// "accel": the accelerometer, once or until it is enough.

#include "common/numbers.hpp"
#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/overheard.hpp"
#include "dravik.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace dravik::ctl {
namespace {

constexpr std::string_view accel_help =
    R"(dravik-ctl accel
dravik-ctl accel --watch [--count N] [--interval MS]

Starts the accelerometer, reads its three axes, and leaves it in its low-power mode.

  --watch        read on and on, a line a reading, until Ctrl-C
  --count N      end after N readings
  --interval MS  milliseconds from one reading to the next, 10 to 60000; 100 if not given

Tells: x, y and z, in counts from -4096 to 4094; with --watch in columns, or an object a line

Examples:
  dravik-ctl accel
  dravik-ctl accel --verbose                  with every register that is written
  dravik-ctl accel --watch --count 20 --json
)";

constexpr option_rule accel_options[] = {{"--watch", false}, {"--count", true}, {"--interval", true}};

struct watch_order {
  bool is_watch;
  uint32_t count;
  uint32_t interval_ms;
};

bool read_order(const command_line &given, watch_order &order, std::string &error) {
  const auto count = tools::number_of(given.value("--count", "1"), 1);
  const auto interval = tools::number_of(given.value("--interval", "100"), 10, 60000);
  order = {given.has("--watch"), given.has("--count") ? count.value_or(0) : UINT32_MAX, interval.value_or(0)};
  if (!order.is_watch && (given.has("--count") || given.has("--interval")))
    error = "--count and --interval go with --watch";
  else if (!count)
    error = "--count takes a number from 1";
  else if (!interval)
    error = "--interval takes a number from 10 to 60000";
  return error.empty();
}

/// Holds back the signals that end the tool, so that the sensor is left as it should be; it waits for them
/// instead.
class held_signals {
public:
  held_signals() {
    ::sigemptyset(&signals_);
    ::sigaddset(&signals_, SIGINT);
    ::sigaddset(&signals_, SIGTERM);
    ::sigprocmask(SIG_BLOCK, &signals_, nullptr);
  }

  /// Whether one came within the time.
  bool came_within(uint32_t ms) const {
    const timespec time = {static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1000000};
    return ::sigtimedwait(&signals_, nullptr, &time) > 0;
  }

private:
  sigset_t signals_;
};

bool read_axes(value::fields &axes, std::string &error) {
  int32_t x = 0, y = 0, z = 0;
  const overheard said{[&] {
    gsensor_check_data_ready();
    gsensor_get_data(&x, &y, &z);
  }};
  axes = {{"x", x}, {"y", y}, {"z", z}};
  if (!said.said_nothing())
    error = because("the accelerometer cannot be read", said.first_line());
  return said.said_nothing();
}

bool tell_line(const command_line &given, const value::fields &axes, std::string &error) {
  if (given.has("--json"))
    tell(given, axes);
  else
    for (const field &axis : axes)
      std::printf("%8s%s", axis.content.inline_text().c_str(), &axis == &axes.back() ? "\n" : "");
  if (std::fflush(stdout) == 0)
    return true;
  error = std::string{"standard output: "} + std::strerror(errno);
  return false;
}

/// Reads as ordered. What is read once goes into the report, what is watched is told at once.
outcome read_as_ordered(const command_line &given, const watch_order &order, const held_signals &signals,
                        value::fields &report, std::string &error) {
  if (!order.is_watch)
    return read_axes(report, error) ? outcome::done : outcome::failed;
  for (uint32_t left = order.count; left > 0; --left) {
    value::fields axes;
    if (!read_axes(axes, error) || !tell_line(given, axes, error))
      return outcome::failed;
    if (left > 1 && signals.came_within(order.interval_ms))
      break;
  }
  return outcome::done;
}

outcome accel(const command_line &given, value::fields &report, std::string &error) {
  watch_order order;
  if (!read_order(given, order, error))
    return outcome::misused;
  const held_signals signals;
  int32_t started = -1;
  const overheard said{[&] { started = gsensor_init(); }};
  if (started != 0)
    return failed(error, because("the accelerometer's bus cannot be opened", said.first_line()));
  const std::string refusal = said.first_line("error");
  outcome ended = outcome::failed;
  if (refusal.empty())
    ended = read_as_ordered(given, order, signals, report, error);
  else
    error = because("the accelerometer does not answer as it should", refusal);
  if (ended == outcome::failed)
    report.clear();
  const overheard parting{[] { gsensor_exit(); }};
  return ended;
}

} // namespace

constinit const command accel_command = {"accel", accel_help, accel_options, 0, 0, reporting<accel>};

} // namespace dravik::ctl
