// "info" and "hdmi": the board at a glance.

#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/devices.hpp"
#include "dravik-ctl/overheard.hpp"
#include "dravik-ctl/reports.hpp"

#include <ctime>
#include <sys/utsname.h>
#include <unistd.h>

namespace dravik::ctl {
namespace {

constexpr std::string_view info_help =
    R"(dravik-ctl info

Tells what the board is and what of it answers. Changes nothing on it.

Tells:
  version   of libdravik and this tool
  kernel    its name, release and machine
  time      the board's local time; uptime_seconds since it started
  screen    width, height, bits_per_pixel, line_length in bytes, buffers; null when it cannot be opened
  region    number and code; null when there is no region file, or not a good one
  network   name, mac and ip of each interface
  devices   whether each can be opened: screen, gpio, adc, backlight, accelerometer_bus, serial_port, hdmi;
            and whether there is a card

Examples:
  dravik-ctl info
  dravik-ctl info --json | jq .devices
)";

constexpr std::string_view hdmi_help =
    R"(dravik-ctl hdmi

Tells whether a monitor is attached to the HDMI socket.

Tells: monitor

Example:
  dravik-ctl hdmi
)";

std::string local_time() {
  const time_t now = ::time(nullptr);
  tm parts = {};
  ::localtime_r(&now, &parts);
  char text[40] = "";
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
  return text;
}

std::string kernel() {
  utsname names = {};
  ::uname(&names);
  return std::string{names.sysname} + " " + names.release + " " + names.machine;
}

value screen_of(const screen_answer &answer) {
  if (!answer.opens)
    return nullptr;
  return value::fields{{"width", answer.record[FBINFO_XRES]},
                       {"height", answer.record[FBINFO_YRES]},
                       {"bits_per_pixel", answer.record[FBINFO_BITS_PER_PIXEL]},
                       {"line_length", answer.record[FBINFO_LINE_LENGTH]},
                       {"buffers", answer.record[FBINFO_BUFFER_COUNT]}};
}

/// What a call tells, with its words kept back.
template <class Call> auto quietly(Call call) {
  decltype(call()) result{};
  const overheard said{[&] { result = call(); }};
  return result;
}

bool has_gpio() {
  std::string reason;
  const bool opened = open_gpio(reason);
  if (opened)
    gpio_exit();
  return opened;
}

bool has_backlight() {
  const bool opened = lcd_bl_init() == 1;
  lcd_bl_exit();
  return opened;
}

bool can_open(const char *path) {
  return ::access(path, R_OK | W_OK) == 0;
}

value devices_of(const screen_answer &answer) {
  uint32_t codes[4];
  return value::fields{{"screen", answer.opens},
                       {"gpio", has_gpio()},
                       {"adc", quietly([&] { return read_adc(codes); }) == 0},
                       {"backlight", has_backlight()},
                       {"accelerometer_bus", can_open("/dev/i2c-0")},
                       {"serial_port", can_open("/dev/ttyS0")},
                       {"hdmi", hdmi_detect() >= 0},
                       {"card", sd_card_check_plugin() == 0}};
}

outcome info(const command_line &, value::fields &report, std::string &) {
  const screen_answer answer = ask_screen();
  std::string no_region;
  const value::fields region = region_of_board(no_region);
  report = {{"version", DRAVIK_CTL_VERSION}, {"kernel", kernel()},
            {"time", local_time()},          {"uptime_seconds", thousandths{get_tick_count()}},
            {"screen", screen_of(answer)},   {"region", no_region.empty() ? value{region} : value{nullptr}},
            {"network", all_interfaces()},   {"devices", devices_of(answer)}};
  return outcome::done;
}

outcome hdmi(const command_line &, value::fields &report, std::string &error) {
  const int32_t monitor = hdmi_detect();
  if (monitor < 0)
    return failed(error,
                  "the HDMI driver's report is missing, or says neither that there is a monitor nor that "
                  "there is none");
  report = {{"monitor", monitor == 1}};
  return outcome::done;
}

} // namespace

constinit const command info_command = {"info", info_help, {}, 0, 0, reporting<info>};
constinit const command hdmi_command = {"hdmi", hdmi_help, {}, 0, 0, reporting<hdmi>};

} // namespace dravik::ctl
