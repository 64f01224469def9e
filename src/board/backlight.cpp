// Backlight of the LCD, through two files of its sysfs class.

#include "dravik.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace dravik::board {
namespace {

constexpr const char *brightness_file = "/sys/class/backlight/pwm-backlight.0/brightness";
constexpr const char *power_file = "/sys/class/backlight/pwm-backlight.0/bl_power";

constinit int32_t bl_brightness_fd = -1;
constinit int32_t bl_power_fd = -1;

/// Intentional: descriptor 0 is treated as closed.
bool is_open(int32_t fd) noexcept {
  return fd > 0;
}

bool open_once(int32_t &fd, const char *path) noexcept {
  if (fd >= 0)
    return true;
  fd = ::open(path, O_RDWR | O_TRUNC);
  if (fd < 0)
    log_printf("lcd backlight : init err, pwm_dev=%s", path);
  return fd >= 0;
}

void close_once(int32_t &fd) noexcept {
  if (!is_open(fd))
    return;
  ::close(fd);
  fd = -1;
}

void write_level(int32_t level) noexcept {
  std::array<char, 12> text;
  const int length = std::snprintf(text.data(), text.size(), "%d", level);
  if (::write(bl_brightness_fd, text.data(), static_cast<size_t>(length)) != length)
    log_printf("%s() : setup err, value = %d", "lcd_bl_set", level);
}

/// Log the requested level, before it is clamped.
int32_t log_level(int32_t level) noexcept {
  constexpr const char *name = "lcd_bl_set";
  switch (level) {
  case DRAVIK_BACKLIGHT_MEDIUM:
    return log_printf("%s() : lcd backlight = medium", name);
  case DRAVIK_BACKLIGHT_HIGH:
    return log_printf("%s() : lcd backlight = high", name);
  case DRAVIK_BACKLIGHT_LOW:
    return log_printf("%s() : lcd backlight = low", name);
  default:
    return log_printf("%s() : lcd backlight = ??", name);
  }
}

} // namespace
} // namespace dravik::board

extern "C" {

using namespace dravik::board;

int32_t lcd_bl_init() noexcept {
  log_printf("%s()+", "lcd_bl_init");
  if (!open_once(bl_brightness_fd, brightness_file) || !open_once(bl_power_fd, power_file))
    return 0;
  log_printf("%s()-", "lcd_bl_init");
  return 1;
}

int32_t lcd_bl_set(int32_t level) noexcept {
  if (is_open(bl_brightness_fd))
    write_level(std::clamp<int32_t>(level, DRAVIK_BACKLIGHT_MIN, DRAVIK_BACKLIGHT_HIGH));
  return log_level(level);
}

int32_t lcd_bl_off() noexcept {
  if (is_open(bl_power_fd)) {
    [[maybe_unused]] const ssize_t written = ::write(bl_power_fd, "1", 1);
    log_printf("%s() : turn off err", "lcd_bl_off"); // Intentional: logged whatever was written
  }
  fb_lcd_off();
  return log_printf("%s()", "lcd_bl_off");
}

int32_t lcd_bl_on() noexcept {
  if (is_open(bl_power_fd) && ::write(bl_power_fd, "0", 1) != 1)
    log_printf("%s() : turn on err", "lcd_bl_on");
  fb_lcd_on();
  return log_printf("%s()", "lcd_bl_on");
}

void lcd_bl_exit() noexcept {
  close_once(bl_brightness_fd);
  close_once(bl_power_fd);
}

} // extern "C"
