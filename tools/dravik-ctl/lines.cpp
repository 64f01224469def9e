// "gpio" and "led": GPIO lines.

#include "common/numbers.hpp"
#include "dravik-ctl/captured_output.hpp"
#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/devices.hpp"

#include <algorithm>

namespace dravik::ctl {
namespace {

constexpr std::string_view gpio_help =
    R"(Usage: dravik-ctl gpio get LINE
       dravik-ctl gpio set LINE LEVEL

Read a GPIO line, or drive it.

LEVEL is 0 (low) or 1 (high).

Output: line, level

Examples:
  dravik-ctl gpio get 68    write-protect switch of the card: 1 if locked
  dravik-ctl gpio set 82 1  red half of the status LED

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr std::string_view led_help =
    R"(Usage: dravik-ctl led off|red|green|orange

Set the colour of the status LED, or switch it off.

Output: led

Examples:
  dravik-ctl led orange

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

/// Call the driver and report the level that it returns.
template <class Call>
outcome query_line(uint32_t line, const char *failure, Call call, value::fields &report, std::string &error) {
  if (!open_gpio(error))
    return outcome::failed;
  int32_t level = -1;
  const captured_output output{[&] { level = call(); }};
  gpio_exit();
  if (level < 0)
    return failed(error, because("gpio: line " + std::to_string(line) + failure, output.first_line()));
  report = {{"line", line}, {"level", level}};
  return outcome::done;
}

outcome gpio(const command_line &given, value::fields &report, std::string &error) {
  const auto &words = given.operands();
  const auto line = tools::number_of(words[1]);
  const auto level = words.size() == 3 ? tools::number_of(words[2], 0, 1) : 0;
  if (words[0] != "get" && words[0] != "set")
    return misused(error, "invalid action '" + words[0] + "'; must be get or set");
  if (!line)
    return misused(error, "invalid LINE '" + words[1] + "'; must be a number");
  if (words.size() != (words[0] == "get" ? 2U : 3U) || !level)
    return misused(error, words[0] == "get" ? "extra LEVEL; must be 'get LINE'"
                                            : "missing or invalid LEVEL; must be 0 or 1");
  if (words[0] == "get")
    return query_line(
        *line, " cannot be read", [&] { return gpio_get(*line); }, report, error);
  return query_line(
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
    return misused(error, "invalid colour '" + name + "'; must be off, red, green or orange");
  if (!open_gpio(error))
    return outcome::failed;
  int32_t shown = -1;
  const captured_output output{[&] { shown = chosen->show(); }};
  gpio_exit();
  if (shown < 0 || !output.is_empty())
    return failed(error, because("led: cannot be set", output.first_line()));
  report = {{"led", name}};
  return outcome::done;
}

} // namespace

extern constinit const command gpio_command = {.name = "gpio",
                                               .summary = "read or drive a GPIO line",
                                               .help = gpio_help,
                                               .operands = "get|set LINE",
                                               .optional_operands = 1,
                                               .run = reporting<gpio>};
extern constinit const command led_command = {.name = "led",
                                              .summary = "set the status LED",
                                              .help = led_help,
                                              .operands = "COLOUR",
                                              .run = reporting<led>};

} // namespace dravik::ctl
