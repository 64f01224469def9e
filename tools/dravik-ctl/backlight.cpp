// "backlight": the LCD's light and its panel.

#include "common/files.hpp"
#include "common/numbers.hpp"
#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/devices.hpp"

namespace dravik::ctl {
namespace {

constexpr std::string_view backlight_help =
    R"(dravik-ctl backlight
dravik-ctl backlight on|off|LEVEL

Tells how the LCD's backlight is set. on and off switch it, and unblank or blank the panel with it, if there is a
screen; LEVEL is its brightness from 0 to 1000.

Tells: power (on or off) and brightness, as the driver gives them afterwards

Examples:
  dravik-ctl backlight
  dravik-ctl backlight 700
  dravik-ctl backlight off
)";

constexpr uint32_t brightest = 1000;
constexpr const char *folder = "/sys/class/backlight/pwm-backlight.0/";

/// What the driver gives for one of its attributes; nothing when that is no number.
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

value::fields told(const light &shown) {
  return {{"power", shown.power ? value{*shown.power == 0 ? "on" : "off"} : value{nullptr}},
          {"brightness", shown.brightness ? value{*shown.brightness} : value{nullptr}}};
}

/// The panel goes with the light, so the screen is opened where there is one.
void switch_light(bool on) {
  const bool has_screen = ask_screen().opens;
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
    return misused(error, "'" + word + "' is neither on nor off nor a level from 0 to 1000");
  if (lcd_bl_init() != 1)
    return failed(error, std::string{"the backlight's files in "} + folder + " cannot be opened");
  if (level)
    lcd_bl_set(static_cast<int32_t>(*level));
  else if (is_switch)
    switch_light(word == "on");
  lcd_bl_exit();

  const light shown;
  const bool is_set =
      !(level && shown.brightness != level) && !(is_switch && shown.power != (word == "on" ? 0U : 1U));
  if (!is_set)
    return failed(error, "the backlight's driver did not take it");
  report = told(shown);
  return outcome::done;
}

} // namespace

constinit const command backlight_command = {"backlight", backlight_help, {}, 0, 1, reporting<backlight>};

} // namespace dravik::ctl
