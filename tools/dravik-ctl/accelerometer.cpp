// "accel": the accelerometer.

#include "dravik-ctl/captured_output.hpp"
#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/devices.hpp"
#include "dravik-ctl/readings.hpp"
#include "dravik.h"

namespace dravik::ctl {
namespace {

constexpr std::string_view accel_help =
    R"(Usage: dravik-ctl accel
       dravik-ctl accel --watch [--count N] [--interval MS]

Read the accelerometer.

Starts the sensor, reads its three axes and leaves it in low-power mode.

Options:
  --watch        print readings, one per line, until interrupted
  --count N      stop after N readings
  --interval MS  time between readings in ms, 10 to 60000 (default: 100)

Output: x, y and z in mg, -4096 to 4094

Examples:
  dravik-ctl accel
  dravik-ctl accel --verbose    with every register that is written
  dravik-ctl accel --watch --count 20 --json

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

bool read_axes(value::fields &axes, std::string &error) {
  int32_t x = 0, y = 0, z = 0;
  const captured_output output{[&] {
    gsensor_check_data_ready();
    gsensor_get_data(&x, &y, &z);
  }};
  axes = {{"x", x}, {"y", y}, {"z", z}};
  if (!output.is_empty())
    error = because("accelerometer: cannot be read", output.first_line());
  return output.is_empty();
}

outcome accel(const command_line &given, value::fields &report, std::string &error) {
  watch_request request;
  if (!read_watch_request(given, request, error))
    return outcome::misused;
  const held_signals until_the_sensor_is_stopped;
  int32_t started = -1;
  const captured_output output{[&] { started = gsensor_init(); }};
  if (started != 0)
    return failed(error, device_failure(because("accelerometer: bus cannot be opened", output.first_line())));
  const std::string unexpected = output.first_line("error");
  outcome ended = outcome::failed;
  if (unexpected.empty())
    ended = report_readings(given, request, read_axes, line_form::columns, report, error);
  else
    error = because("accelerometer: unexpected answer", unexpected);
  const captured_output stop_output{[] { gsensor_exit(); }};
  return ended;
}

} // namespace

extern constinit const command accel_command = {.name = "accel",
                                                .summary = "read the accelerometer",
                                                .help = accel_help,
                                                .options = watch_options,
                                                .run = reporting<accel>};

} // namespace dravik::ctl
