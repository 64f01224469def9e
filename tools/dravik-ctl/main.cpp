// dravik-ctl: what an engineer asks of a board over its serial line.

#include "dravik-ctl/commands.hpp"

#include <csignal>

namespace dravik::ctl {
namespace {

constexpr std::string_view tool_help =
    R"(dravik-ctl COMMAND ...

Asks and tells a board, by the functions of libdravik.

  info                      the board at a glance
  gpio get|set LINE [LEVEL] a GPIO line
  led off|red|green|orange  the status LED
  backlight [on|off|LEVEL]  the LCD's backlight
  adc [CHANNEL]             the analogue inputs
  temperature               the board's temperature
  accel [--watch]           the accelerometer
  hdmi                      whether a monitor is attached
  net [INTERFACE]           the network's addresses
  card [check|repair|partition|format]
                            the memory card
  recordings                the recordings on the card
  play FILE                 a sound, to its end
  volume PERCENT|mute       the speaker
  mic on|off                the microphone
  show PICTURE [INDEX]      a BMP or JPEG picture, or an image of an archive
  text X Y STRING           a line of text
  region [FILE]             the device's region; region write REGION FILE makes a file of one

  COMMAND --help            more about a command
  --version                 the version of this tool

Every command takes
  --json     one JSON object in a line instead of text; the names are the same, with underscores for blanks,
             and what the board does not tell is null instead of -
  --verbose  what the library says meanwhile, on standard error

Examples:
  dravik-ctl info
  dravik-ctl gpio get 68 --json
  dravik-ctl text 20 20 'hello board'

The status is 0 when all went well, 1 when the board said no (one line on standard error says why), and 2 when
the command line is wrong.
)";

constexpr option_rule common_options[] = {{"--json", false}, {"--verbose", false}};

} // namespace
} // namespace dravik::ctl

int main(int argc, char **argv) {
  using namespace dravik::ctl;
  std::signal(SIGPIPE, SIG_IGN); // a reader that went away is output lost, and told as that
  const command commands[] = {
      info_command,   gpio_command, led_command,  backlight_command, adc_command,        temperature_command,
      accel_command,  hdmi_command, net_command,  card_command,      recordings_command, play_command,
      volume_command, mic_command,  show_command, text_command,      region_command};
  return dravik::tools::run_tool({"dravik-ctl", DRAVIK_CTL_VERSION, tool_help, common_options, commands},
                                 argc, argv);
}
