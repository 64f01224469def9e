// The backlight: attributes that hold numbers, and whose changes are recorded.

#include "board/board_files.hpp"
#include "board/settings_text.hpp"
#include "preload/device.hpp"

namespace dravik::sim {
namespace {

/// Parse a number as the kernel does: decimal, hexadecimal after 0x or octal after 0; a line end may follow.
bool read_kernel_number(std::string_view text, uint32_t &number) noexcept {
  if (text.ends_with('\n'))
    text.remove_suffix(1);
  if (text.starts_with('+'))
    text.remove_prefix(1);
  const bool is_hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (is_hexadecimal)
    text.remove_prefix(2);
  return read_number(text, number, is_hexadecimal ? 16 : text.starts_with('0') ? 8 : 10);
}

int check_power(const char *text, size_t size) noexcept {
  uint32_t number;
  return read_kernel_number({text, size}, number) ? 0 : -EINVAL;
}

int check_brightness(const char *text, size_t size) noexcept {
  const board_text limit{entry_of("/sys/class/backlight/pwm-backlight.0/max_brightness").path.data() + 1};
  uint32_t number = 0;
  uint32_t largest = 0;
  const bool is_number = read_kernel_number({text, size}, number);
  return is_number && read_kernel_number(limit, largest) && number <= largest ? 0 : -EINVAL;
}

std::string_view first_line(const char *text, size_t size) noexcept {
  std::string_view all{text, size};
  return trimmed(take_until(all, '\n'));
}

void record_brightness(const char *text, size_t size) noexcept {
  const std::string_view level = first_line(text, size);
  record_event("backlight: %.*s", static_cast<int>(level.size()), level.data());
}

/// The kernel's class uses 0 for on and 4 for off; drivers treat any other value as off.
void record_power(const char *text, size_t size) noexcept {
  record_event("backlight: %s", first_line(text, size) == "0" ? "on" : "off");
}

} // namespace

constinit const device backlight_brightness =
    checked({.entry = entry_of("/sys/class/backlight/pwm-backlight.0/brightness"),
             .check = check_brightness,
             .written = record_brightness});
constinit const device backlight_power =
    checked({.entry = entry_of("/sys/class/backlight/pwm-backlight.0/bl_power"),
             .check = check_power,
             .written = record_power});

} // namespace dravik::sim
