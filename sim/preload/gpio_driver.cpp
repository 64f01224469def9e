// The GPIO driver: each line is a small file of the board, gpio/68, that contains 0 or 1.

#include "board/board_files.hpp"
#include "preload/device.hpp"

#include <cstdio>

namespace dravik::sim {
namespace {

struct line_record {
  uint32_t line;
  uint32_t level;
};

constexpr uint32_t get_request = 0x800464CB;
constexpr uint32_t set_request = 0x400464CB;
constexpr uint32_t lines = 256;
constexpr uint32_t led_line_red = 82;
constexpr uint32_t led_line_green = 83;

struct line_file {
  explicit line_file(uint32_t line) noexcept { std::snprintf(path, sizeof path, "gpio/%u", line); }
  char path[16];
};

/// A line without a file is low.
uint32_t level_of(uint32_t line) noexcept {
  char text = '0';
  read_board_bytes(line_file{line}.path, 0, &text, 1);
  return text == '1' ? 1 : 0;
}

const char *led_colour() noexcept {
  constexpr const char *colours[2][2] = {{"off", "green"}, {"red", "orange"}};
  return colours[level_of(led_line_red)][level_of(led_line_green)];
}

void record_change(uint32_t line, const char *colour_before) noexcept {
  const char *colour = led_colour();
  record_event("gpio: %u = %u", line, level_of(line));
  if (colour != colour_before)
    record_event("led: %s", colour);
}

line_record *record_at(uintptr_t argument) noexcept {
  return reinterpret_cast<line_record *>(argument);
}

long get_level(int, uintptr_t argument) noexcept {
  line_record *wanted = record_at(argument);
  if (wanted == nullptr)
    return -EFAULT;
  if (wanted->line >= lines)
    return -EINVAL;
  wanted->level = level_of(wanted->line);
  return 0;
}

long set_level(int, uintptr_t argument) noexcept {
  const line_record *wanted = record_at(argument);
  if (wanted == nullptr)
    return -EFAULT;
  if (wanted->line >= lines)
    return -EINVAL;
  const char *colour_before = led_colour();
  if (!write_board_bytes(line_file{wanted->line}.path, 0, wanted->level != 0 ? "1\n" : "0\n", 2))
    return -EIO;
  record_change(wanted->line, colour_before);
  return 0;
}

constexpr request_kind requests[] = {
    {get_request, "get", get_level},
    {set_request, "set", set_level},
};

} // namespace

constinit const device gpio_driver = checked({.entry = entry_of("/dev/ambad"), .requests = requests});

} // namespace dravik::sim
