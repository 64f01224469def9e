// State of the serial port that the board stores.

#include "board/serial_line.hpp"
#include "board/board_files.hpp"
#include "board/settings_text.hpp"

#include <utility>

namespace dravik::sim {
namespace {

constexpr const char *settings_file = "dev/ttyS0.termios";

/// As the kernel configures a port.
termios first_settings() noexcept {
  termios settings = {};
  settings.c_iflag = ICRNL | IXON;
  settings.c_oflag = OPOST | ONLCR;
  settings.c_cflag = CS8 | CREAD | HUPCL | CLOCAL;
  settings.c_lflag = ISIG | ICANON | ECHO | ECHOE | ECHOK | ECHOCTL | ECHOKE | IEXTEN;
  ::cfsetispeed(&settings, B9600);
  ::cfsetospeed(&settings, B9600);
  constexpr std::pair<int, cc_t> keys[] = {
      {VINTR, 3},  {VQUIT, 28}, {VERASE, 127},  {VKILL, 21},    {VEOF, 4},     {VMIN, 1},    {VSTART, 17},
      {VSTOP, 19}, {VSUSP, 26}, {VREPRINT, 18}, {VDISCARD, 15}, {VWERASE, 23}, {VLNEXT, 22},
  };
  for (const auto &[key, code] : keys)
    settings.c_cc[key] = code;
  return settings;
}

uint32_t bits_per_second(speed_t speed) noexcept {
  constexpr std::pair<speed_t, uint32_t> speeds[] = {
      {B1200, 1200},   {B2400, 2400},   {B4800, 4800},     {B9600, 9600},     {B19200, 19200},
      {B38400, 38400}, {B57600, 57600}, {B115200, 115200}, {B230400, 230400}, {B460800, 460800},
  };
  const auto *known = std::ranges::find(speeds, speed, &std::pair<speed_t, uint32_t>::first);
  return known != std::end(speeds) ? known->second : 0;
}

/// Start bit, data, parity bit if enabled, one or two stop bits.
uint32_t bits_per_byte(const termios &settings) noexcept {
  constexpr std::pair<tcflag_t, uint32_t> sizes[] = {{CS5, 5}, {CS6, 6}, {CS7, 7}, {CS8, 8}};
  const auto *size =
      std::ranges::find(sizes, settings.c_cflag & CSIZE, &std::pair<tcflag_t, uint32_t>::first);
  return 1 + size->second + ((settings.c_cflag & PARENB) != 0 ? 1 : 0) +
         ((settings.c_cflag & CSTOPB) != 0 ? 2 : 1);
}

} // namespace

termios kept_line_settings() noexcept {
  termios settings;
  constexpr auto size = static_cast<ssize_t>(sizeof settings);
  return read_board_bytes(settings_file, 0, &settings, sizeof settings) == size ? settings : first_settings();
}

bool keep_line_settings(const termios &settings) noexcept {
  const speed_t speed = ::cfgetospeed(&settings);
  const termios before = kept_line_settings();
  if (speed != ::cfgetospeed(&before))
    record_event("ttyS0: %u bits per second", bits_per_second(speed));
  return write_board_bytes(settings_file, 0, &settings, sizeof settings);
}

uint32_t line_bytes_per_second() noexcept {
  if (value_of(board_text{"board.conf"}, "serial_pace") != "line")
    return 0;
  const termios settings = kept_line_settings();
  return bits_per_second(::cfgetospeed(&settings)) / bits_per_byte(settings);
}

void record_sent_lines(std::string_view text) noexcept {
  while (!text.empty()) {
    const std::string_view line = trimmed(take_until(text, '\n'));
    if (!line.empty())
      record_event("ttyS0: %.*s", static_cast<int>(line.size()), line.data());
  }
}

} // namespace dravik::sim
