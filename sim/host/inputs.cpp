// The inputs of a board: keys and values, and the files that they change.

#include "host/inputs.hpp"
#include "board/accelerometer.hpp"
#include "board/board_table.hpp"
#include "board/settings_text.hpp"
#include "board/temperature_table.hpp"
#include "dravik.h"
#include "host/board_directory.hpp"
#include "host/card.hpp"
#include "host/reports.hpp"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <map>
#include <unistd.h>

namespace dravik::sim {
namespace {

/// Act on the memory card. Return false and set `error` on failure.
using card_move = bool (*)(const std::string &board, std::string &error);

/// The board's files as the changes leave them, until all changes are understood.
class changed_files {
public:
  /// Without a board all files are empty, and nothing is saved.
  explicit changed_files(std::string board = {}) : board_(std::move(board)) {}

  /// A file that is not there yet is empty.
  std::string &operator[](const std::string &inside) {
    const auto [found, is_new] = texts_.try_emplace(inside);
    std::string error;
    if (is_new && !board_.empty() && !read_text_in_board(board_, inside, found->second, error) &&
        errno != ENOENT)
      unreadable_ = error;
    return found->second;
  }

  /// The files first: a card's lock is one of them.
  void then(card_move move) { card_move_ = move; }

  /// Return false and set `error` on failure.
  bool save(std::string &error) const {
    error = unreadable_;
    if (!error.empty())
      return false;
    for (const auto &[inside, text] : texts_)
      if (!replace_in_board(board_, inside, text, error))
        return false;
    return card_move_ == nullptr || card_move_(board_, error);
  }

private:
  std::string board_;
  card_move card_move_ = nullptr;
  std::string unreadable_; ///< why, when one of the files is
  std::map<std::string, std::string> texts_;
};

bool insert_unlocked(const std::string &board, std::string &error) {
  return insert_card(board, card_lock::off, error);
}

bool insert_locked(const std::string &board, std::string &error) {
  return insert_card(board, card_lock::on, error);
}

bool with_subject(bool done, std::string &error) {
  if (!error.empty())
    error.insert(0, "memory card: ");
  return done;
}

bool mount_inserted(const std::string &board, std::string &error) {
  return with_subject(mount_card(board, false, error), error);
}

bool unmount_unused(const std::string &board, std::string &error) {
  return with_subject(unmount_card(board, unmount_way::if_unused, error), error);
}

bool set_card(uint32_t, std::string_view value, changed_files &files) {
  const card_move move = value == "in"       ? insert_unlocked
                         : value == "locked" ? insert_locked
                         : value == "out"    ? remove_card
                         : value == "mount"  ? mount_inserted
                         : value == "umount" ? unmount_unused
                                             : nullptr;
  files.then(move);
  return move != nullptr;
}

constexpr const char *adc_report = "proc/ambarella/adc";

bool set_movement(uint32_t, std::string_view value, changed_files &files) {
  accelerometer::movement wanted;
  if (!accelerometer::read_movement(value, wanted))
    return false;
  std::string &settings = files["board.conf"];
  settings = with_setting(settings, "accel", value);
  return true;
}

void put_code(changed_files &files, uint32_t channel, uint32_t code) {
  std::string &report = files[adc_report];
  report = reports::with_adc_code(report, channel, code);
}

bool set_code(uint32_t channel, std::string_view value, changed_files &files) {
  const bool is_hexadecimal = value.starts_with("0x");
  uint32_t code;
  if (channel >= reports::adc_channels ||
      !read_number(value.substr(is_hexadecimal ? 2 : 0), code, is_hexadecimal ? 16 : 10) ||
      code > reports::largest_code)
    return false;
  put_code(files, channel, code);
  return true;
}

bool set_level(uint32_t line, std::string_view value, changed_files &files) {
  if (line >= gpio_lines || (value != "0" && value != "1"))
    return false;
  files["gpio/" + std::to_string(line)] = std::string{value} + "\n";
  return true;
}

bool set_monitor(uint32_t, std::string_view value, changed_files &files) {
  if (value != "on" && value != "off")
    return false;
  files["proc/ambarella/hdmi_edid"] = value == "on" ? reports::monitor : std::string{no_monitor};
  return true;
}

/// The code of the nearest temperature that the ADC can report.
uint32_t code_of(double degrees) {
  const auto distance = [=](uint32_t code) {
    return std::abs(board::temperature_of_code(code) - degrees * 1000);
  };
  uint32_t nearest = DRAVIK_ADC_TEMP_FIRST_CODE - 1; // beyond the hot end
  for (uint32_t code = nearest; code <= DRAVIK_ADC_TEMP_FIRST_CODE + DRAVIK_ADC_TEMP_CODES; ++code)
    if (distance(code) < distance(nearest))
      nearest = code;
  return nearest;
}

bool set_temperature(uint32_t, std::string_view value, changed_files &files) {
  constexpr double lowest = int{DRAVIK_TEMPERATURE_MIN} / 1000.,
                   highest = int{DRAVIK_TEMPERATURE_MAX} / 1000.;
  double degrees;
  if (!read_number(value, degrees) || !(degrees >= lowest && degrees <= highest))
    return false;
  put_code(files, reports::temperature_channel, code_of(degrees));
  return true;
}

struct setter {
  std::string_view key;
  bool (*set)(uint32_t number, std::string_view value, changed_files &files);
};

constexpr setter setters[] = {
    {"accel", set_movement}, {"adc.", set_code},    {"card", set_card},
    {"gpio.", set_level},    {"hdmi", set_monitor}, {"temperature", set_temperature},
};

constexpr bool all_are_inputs(const board_entry &entry) {
  for (std::string_view rest = entry.inputs; !rest.empty();)
    if (std::ranges::find(inputs, take_until(rest, ' '), &input::key) == std::end(inputs))
      return false;
  return true;
}

static_assert(std::ranges::all_of(board_table, all_are_inputs), "each input of board_table is in inputs");
static_assert(std::ranges::equal(setters, inputs, {}, &setter::key, &input::key),
              "each input has its function in setters");

const input *input_named(std::string_view key, uint32_t &number) {
  number = 0;
  for (const input &known : inputs) {
    const bool is_numbered = known.key.ends_with('.');
    if (is_numbered ? key.starts_with(known.key) && read_number(key.substr(known.key.size()), number)
                    : key == known.key)
      return &known;
  }
  return nullptr;
}

/// Returns the reason of a failure, else an empty text.
std::string take_change(std::string_view word, changed_files &files) {
  std::string_view value = word;
  const std::string_view key = take_until(value, '=');
  uint32_t number;
  const input *known = input_named(key, number);
  if (known == nullptr || key.size() == word.size())
    return "unknown input '" + std::string{word} + "'; try 'dravik-sim set --help'";
  return setters[known - inputs].set(number, value, files)
             ? ""
             : "invalid '" + std::string{word} + "'; must be " + std::string{known->values};
}

} // namespace

int32_t temperature_of_adc_code(uint32_t code) noexcept {
  return board::temperature_of_code(code);
}

std::string why_invalid_input(std::string_view change) {
  changed_files none;
  return take_change(change, none);
}

inputs_result set_inputs(const std::string &board, std::span<const std::string> changes, std::string &error) {
  changed_files files{board};
  for (const std::string &change : changes) {
    error = take_change(change, files);
    if (!error.empty())
      return inputs_result::invalid;
  }
  return files.save(error) ? inputs_result::done : inputs_result::failed;
}

bool set_gpio_line(const std::string &board, uint32_t line, bool is_high, std::string &error) {
  const std::string change = "gpio." + std::to_string(line) + (is_high ? "=1" : "=0");
  return set_inputs(board, {&change, 1}, error) == inputs_result::done;
}

} // namespace dravik::sim
