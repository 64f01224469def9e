// "adc" and "temperature".

#include "common/numbers.hpp"
#include "dravik-ctl/captured_output.hpp"
#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/devices.hpp"
#include "dravik-ctl/readings.hpp"
#include "dravik.h"

#include <algorithm>
#include <array>

namespace dravik::ctl {
namespace {

constexpr std::string_view adc_help =
    R"(Usage: dravik-ctl adc [CHANNEL]

Read the analogue inputs.

CHANNEL is 0 to 3. Codes have 10 bits, 0 to 1023.

Output: codes and lines of channels 0 to 3; with CHANNEL channel, code and
line. A line is the driver's text; the library reads the code from its tenth
character on.

Examples:
  dravik-ctl adc
  dravik-ctl adc 1

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr std::string_view temperature_help =
    R"(Usage: dravik-ctl temperature
       dravik-ctl temperature --watch [--count N] [--interval MS]

Read the board's temperature, from ADC channel 1.

Options:
  --watch        print readings, one per line, until interrupted
  --count N      stop after N readings
  --interval MS  time between readings in ms, 10 to 60000 (default: 100)

Output: celsius, and beyond_range: yes if the input is above or below the
measurable range

Examples:
  dravik-ctl temperature
  dravik-ctl temperature --watch --interval 1000

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

/// The driver's text of a channel, without its line end.
std::string line_of(size_t channel) {
  std::array<char, DRAVIK_ADC_LINE_SIZE> line = {};
  const captured_output output{[&] { read_adc_str(static_cast<int32_t>(channel), line.data()); }};
  const std::string_view text = line.data();
  return std::string{text.substr(0, text.find('\n'))};
}

outcome adc(const command_line &given, value::fields &report, std::string &error) {
  const auto channel =
      given.operands().empty() ? 0 : tools::number_of(given.operands()[0], 0, DRAVIK_ADC_CHANNELS - 1);
  if (!channel)
    return misused(error, "invalid CHANNEL '" + given.operands()[0] + "'; must be 0 to 3");
  std::array<uint32_t, DRAVIK_ADC_CHANNELS> codes;
  int32_t result = -1;
  const captured_output output{[&] { result = read_adc(codes.data()); }};
  if (result != 0)
    return failed(error, device_failure(because("adc: cannot be read", output.first_line())));
  if (!given.operands().empty()) {
    report = {{"channel", *channel}, {"code", codes[*channel]}, {"line", line_of(*channel)}};
    return outcome::done;
  }
  value::list lines;
  for (size_t i = 0; i < DRAVIK_ADC_CHANNELS; ++i)
    lines.emplace_back(line_of(i));
  report = {{"codes", value::list(codes.begin(), codes.end())}, {"lines", lines}};
  return outcome::done;
}

bool read_degrees(value::fields &reading, std::string &error) {
  int32_t read = -1;
  const captured_output output{[&] { read = read_temperature(); }};
  reading = {{"celsius", thousandths{read}},
             {"beyond_range", read == DRAVIK_TEMPERATURE_MAX || read == DRAVIK_TEMPERATURE_MIN}};
  if (!output.is_empty())
    error = device_failure(because("temperature: cannot be read", output.first_line()));
  return output.is_empty();
}

outcome temperature(const command_line &given, value::fields &report, std::string &error) {
  watch_request request;
  if (!read_watch_request(given, request, error))
    return outcome::misused;
  return report_readings(given, request, read_degrees, line_form::columns, report, error);
}

} // namespace

extern constinit const command adc_command = {.name = "adc",
                                              .summary = "read the analogue inputs",
                                              .help = adc_help,
                                              .optional_operands = 1,
                                              .run = reporting<adc>};
extern constinit const command temperature_command = {.name = "temperature",
                                                      .summary = "read the board's temperature",
                                                      .help = temperature_help,
                                                      .options = watch_options,
                                                      .run = reporting<temperature>};

} // namespace dravik::ctl
