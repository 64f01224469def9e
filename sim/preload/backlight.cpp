// The backlight: plain attributes whose changes are recorded.

#include "board/board_files.hpp"
#include "board/settings_text.hpp"
#include "preload/device.hpp"

namespace dravik::sim {
namespace {

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

constinit const device backlight_brightness = checked(
    {.entry = entry_of("/sys/class/backlight/pwm-backlight.0/brightness"), .written = record_brightness});
constinit const device backlight_power =
    checked({.entry = entry_of("/sys/class/backlight/pwm-backlight.0/bl_power"), .written = record_power});

} // namespace dravik::sim
