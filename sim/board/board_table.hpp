// The table of the board: its paths and files. Path map, creation of boards, devices, faults and inputs follow it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace dravik::sim {

/// How the kernel serves a path of the board.
enum class file_kind : uint8_t {
  none,      ///< not of the board: the host's own file
  plain,     ///< a file or directory
  device,    ///< below /dev: neither created nor truncated by an open
  attribute, ///< below /sys: each write replaces the contents
  report,    ///< below /proc: is read as it was when it was opened
};

/// The contents of a new board.
enum class first_state : uint8_t {
  absent,
  file,      ///< a file with the entry's text
  directory, ///< an empty directory
  made,      ///< by a function of create_board()
};

struct board_entry {
  /// With a slash at its start: a path as applications open it. Without: a file of the board's directory alone.
  std::string_view path;
  file_kind kind = file_kind::none;
  first_state first = first_state::absent;
  bool is_family = false;         ///< all paths that begin with it belong to it: a disk and its partitions
  std::string_view text = {};     ///< of the first file
  const char *event = "";         ///< prefix of its events; an entry with a path and a prefix has a `device`
  std::string_view requests = {}; ///< its own, by which `faults` names them; spaces between
  std::string_view inputs = {};   ///< keys of `dravik-sim set` that change it; a number follows a dot
};

inline constexpr std::string_view no_monitor = "No HDMI\n";

inline constexpr board_entry board_table[] = {
    {.path = "/dev/fb0",
     .kind = file_kind::device,
     .first = first_state::made,
     .event = "fb0",
     .requests = "fscreeninfo vscreeninfo pan blank"},
    {.path = "/dev/ttyS0",
     .kind = file_kind::device,
     .first = first_state::file,
     .event = "ttyS0",
     .requests = "count size tcgetattr tcsetattr"},
    {.path = "/dev/ttyS0.in", .kind = file_kind::device, .first = first_state::made},
    {.path = "/dev/ambad",
     .kind = file_kind::device,
     .first = first_state::file,
     .event = "gpio",
     .requests = "get set",
     .inputs = "gpio."},
    {.path = "/dev/i2c-0",
     .kind = file_kind::device,
     .first = first_state::file,
     .event = "i2c-0",
     .requests = "slave tenbit funcs transfer smbus",
     .inputs = "accel"},
    {.path = "/dev/snd/controlC0",
     .kind = file_kind::device,
     .first = first_state::file,
     .event = "controlC0",
     .requests = "card"},
    {.path = "/dev/mmcblk0", .kind = file_kind::device, .is_family = true, .inputs = "card"},
    {.path = "/proc/ambarella/adc",
     .kind = file_kind::report,
     .first = first_state::made,
     .inputs = "adc. temperature"},
    {.path = "/proc/ambarella/hdmi_edid",
     .kind = file_kind::report,
     .first = first_state::file,
     .text = no_monitor,
     .inputs = "hdmi"},
    {.path = "/proc/ambarella", .kind = file_kind::report},
    {.path = "/proc/modules",
     .kind = file_kind::report,
     .first = first_state::file,
     .text = "ambad 5238 0 - Live 0x00000000\n"},
    {.path = "/proc/partitions",
     .kind = file_kind::report,
     .first = first_state::file,
     .text = "major minor  #blocks  name\n\n"},
    {.path = "/proc/mounts",
     .kind = file_kind::report,
     .first = first_state::file,
     .text = "rootfs / rootfs rw 0 0\n"
             "proc /proc proc rw,relatime 0 0\n"
             "sysfs /sys sysfs rw,relatime 0 0\n"},
    {.path = "/proc/self/mountinfo",
     .kind = file_kind::report,
     .first = first_state::file,
     .text = "1 0 0:1 / / rw - rootfs rootfs rw\n"
             "22 1 0:20 / /proc rw,relatime - proc proc rw\n"
             "23 1 0:21 / /sys rw,relatime - sysfs sysfs rw\n"},
    {.path = "/sys/block/mmcblk0", .kind = file_kind::attribute, .is_family = true},
    {.path = "/sys/class/backlight/pwm-backlight.0/brightness",
     .kind = file_kind::attribute,
     .first = first_state::file,
     .text = "500\n",
     .event = "backlight"},
    {.path = "/sys/class/backlight/pwm-backlight.0/bl_power",
     .kind = file_kind::attribute,
     .first = first_state::file,
     .text = "0\n",
     .event = "backlight"},
    {.path = "/sys/class/backlight/pwm-backlight.0/max_brightness",
     .kind = file_kind::attribute,
     .first = first_state::file,
     .text = "1000\n"},
    {.path = "/sys/class/backlight", .kind = file_kind::attribute},
    {.path = "/sys/class/i2c-dev/i2c-0/name",
     .kind = file_kind::attribute,
     .first = first_state::file,
     .text = "ambad\n"},
    {.path = "/sys/class/i2c-dev", .kind = file_kind::attribute},
    {.path = "/tmp/dravik.log", .kind = file_kind::plain},
    {.path = "/tmp/mmcblk0p1", .kind = file_kind::plain, .first = first_state::directory},
    {.path = "/tmp/add", .kind = file_kind::plain, .first = first_state::directory},
    {.path = "/tmp/ptb", .kind = file_kind::plain},
    {.path = "/tmp/debugfs", .kind = file_kind::plain},
    {.path = "/tmp/mbr.img", .kind = file_kind::plain},
    {.path = "/usr/local/dravik/font", .kind = file_kind::plain, .first = first_state::directory},
    {.path = "/usr/local/dravik/jpg", .kind = file_kind::plain, .first = first_state::directory},
    {.path = "/usr/local/dravik", .kind = file_kind::plain},

    // Power over a machine: the board's, so that no application reaches those of the host.
    {.path = "/dev/i2c-", .kind = file_kind::device, .is_family = true},
    {.path = "/dev/kmem", .kind = file_kind::device},
    {.path = "/dev/kmsg", .kind = file_kind::device},
    {.path = "/dev/mem", .kind = file_kind::device},
    {.path = "/dev/mtd", .kind = file_kind::device, .is_family = true},
    {.path = "/dev/port", .kind = file_kind::device},
    {.path = "/dev/rtc", .kind = file_kind::device, .is_family = true},
    {.path = "/dev/snd", .kind = file_kind::device},
    {.path = "/dev/watchdog", .kind = file_kind::device, .is_family = true},
    {.path = "/proc/sys", .kind = file_kind::report},
    {.path = "/proc/sysrq-trigger", .kind = file_kind::report},
    {.path = "/sys/class/mtd", .kind = file_kind::attribute},
    {.path = "/sys/class/rtc", .kind = file_kind::attribute},
    {.path = "/sys/class/watchdog", .kind = file_kind::attribute},
    {.path = "/sys/power", .kind = file_kind::attribute},

    // State of the devices, which applications do not see.
    {.path = "events", .first = first_state::file},
    {.path = "faults", .first = first_state::made},
    {.path = "gpio/68", .first = first_state::file, .text = "0\n"}, // write-protect switch of the memory card
    {.path = "gpio/82", .first = first_state::file, .text = "0\n"}, // status LED, red
    {.path = "gpio/83", .first = first_state::file, .text = "0\n"}, // status LED, green
    {.path = "i2c/0x18", .first = first_state::made},
    {.path = "sound",
     .first = first_state::directory,
     .event = "sound",
     .requests = "params prepare rate equal-periods underrun"},
    {.path = "sys/block", .first = first_state::directory},
    {.path = "board.conf", .first = first_state::made}, // last: it makes the directory a board
};

/// Whether applications open an entry, or reach it through a library.
constexpr bool is_path_of_applications(const board_entry &entry) noexcept {
  return entry.path.starts_with('/');
}

/// Whether the preload library serves an entry by a `device` of its own.
constexpr bool has_device(const board_entry &entry) noexcept {
  return is_path_of_applications(entry) && *entry.event != '\0';
}

/// Whether a word is in a list with spaces between.
constexpr bool contains_word(std::string_view list, std::string_view word) noexcept {
  while (!list.empty()) {
    const size_t end = std::min(list.find(' '), list.size());
    if (list.substr(0, end) == word)
      return true;
    list.remove_prefix(std::min(end + 1, list.size()));
  }
  return false;
}

/// Requests of several entries: open of all paths, read below /dev, write below /dev and /sys, the others of all
/// devices; and those of commands.
inline constexpr std::string_view common_requests = "open read write mmap descriptor-0 shell";

// Named by the compiler where an entry is missing.
void path_is_missing_in_board_table();
void request_is_missing_in_board_table();

/// Return the entry of a path. Without one, the call does not compile.
consteval const board_entry &entry_of(std::string_view path) {
  for (const board_entry &entry : board_table)
    if (entry.path == path)
      return entry;
  path_is_missing_in_board_table();
  return board_table[0];
}

/// Name of a request that `faults` can name. Without an entry that has it, it does not compile.
struct request_name {
  consteval request_name(const char *name) : text(name) {
    const bool is_known = contains_word(common_requests, name) ||
                          std::ranges::any_of(board_table, [=](const board_entry &entry) {
                            return contains_word(entry.requests, name);
                          });
    if (!is_known)
      request_is_missing_in_board_table();
  }

  const char *text;
};

} // namespace dravik::sim
