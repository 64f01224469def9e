// What a live board reports besides its screen, sound and texts.

#include "panel/board_state.hpp"
#include "board/accelerometer.hpp"
#include "board/board_table.hpp"
#include "board/mixer.hpp"
#include "board/settings_text.hpp"
#include "host/board_directory.hpp"
#include "host/card.hpp"
#include "host/faults.hpp"
#include "host/inputs.hpp"
#include "host/reports.hpp"
#include "panel/message.hpp"

#include <ctime>
#include <filesystem>
#include <span>
#include <sys/stat.h>

namespace dravik::sim {
namespace {

using message::json_string;

constexpr int64_t second_ns = 1'000'000'000;

/// File systems keep times in steps of a few milliseconds: two changes within one look alike.
constexpr int64_t coarsest_time_ns = 50'000'000;

constexpr const char *watched[] = {
    "board.conf",
    "panel",
    "faults",
    "gpio",
    "sound/mixer",
    "dev/mmcblk0",
    "card/mmcblk0",
    "card/files",
    "proc/mounts",
    "proc/ambarella/adc",
    "proc/ambarella/hdmi_edid",
    "sys/class/backlight/pwm-backlight.0/brightness",
    "sys/class/backlight/pwm-backlight.0/bl_power",
    "sys/class/backlight/pwm-backlight.0/max_brightness",
};

int64_t now_ns() {
  timespec now;
  ::clock_gettime(CLOCK_REALTIME, &now);
  return now.tv_sec * second_ns + now.tv_nsec;
}

void mix(uint64_t &hash, uint64_t value) {
  hash = (hash ^ value) * 0x100000001B3;
}

std::string member(std::string_view name, const std::string &value) {
  return std::string{",\""}.append(name).append("\":") + value;
}

void add_item(std::string &list, const std::string &item) {
  if (!list.empty())
    list += ',';
  list += item;
}

std::string array_of(const std::string &items) {
  return std::string{"["}.append(items).append("]");
}

std::string json_of(std::span<const fault> faults) {
  std::string list;
  for (const fault &each : faults) {
    std::string words;
    for (const std::string &word : {each.request, each.target, each.error})
      add_item(words, json_string(word));
    add_item(list, array_of(words));
  }
  return array_of(list);
}

} // namespace

int64_t add_file_mark(const std::string &path, uint64_t &hash) {
  struct stat status = {};
  if (::lstat(path.c_str(), &status) != 0)
    return 0;
  const int64_t changed_ns = status.st_mtim.tv_sec * second_ns + status.st_mtim.tv_nsec;
  mix(hash, static_cast<uint64_t>(changed_ns));
  mix(hash, static_cast<uint64_t>(status.st_size));
  mix(hash, status.st_ino);
  return changed_ns;
}

board_state::mark board_state::mark_of_files() const {
  mark found;
  const auto add = [&](const std::string &inside) {
    mix(found.hash, 1);
    found.newest_ns = std::max(found.newest_ns, add_file_mark(board_ + "/" + inside, found.hash));
  };
  for (const char *inside : watched)
    add(inside);
  for (const uint32_t line : lines_)
    add("gpio/" + std::to_string(line));
  return found;
}

void board_state::find_lines() {
  lines_.clear();
  std::error_code code;
  for (std::filesystem::directory_iterator entry{board_ + "/gpio", code}, end; !code && entry != end;
       entry.increment(code)) {
    uint32_t line;
    if (read_number(entry->path().filename().native(), line) && line < gpio_lines)
      lines_.insert(line);
  }
}

bool board_state::look() {
  const mark before = mark_of_files();
  if (before.hash == seen_ && !may_change_unseen_)
    return false;
  find_lines();
  const mark now = mark_of_files();
  seen_ = now.hash;
  may_change_unseen_ = std::abs(now_ns() - now.newest_ns) < coarsest_time_ns;
  std::string fresh = describe();
  if (fresh == json_)
    return false;
  json_ = std::move(fresh);
  return true;
}

std::string board_state::text_of(const std::string &inside) const {
  std::string text;
  std::string unused;
  return read_text_in_board(board_, inside, text, unused) ? text : std::string{};
}

uint32_t board_state::number_in(const std::string &inside, uint32_t otherwise) const {
  const std::string text = text_of(inside);
  std::string_view rest = text;
  uint32_t number;
  return read_number(take_line(rest), number) ? number : otherwise;
}

uint32_t board_state::level_of(uint32_t line) const {
  return text_of("gpio/" + std::to_string(line)).starts_with('1') ? 1 : 0;
}

std::string board_state::screen() const {
  const sim::screen shown = read_screen(text_of("board.conf"));
  const panel state = read_panel(text_of("panel"));
  return R"({"width":)" + std::to_string(shown.xres) + member("height", std::to_string(shown.yres)) +
         member("depth", std::to_string(shown.bits_per_pixel)) + member("x", std::to_string(state.xoffset)) +
         member("y", std::to_string(state.yoffset)) + member("blank", state.blank != 0 ? "true" : "false") +
         "}";
}

std::string board_state::backlight() const {
  const std::string directory = "sys/class/backlight/pwm-backlight.0/";
  const uint32_t most = std::max(number_in(directory + "max_brightness", 1000), 1U);
  const bool is_on = number_in(directory + "bl_power", 0) == 0;
  return R"({"on":)" + std::string{is_on ? "true" : "false"} +
         member("brightness", std::to_string(std::min(number_in(directory + "brightness", most), most))) +
         member("most", std::to_string(most)) + "}";
}

std::string board_state::inputs() const {
  accelerometer::movement now = accelerometer::at_rest;
  const std::string settings = text_of("board.conf");
  if (!accelerometer::read_movement(value_of(settings, "accel"), now))
    now = accelerometer::at_rest;
  const bool has_monitor = !text_of("proc/ambarella/hdmi_edid").starts_with(no_monitor);
  std::string axes;
  for (const int32_t axis : now)
    add_item(axes, std::to_string(axis));
  return member("accel", array_of(axes)) + member("hdmi", has_monitor ? "true" : "false") + codes();
}

std::string board_state::codes() const {
  const std::string report = text_of("proc/ambarella/adc");
  std::string list;
  uint32_t degrees_code = 0;
  for (uint32_t channel = 0; channel < reports::adc_channels; ++channel) {
    const uint32_t code = reports::adc_code(report, channel);
    add_item(list, std::to_string(code));
    degrees_code = channel == reports::temperature_channel ? code : degrees_code;
  }
  return member("adc", array_of(list)) +
         member("temperature", std::to_string(temperature_of_adc_code(degrees_code)));
}

std::string board_state::lines() const {
  std::string list;
  for (const uint32_t line : lines_)
    add_item(list, json_string(std::to_string(line)).append(":").append(std::to_string(level_of(line))));
  constexpr const char *colours[2][2] = {{"off", "green"}, {"red", "orange"}};
  return member("gpio", std::string{"{"}.append(list).append("}")) +
         member("led", json_string(colours[level_of(led_line_red)][level_of(led_line_green)]));
}

std::string board_state::card() const {
  const bool is_in = card_is_in(board_);
  const bool is_mounted = read_mount_state(board_) != mount_state::none;
  const char *slot = !has_card(board_) ? "none" : !is_in ? "out" : card_is_locked(board_) ? "locked" : "in";
  return R"({"slot":)" + json_string(slot) + R"(,"mounted":)" + (is_mounted ? "true" : "false") +
         member("state", json_string(is_in || is_mounted ? description_of_mount(board_) : "no memory card")) +
         "}";
}

std::string board_state::mixer() const {
  const std::string text = text_of("sound/mixer");
  return R"({"gain":)" + std::to_string(speaker_gain(text)) +
         member("level", std::to_string(number_of(text, "numid 1", 113))) + "}";
}

std::string board_state::faults() const {
  return member("faults", json_of(read_faults(text_of("faults")))) +
         member("usualFaults", json_of(usual_faults()));
}

std::string board_state::describe() const {
  return R"({"kind":"state")" +
         member("board", json_string(std::filesystem::path{board_}.filename().native())) +
         member("screen", screen()) + member("backlight", backlight()) + inputs() + lines() +
         member("card", card()) + member("mixer", mixer()) + faults() + "}";
}

} // namespace dravik::sim
