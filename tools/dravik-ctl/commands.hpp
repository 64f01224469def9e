// The commands, by what they are about. Each file has its commands' rules, texts and functions together.
#pragma once

#include "common/tool.hpp"
#include "dravik-ctl/value.hpp"

namespace dravik::ctl {

using tools::command;
using tools::command_line;
using tools::option_rule;
using tools::outcome;

/// Does what a command is there for. Fills in the report, or says in `error` why not.
using reporter = outcome(const command_line &given, value::fields &report, std::string &error);

/// Tells a report on standard output, in the form that was asked for.
void tell(const command_line &given, const value::fields &report);

/// Makes a command of a reporter: what it reports is told when it is done.
outcome run_and_tell(reporter *does, const command_line &given, std::string &error);
template <reporter *Does> outcome reporting(const command_line &given, std::string &error) {
  return run_and_tell(Does, given, error);
}

inline outcome failed(std::string &error, std::string why) {
  error = std::move(why);
  return outcome::failed;
}
inline outcome misused(std::string &error, std::string why) {
  error = std::move(why);
  return outcome::misused;
}

extern const command info_command;
extern const command gpio_command, led_command;
extern const command backlight_command;
extern const command adc_command, temperature_command, accel_command;
extern const command hdmi_command, net_command;
extern const command card_command, recordings_command;
extern const command play_command, volume_command, mic_command;
extern const command show_command, text_command;
extern const command region_command;

} // namespace dravik::ctl
