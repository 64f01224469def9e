// "gpio" and "led": lines of the board.

#include "common/numbers.hpp"
#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/devices.hpp"
#include "dravik-ctl/overheard.hpp"

#include <algorithm>

namespace dravik::ctl {
namespace {

constexpr std::string_view gpio_help =
    R"(dravik-ctl gpio get LINE
dravik-ctl gpio set LINE LEVEL

Reads a GPIO line, or drives it to LEVEL, 0 or 1.

Tells: line, level

Examples:
  dravik-ctl gpio get 68        the card's write-lock switch: 1 when it is on
  dravik-ctl gpio set 82 1      the red half of the status LED
)";

constexpr std::string_view led_help =
    R"(dravik-ctl led off|red|green|orange

Shows the status LED in a colour, or switches it off.

Tells: led

Example:
  dravik-ctl led orange
)";

/// Calls the driver; the level that it gives, or an error.
template <class Call>
outcome ask_line(uint32_t line, const char *failure, Call call, value::fields &report, std::string &error) {
  if (!open_gpio(error))
    return outcome::failed;
  int32_t level = -1;
  const overheard said{[&] { level = call(); }};
  gpio_exit();
  if (level < 0)
    return failed(error, because("line " + std::to_string(line) + failure, said.first_line()));
  report = {{"line", line}, {"level", level}};
  return outcome::done;
}

outcome gpio(const command_line &given, value::fields &report, std::string &error) {
  const auto &words = given.operands();
  const auto line = tools::number_of(words[1]);
  const auto level = words.size() == 3 ? tools::number_of(words[2], 0, 1) : 0;
  if (words[0] != "get" && words[0] != "set")
    return misused(error, "'" + words[0] + "' is neither get nor set");
  if (!line)
    return misused(error, "'" + words[1] + "' is not the number of a line");
  if (words.size() != (words[0] == "get" ? 2U : 3U) || !level)
    return misused(error,
                   words[0] == "get" ? "get takes a line alone" : "set takes a line and a level, 0 or 1");
  if (words[0] == "get")
    return ask_line(
        *line, " cannot be read", [&] { return gpio_get(*line); }, report, error);
  return ask_line(
      *line, " cannot be driven", [&] { return gpio_set(*line, *level); }, report, error);
}

struct led_colour {
  std::string_view name;
  int32_t (*show)() noexcept;
};
constexpr led_colour led_colours[] = {
    {"off", led_off}, {"red", led_red}, {"green", led_green}, {"orange", led_orange}};

outcome led(const command_line &given, value::fields &report, std::string &error) {
  const std::string &name = given.operands()[0];
  const auto *const chosen = std::ranges::find(led_colours, name, &led_colour::name);
  if (chosen == std::end(led_colours))
    return misused(error, "'" + name + "' is none of off, red, green, orange");
  if (!open_gpio(error))
    return outcome::failed;
  int32_t shown = -1;
  const overheard said{[&] { shown = chosen->show(); }};
  gpio_exit();
  if (shown < 0 || !said.said_nothing())
    return failed(error, because("the LED cannot be set", said.first_line()));
  report = {{"led", name}};
  return outcome::done;
}

} // namespace

constinit const command gpio_command = {"gpio", gpio_help, {}, 2, 3, reporting<gpio>};
constinit const command led_command = {"led", led_help, {}, 1, 1, reporting<led>};

} // namespace dravik::ctl
