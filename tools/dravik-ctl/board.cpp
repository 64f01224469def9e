// "info" and "hdmi": a summary of the board.

#include "dravik-ctl/captured_output.hpp"
#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/devices.hpp"
#include "dravik-ctl/reports.hpp"

#include <ctime>
#include <sys/utsname.h>
#include <unistd.h>

namespace dravik::ctl {
namespace {

constexpr std::string_view info_help =
    R"(Usage: dravik-ctl info

Print a summary of the board.

Changes nothing on the board, and succeeds whatever is missing there.

Output:
  version         of libdravik and this tool
  kernel          name, release and machine
  time            local time of the board
  uptime_seconds  time since it started
  screen          width and height in pixels, bits_per_pixel, line_length in
                  bytes, buffers; null if it cannot be opened
  region          number and code; null without a valid region file
  network         name, mac and ip of each interface
  devices         yes for each that can be opened: screen, gpio, adc,
                  backlight, accelerometer_bus, serial_port, hdmi; and card:
                  yes if a memory card is inserted

Examples:
  dravik-ctl info
  dravik-ctl info --json | jq .devices

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr std::string_view hdmi_help =
    R"(Usage: dravik-ctl hdmi

Report whether a monitor is attached to the HDMI socket.

Output: monitor

Examples:
  dravik-ctl hdmi

Exit status: 0 on success; 1 on failure; 2 on a usage error
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

value screen_of(const screen_state &state) {
  if (!state.opens)
    return nullptr;
  return value::fields{{"width", state.record[FBINFO_XRES]},
                       {"height", state.record[FBINFO_YRES]},
                       {"bits_per_pixel", state.record[FBINFO_BITS_PER_PIXEL]},
                       {"line_length", state.record[FBINFO_LINE_LENGTH]},
                       {"buffers", state.record[FBINFO_BUFFER_COUNT]}};
}

/// The result of a call, without its output.
template <class Call> auto quietly(Call call) {
  decltype(call()) result{};
  const captured_output output{[&] { result = call(); }};
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

value devices_of(const screen_state &state) {
  uint32_t codes[4];
  return value::fields{{"screen", state.opens},
                       {"gpio", has_gpio()},
                       {"adc", quietly([&] { return read_adc(codes); }) == 0},
                       {"backlight", has_backlight()},
                       {"accelerometer_bus", can_open("/dev/i2c-0")},
                       {"serial_port", can_open("/dev/ttyS0")},
                       {"hdmi", hdmi_detect() >= 0},
                       {"card", sd_card_check_plugin() == 0}};
}

outcome info(const command_line &, value::fields &report, std::string &) {
  const screen_state state = query_screen();
  std::string no_region;
  const value::fields region = region_of_board(no_region);
  report = {{"version", std::string{tools::version()}},
            {"kernel", kernel()},
            {"time", local_time()},
            {"uptime_seconds", thousandths{get_tick_count()}},
            {"screen", screen_of(state)},
            {"region", no_region.empty() ? value{region} : value{nullptr}},
            {"network", all_interfaces()},
            {"devices", devices_of(state)}};
  return outcome::done;
}

outcome hdmi(const command_line &, value::fields &report, std::string &error) {
  const int32_t monitor = hdmi_detect();
  if (monitor < 0)
    return failed(error, device_failure("hdmi: driver report missing or invalid"));
  report = {{"monitor", monitor == 1}};
  return outcome::done;
}

} // namespace

extern constinit const command info_command = {
    .name = "info", .summary = "print a summary of the board", .help = info_help, .run = reporting<info>};
extern constinit const command hdmi_command = {.name = "hdmi",
                                               .summary = "report whether a monitor is attached",
                                               .help = hdmi_help,
                                               .run = reporting<hdmi>};

} // namespace dravik::ctl
