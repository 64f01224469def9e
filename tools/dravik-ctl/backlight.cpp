// "backlight": the LCD's light and its panel.

#include "common/files.hpp"
#include "common/numbers.hpp"
#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/devices.hpp"

namespace dravik::ctl {
namespace {

constexpr std::string_view backlight_help =
    R"(Usage: dravik-ctl backlight [on|off|LEVEL]

Query or set the LCD's backlight.

LEVEL is the brightness, 0 to 1000. 'on' and 'off' switch the light and also
unblank or blank the panel, if there is a screen.

Output: power (on or off) and brightness, read from the driver afterwards; null
if its file does not contain a number

Examples:
  dravik-ctl backlight
  dravik-ctl backlight 700
  dravik-ctl backlight off

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr uint32_t brightest = 1000;
constexpr const char *folder = "/sys/class/backlight/pwm-backlight.0/";

/// The value of one of the driver's attributes, if it is a number.
std::optional<uint32_t> attribute(const char *name) {
  std::vector<uint8_t> bytes;
  std::string unreadable;
  if (!tools::read_file(std::string{folder} + name, bytes, unreadable))
    return {};
  const std::string text{bytes.begin(), bytes.end()};
  return tools::number_of(std::string_view{text}.substr(0, text.find('\n')));
}

struct light {
  std::optional<uint32_t> brightness = attribute("brightness");
  std::optional<uint32_t> power = attribute("bl_power"); ///< 0 is on
};

value::fields report_of(const light &shown) {
  return {{"power", shown.power ? value{*shown.power == 0 ? "on" : "off"} : value{nullptr}},
          {"brightness", shown.brightness ? value{*shown.brightness} : value{nullptr}}};
}

/// lcd_bl_on() and lcd_bl_off() also switch the panel of an open screen.
void switch_light(bool on) {
  const bool has_screen = query_screen().opens;
  if (has_screen)
    fb_init();
  else
    fbfd = -1;
  on ? lcd_bl_on() : lcd_bl_off();
  if (has_screen)
    fb_exit();
}

outcome backlight(const command_line &given, value::fields &report, std::string &error) {
  const std::string word = given.operands().empty() ? "" : given.operands()[0];
  const auto level = tools::number_of(word, 0, brightest);
  const bool is_switch = word == "on" || word == "off";
  if (!word.empty() && !is_switch && !level)
    return misused(error, "invalid setting '" + word + "'; must be on, off or 0 to 1000");
  if (lcd_bl_init() != 1)
    return failed(error, device_failure(std::string{"backlight: files in "} + folder + " cannot be opened"));
  if (level)
    lcd_bl_set(static_cast<int32_t>(*level));
  else if (is_switch)
    switch_light(word == "on");
  lcd_bl_exit();

  const light shown;
  const bool is_set =
      !(level && shown.brightness != level) && !(is_switch && shown.power != (word == "on" ? 0U : 1U));
  if (!is_set)
    return failed(error, "backlight: setting not accepted by the driver");
  if (!shown.brightness && !shown.power)
    return failed(error, std::string{"backlight: files in "} + folder + " contain no number");
  report = report_of(shown);
  return outcome::done;
}

} // namespace

extern constinit const command backlight_command = {.name = "backlight",
                                                    .summary = "query or set the LCD's backlight",
                                                    .help = backlight_help,
                                                    .optional_operands = 1,
                                                    .run = reporting<backlight>};

} // namespace dravik::ctl
