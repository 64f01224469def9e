// A message for the serial console, and a reading of the accelerometer.

#include "fixed_paths.hpp"
#include "harness.hpp"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string_view>
#include <thread>
#include <unistd.h>

namespace bench {
namespace {

constexpr const char *message = "%s: %d files, %d of %d MiB free, its newest is %s, %d degrees\n";
constexpr int message_length = 80;

/// A terminal whose far end is read as long as the program runs.
std::string terminal_name() {
  const int far_end = ::posix_openpt(O_RDWR | O_NOCTTY);
  const char *name = ::grantpt(far_end) == 0 && ::unlockpt(far_end) == 0 ? ::ptsname(far_end) : nullptr;
  if (name == nullptr)
    std::abort();
  std::thread{[far_end] {
    std::array<char, 4096> block;
    for (;;)
      if (::read(far_end, block.data(), block.size()) < 0)
        ::usleep(1000); // until the other end is opened
  }}.detach();
  return name;
}

DRAVIK_PRINTF(1, 2) int format_alone(const char *format, ...) {
  std::array<char, 4096> text;
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  benchmark::DoNotOptimize(text);
  return length;
}

/// Pass the message with this number to a printing function.
template <class Print> int print_message(Print print, int number) {
  return print(message, "Card", number, 1024, 15160, "KVX01234.TS", 41);
}

void add_console() {
  lead("/dev/ttyS0", terminal_name());
  if (console_init() != 0 || print_message(format_alone, 9000) != message_length) {
    std::fputs("console: no terminal, or a message of another length\n", stderr);
    std::exit(EXIT_FAILURE);
  }
  row<int>("console message of 80 characters", {0, 1.3}, {9000, 9001, 9998, 9999})
      .library([](int number) { print_message(console_printf, number); })
      .floor([](int number) { print_message(format_alone, number); });
}

/// Standard error goes nowhere as long as this lives.
class silence {
public:
  silence() : saved_(::dup(STDERR_FILENO)) { turn_to(::open("/dev/null", O_WRONLY)); }
  ~silence() { turn_to(saved_); }
  silence(const silence &) = delete;
  silence &operator=(const silence &) = delete;

private:
  static void turn_to(int descriptor) {
    ::dup2(descriptor, STDERR_FILENO);
    ::close(descriptor);
  }
  int saved_;
};

void transfer_alone(int bus) {
  for (uint8_t number = 0x28; number <= 0x2D; ++number) {
    uint8_t value = number;
    if (::write(bus, &value, 1) != 1 || ::read(bus, &value, 1) != 1)
      std::abort();
    benchmark::DoNotOptimize(value);
  }
}

void add_accelerometer() {
  constexpr const char *bus = "/dev/zero"; // reads and writes at no cost of its own
  lead("/dev/i2c-0", bus);
  {
    const silence during_start;
    if (gsensor_init() != 0)
      std::abort();
  }
  row<int>("reading of the accelerometer", {0, 1.10}, {::open(bus, O_RDWR)})
      .library([](int) {
        int32_t x, y, z;
        gsensor_get_data(&x, &y, &z);
        benchmark::DoNotOptimize(x + y + z);
      })
      .floor(transfer_alone);
}

} // namespace

void add_devices() {
  add_console();
  add_accelerometer();
}

} // namespace bench
