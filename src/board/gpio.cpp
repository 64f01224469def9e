// GPIO lines through the vendor's debug driver, and the status LED on two of them.

#include "base/unique_file.hpp"
#include "dravik.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

extern "C" {
constinit int32_t gpiofd = -1;
}

namespace dravik::board {
namespace {

constexpr const char *device_path = "/dev/ambad";
constexpr const char *modules_file = "/proc/modules";
constexpr std::string_view driver = "ambad";
constexpr int line_limit = 255; ///< of the module list, with its NUL

constexpr unsigned long AMBA_DEBUG_IOC_GET_GPIO = 0x800464CB;
constexpr unsigned long AMBA_DEBUG_IOC_SET_GPIO = 0x400464CB;

struct gpio_request {
  uint32_t line;
  uint32_t level;
};
static_assert(sizeof(gpio_request) == 8);

/// Return the text up to the first space. A line end is part of it.
std::string_view first_token(std::string_view line) noexcept {
  line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  line.remove_suffix(line.size() - std::min(line.find(' '), line.size()));
  return line; // not substr(), which needs the C++ library in builds without optimisation
}

bool is_driver_loaded() noexcept {
  const unique_file file = open_file(modules_file, "r");
  if (file == nullptr) {
    std::perror(modules_file);
    return false;
  }
  std::array<char, line_limit> line;
  while (std::fgets(line.data(), line_limit, file.get()) != nullptr)
    if (first_token(line.data()) == driver)
      return true;
  return false;
}

int32_t request(unsigned long number, const char *name, gpio_request record) noexcept {
  if (gpiofd < 0)
    return -1;
  if (::ioctl(gpiofd, number, &record) < 0) {
    std::perror(name);
    return -1;
  }
  return static_cast<int32_t>(record.level);
}

int32_t show_led(uint32_t red, uint32_t green) noexcept {
  gpio_set(DRAVIK_GPIO_LED_RED, red);
  return gpio_set(DRAVIK_GPIO_LED_GREEN, green);
}

} // namespace
} // namespace dravik::board

extern "C" {

using namespace dravik::board;

int32_t gpio_init() noexcept {
  gpiofd = -1;
  if (is_driver_loaded())
    gpiofd = ::open(device_path, O_RDWR);
  else
    errno = ENODEV;
  if (gpiofd >= 0)
    return 0;
  std::perror(device_path);
  return -1;
}

int32_t gpio_get(uint32_t line) noexcept {
  return request(AMBA_DEBUG_IOC_GET_GPIO, "AMBA_DEBUG_IOC_GET_GPIO", {line, 0});
}

int32_t gpio_set(uint32_t line, uint32_t level) noexcept {
  return request(AMBA_DEBUG_IOC_SET_GPIO, "AMBA_DEBUG_IOC_SET_GPIO", {line, level & 1});
}

int32_t gpio_exit() noexcept {
  return gpiofd < 0 ? gpiofd : ::close(gpiofd);
}

int32_t led_red() noexcept {
  return show_led(1, 0);
}
int32_t led_green() noexcept {
  return show_led(0, 1);
}
int32_t led_orange() noexcept {
  return show_led(1, 1);
}
int32_t led_off() noexcept {
  return show_led(0, 0);
}

} // extern "C"
