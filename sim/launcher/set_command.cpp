// "set": input values of a board, also while an application runs.

#include "board/accelerometer.hpp"
#include "board/board_table.hpp"
#include "board/settings_text.hpp"
#include "board/temperature_table.hpp"
#include "dravik.h"
#include "host/board_directory.hpp"
#include "host/card.hpp"
#include "host/reports.hpp"
#include "launcher/commands.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <map>
#include <unistd.h>

namespace dravik::sim {
namespace {

constexpr uint32_t last_line = 255;

/// Moves the memory card; on failure gives false and says why.
using card_move = bool (*)(const std::string &board, std::string &error);

/// The board's files as the changes leave them, until all changes are understood.
class changed_files {
public:
  explicit changed_files(std::string board) : board_(std::move(board)) {}

  /// A file that is not there yet is empty.
  std::string &operator[](const std::string &inside) {
    const auto [found, is_new] = texts_.try_emplace(inside);
    std::string error;
    if (is_new && !read_text_in_board(board_, inside, found->second, error) && errno != ENOENT)
      unreadable_ = error;
    return found->second;
  }

  /// The files first: a card's lock is one of them.
  void then(card_move move) { card_move_ = move; }

  /// On failure gives false and says why in `error`.
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

bool set_card(uint32_t, std::string_view value, changed_files &files) {
  const card_move move = value == "in"       ? insert_unlocked
                         : value == "locked" ? insert_locked
                         : value == "out"    ? remove_card
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
  if (line > last_line || (value != "0" && value != "1"))
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

/// The code of the nearest temperature that the converter can tell.
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

struct input {
  std::string_view key;    ///< ends with a dot if a number follows
  std::string_view values; ///< for messages
  std::string_view help;   ///< complete lines
  bool (*set)(uint32_t number, std::string_view value, changed_files &files);
};

constexpr input inputs[] = {
    {"accel", "X,Y,Z, each -16000 to 16000", //
     "  accel=X,Y,Z          acceleration in mg, -16000 to 16000 (at rest: 0,0,1000)\n", set_movement},
    {"adc.", "0 to 0x3ff, channel 0 to 3",
     "  adc.CHANNEL=CODE     ADC code, 0 to 1023 or 0x0 to 0x3ff; channels 0 to 3\n", set_code},
    {"card", "in, locked or out",
     R"(  card=in|locked|out   insert the memory card, insert it write-protected,
                       or remove it
)",
     set_card},
    {"gpio.", "0 or 1, line 0 to 255", "  gpio.LINE=LEVEL      0 (low) or 1 (high); lines 0 to 255\n",
     set_level},
    {"hdmi", "on or off", "  hdmi=on|off          attach or detach a monitor\n", set_monitor},
    {"temperature", "-1 to 117",
     R"(  temperature=DEGREES  -1 to 117 degrees Celsius, on ADC channel 1;
                       resolution about 0.1
)",
     set_temperature},
};

static_assert(std::ranges::all_of(inputs,
                                  [](const input &known) {
                                    return std::ranges::any_of(board_table, [&](const board_entry &entry) {
                                      return contains_word(entry.inputs, known.key);
                                    });
                                  }),
              "each input is in the entry of board_table that it changes");

constexpr std::string_view before_keys =
    R"(Usage: dravik-sim set BOARD KEY=VALUE ...

Set input values of a simulated board.

A change takes effect at the application's next read. If any value is
invalid, nothing is changed. If the memory card cannot be moved, the other
values are changed nevertheless.

Keys:
)";

constexpr std::string_view after_keys = R"(
Examples:
  dravik-sim set desk temperature=41.5
  dravik-sim set desk gpio.68=1 accel=0,2500,1000

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

struct help_text {
  constexpr void append(std::string_view part) {
    std::ranges::copy(part, text.begin() + length);
    length += static_cast<std::ptrdiff_t>(part.size());
  }

  std::array<char, 2048> text = {};
  std::ptrdiff_t length = 0;
};

constexpr help_text joined_help = [] {
  help_text help;
  help.append(before_keys);
  for (const input &known : inputs)
    help.append(known.help);
  help.append(after_keys);
  return help;
}();

constexpr std::string_view set_help{joined_help.text.data(), static_cast<size_t>(joined_help.length)};

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
  return known->set(number, value, files)
             ? ""
             : "invalid '" + std::string{word} + "'; must be " + std::string{known->values};
}

outcome set(const std::string &board, const command_line &given, std::string &error) {
  changed_files files{board};
  for (const std::string &change : std::span{given.operands()}.subspan(1)) {
    error = take_change(change, files);
    if (!error.empty())
      return outcome::misused;
  }
  return files.save(error) ? outcome::done : outcome::failed;
}

} // namespace

extern constinit const command set_command = {.name = "set",
                                              .summary = "set input values",
                                              .help = set_help,
                                              .operands = "BOARD KEY=VALUE",
                                              .optional_operands = tools::any_number,
                                              .run = on_board<set>};

} // namespace dravik::sim
