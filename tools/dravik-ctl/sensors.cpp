// "adc" and "temperature".

#include "common/numbers.hpp"
#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/overheard.hpp"
#include "dravik.h"

#include <algorithm>
#include <array>

namespace dravik::ctl {
namespace {

constexpr std::string_view adc_help =
    R"(dravik-ctl adc [CHANNEL]

Reads the analogue inputs: codes of 10 bits, 0 to 1023. CHANNEL is 0 to 3.

Tells: codes and lines, of channels 0 to 3; or channel, code and line. A line is what the driver says of a channel; the
library takes its code from the tenth character on.

Examples:
  dravik-ctl adc
  dravik-ctl adc 1
)";

constexpr std::string_view temperature_help =
    R"(dravik-ctl temperature

Reads the board's temperature, from analogue input 1.

Tells: celsius; beyond_range, when the input is above or below what the board can measure

Example:
  dravik-ctl temperature
)";

constexpr size_t channels = 4;
constexpr int32_t above_range = 117000, below_range = -1000; ///< what the library gives beyond its table

/// What the driver says of a channel, without its line end.
std::string line_of(size_t channel) {
  std::array<char, 32> line = {};
  const overheard said{[&] { read_adc_str(static_cast<int32_t>(channel), line.data()); }};
  const std::string_view text = line.data();
  return std::string{text.substr(0, text.find('\n'))};
}

outcome adc(const command_line &given, value::fields &report, std::string &error) {
  const auto channel = given.operands().empty() ? 0 : tools::number_of(given.operands()[0], 0, channels - 1);
  if (!channel)
    return misused(error, "'" + given.operands()[0] + "' is not a channel from 0 to 3");
  std::array<uint32_t, channels> codes;
  int32_t result = -1;
  const overheard said{[&] { result = read_adc(codes.data()); }};
  if (result != 0)
    return failed(error, because("the analogue inputs cannot be read", said.first_line()));
  if (!given.operands().empty()) {
    report = {{"channel", *channel}, {"code", codes[*channel]}, {"line", line_of(*channel)}};
    return outcome::done;
  }
  value::list lines;
  for (size_t i = 0; i < channels; ++i)
    lines.emplace_back(line_of(i));
  report = {{"codes", value::list(codes.begin(), codes.end())}, {"lines", lines}};
  return outcome::done;
}

outcome temperature(const command_line &, value::fields &report, std::string &error) {
  int32_t read = -1;
  const overheard said{[&] { read = read_temperature(); }};
  if (!said.said_nothing())
    return failed(error, because("the temperature cannot be read", said.first_line()));
  report = {{"celsius", thousandths{read}}, {"beyond_range", read == above_range || read == below_range}};
  return outcome::done;
}

} // namespace

constinit const command adc_command = {"adc", adc_help, {}, 0, 1, reporting<adc>};
constinit const command temperature_command = {"temperature",         temperature_help, {}, 0, 0,
                                               reporting<temperature>};

} // namespace dravik::ctl
