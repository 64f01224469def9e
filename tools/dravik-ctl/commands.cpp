// The table of commands: each is declared with its help in the file of its function.

#include "dravik-ctl/commands.hpp"

namespace dravik::ctl {

extern const command info_command, gpio_command, led_command, backlight_command, adc_command,
    temperature_command, accel_command, hdmi_command, net_command, card_command, recordings_command,
    play_command, volume_command, mic_command, show_command, text_command, region_command;

std::span<const command *const> commands() noexcept {
  static constexpr const command *all[] = {
      &info_command,        &gpio_command,  &led_command,    &backlight_command, &adc_command,
      &temperature_command, &accel_command, &hdmi_command,   &net_command,       &card_command,
      &recordings_command,  &play_command,  &volume_command, &mic_command,       &show_command,
      &text_command,        &region_command};
  return all;
}

} // namespace dravik::ctl
