// The faults of a board, as lines of its file `faults`.

#include "host/faults.hpp"
#include "board/board_table.hpp"
#include "board/settings_text.hpp"
#include "host/board_directory.hpp"

#include <algorithm>
#include <cerrno>

namespace dravik::sim {
namespace {

fault fault_of(std::string_view line) {
  fault ordered;
  ordered.request = take_word(line);
  ordered.target = take_word(line);
  ordered.error = take_word(line);
  return ordered;
}

struct usual_fault {
  request_name request;
  std::string_view target;
  std::string_view error;
};

constexpr usual_fault usual[] = {
    {"open", "/dev/fb0", "ENODEV"},
    {"fscreeninfo", "/dev/fb0", "EIO"},
    {"vscreeninfo", "/dev/fb0", "EIO"},
    {"mmap", "/dev/fb0", "ENOMEM"},
    {"pan", "/dev/fb0", "EINVAL"},
    {"blank", "/dev/fb0", "EIO"},
    {"descriptor-0", "/dev/fb0", ""},
    {"open", "/tmp/dravik.log", "ENOSPC"},
    {"get", "/dev/ambad", "EIO"},
    {"set", "/dev/ambad", "EIO"},
    {"slave", "/dev/i2c-0", "EBUSY"},
    {"tenbit", "/dev/i2c-0", "EIO"},
    {"funcs", "/dev/i2c-0", "EIO"},
    {"transfer", "/dev/i2c-0", "EREMOTEIO"},
    {"smbus", "/dev/i2c-0", "EREMOTEIO"},
    {"read", "/dev/i2c-0", "EIO"},
    {"write", "/dev/i2c-0", "EIO"},
    {"count", "/dev/ttyS0", "EIO"},
    {"size", "/dev/ttyS0", "EIO"},
    {"tcgetattr", "/dev/ttyS0", "EIO"},
    {"tcsetattr", "/dev/ttyS0", "EIO"},
    {"card", "/dev/snd/controlC0", "ENODEV"},
    {"write", "/sys/class/backlight/pwm-backlight.0/brightness", "EIO"},
    {"shell", "dosfsck", "EIO"},
    {"open", "sound", "ENODEV"},
    {"params", "sound", "EINVAL"},
    {"prepare", "sound", "EIO"},
    {"write", "sound", "EIO"},
    {"rate", "sound", ""},
    {"equal-periods", "sound", ""},
    {"underrun", "sound", ""},
};

constexpr bool is_usual(std::string_view request, std::string_view target) {
  return std::ranges::any_of(usual, [=](const usual_fault &known) {
    return known.request.text == request && known.target == target;
  });
}

constexpr bool all_are_usual(const board_entry &entry) {
  for (std::string_view rest = entry.requests; !rest.empty();)
    if (!is_usual(take_until(rest, ' '), entry.path))
      return false;
  return true;
}

static_assert(std::ranges::all_of(board_table, all_are_usual),
              "each request of board_table has its usual error");

} // namespace

std::vector<fault> usual_faults() {
  std::vector<fault> faults;
  for (const usual_fault &known : usual)
    faults.push_back({known.request.text, std::string{known.target}, std::string{known.error}});
  return faults;
}

std::vector<fault> read_faults(std::string_view text) {
  std::vector<fault> ordered;
  for (std::string_view line; !(line = take_line(text)).empty();)
    ordered.push_back(fault_of(line));
  return ordered;
}

std::string without_fault(std::string_view text, const fault &ordered) {
  std::string kept;
  while (!text.empty()) {
    const std::string_view line = take_until(text, '\n');
    std::string_view words = line;
    if (take_word(words) != ordered.request || take_word(words) != ordered.target)
      kept.append(line).append("\n");
  }
  return kept;
}

std::string with_fault(std::string_view text, const fault &ordered) {
  return without_fault(text, ordered) + ordered.request + " " + ordered.target +
         (ordered.error.empty() ? "" : " " + ordered.error) + "\n";
}

namespace {

/// Replace the file by what `change` makes of its text.
template <class Change> bool change_faults(const std::string &board, Change change, std::string &error) {
  std::string text;
  if (!read_text_in_board(board, "faults", text, error) && errno != ENOENT)
    return false;
  error.clear();
  return replace_in_board(board, "faults", change(text), error);
}

} // namespace

bool inject_fault(const std::string &board, const fault &ordered, std::string &error) {
  return change_faults(
      board, [&](std::string_view text) { return with_fault(text, ordered); }, error);
}

bool remove_fault(const std::string &board, const fault &ordered, std::string &error) {
  return change_faults(
      board, [&](std::string_view text) { return without_fault(text, ordered); }, error);
}

bool remove_all_faults(const std::string &board, std::string &error) {
  const auto without_any = [](const std::string &text) {
    std::string kept = text;
    for (const fault &each : read_faults(text))
      kept = without_fault(kept, each);
    return kept;
  };
  return change_faults(board, without_any, error);
}

} // namespace dravik::sim
