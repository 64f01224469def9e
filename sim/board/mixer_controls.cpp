// The numbered controls of the codec, and their values in the board's file sound/mixer.

#include "board/mixer_controls.hpp"
#include "board/board_files.hpp"
#include "board/settings_text.hpp"

#include <algorithm>
#include <cstdio>

namespace dravik::sim {
namespace {

constexpr const char *mixer_file = "sound/mixer";
constexpr uint32_t loudest = 127;

struct named_control {
  uint32_t number;
  const char *name;
  bool is_switch;
  uint32_t first;
};

/// The controls that have an effect; the others only hold their value.
constexpr named_control named[] = {
    {1, "Speaker Playback Volume", false, 113},
    {5, "Output Playback Volume", false, 108},
    {64, "Microphone Capture Switch", true, 0},
    {77, "Speaker Playback Switch", true, 1},
};

/// The controls but one, with space for another line.
struct other_controls {
  explicit other_controls(std::string_view key) noexcept {
    const board_text before{mixer_file};
    std::string_view rest = before;
    for (std::string_view line = take_line(rest); !line.empty(); line = take_line(rest)) {
      std::string_view value = line;
      if (trimmed(take_until(value, '=')) == key)
        continue;
      end = std::copy(line.begin(), line.end(), end);
      *end++ = '\n';
    }
  }
  char text[sizeof(board_text) + 1024];
  char *end = text;
};

} // namespace

mixer_control describe_control(uint32_t number) noexcept {
  mixer_control control = {};
  const auto *known = std::ranges::find(named, number, &named_control::number);
  const bool has_name = known != std::end(named);
  if (has_name)
    std::snprintf(control.name, sizeof control.name, "%s", known->name);
  else
    std::snprintf(control.name, sizeof control.name, "Control %u", number);
  control.is_switch = has_name && known->is_switch;
  control.first = has_name ? known->first : 0;
  control.largest = control.is_switch ? 1 : loudest;
  return control;
}

uint32_t control_value(std::string_view mixer, uint32_t number) noexcept {
  const mixer_control control = describe_control(number);
  char key[16];
  std::snprintf(key, sizeof key, "numid %u", number);
  const std::string_view value = value_of(mixer, key);
  if (control.is_switch && (value == "on" || value == "off"))
    return value == "on" ? 1 : 0;
  return std::min(number_of(mixer, key, control.first), control.largest);
}

bool store_control(std::string_view key, std::string_view value) noexcept {
  other_controls controls{key};
  const auto room = static_cast<size_t>(controls.text + sizeof controls.text - controls.end);
  const int length = std::snprintf(controls.end, room, "%.*s = %.*s\n", static_cast<int>(key.size()),
                                   key.data(), static_cast<int>(value.size()), value.data());
  if (length >= static_cast<int>(room))
    return false;
  write_board_text(mixer_file, {controls.text, controls.end + length});
  return true;
}

} // namespace dravik::sim
