// The inputs of a board, as `dravik-sim set` names them.
#pragma once

#include "board/board_table.hpp"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace dravik::sim {

constexpr uint32_t gpio_lines = 256;

constexpr uint32_t led_line_red = 82;
constexpr uint32_t led_line_green = 83;

struct input {
  std::string_view key;    ///< ends with a dot if a number follows
  std::string_view values; ///< for messages
  std::string_view help;   ///< complete lines
};

inline constexpr input inputs[] = {
    {"accel", "X,Y,Z, each -16000 to 16000",
     "  accel=X,Y,Z          acceleration in mg, -16000 to 16000 (at rest: 0,0,1000)\n"},
    {"adc.", "0 to 0x3ff, channel 0 to 3",
     "  adc.CHANNEL=CODE     ADC code, 0 to 1023 or 0x0 to 0x3ff; channels 0 to 3\n"},
    {"card", "in, locked, out, mount or umount",
     R"(  card=in|locked|out|mount|umount
                       insert the memory card, insert it write-protected,
                       remove it, mount it, or unmount it
)"},
    {"gpio.", "0 or 1, line 0 to 255", "  gpio.LINE=LEVEL      0 (low) or 1 (high); lines 0 to 255\n"},
    {"hdmi", "on or off", "  hdmi=on|off          attach or detach a monitor\n"},
    {"temperature", "-1 to 117",
     R"(  temperature=DEGREES  -1 to 117 degrees Celsius, on ADC channel 1;
                       resolution about 0.1
)"},
};

static_assert(std::ranges::all_of(inputs,
                                  [](const input &known) {
                                    return std::ranges::any_of(board_table, [&](const board_entry &entry) {
                                      return contains_word(entry.inputs, known.key);
                                    });
                                  }),
              "each input is in the entry of board_table that it changes");

/// Return the temperature of a code as the library reads it, in thousandths of a degree Celsius.
int32_t temperature_of_adc_code(uint32_t code) noexcept;

/// Return why set_inputs() would reject a text; empty if it would not. Depends on no board.
[[nodiscard]] std::string why_invalid_input(std::string_view change);

enum class inputs_result : uint8_t { done, failed, invalid };

/// Set inputs by texts such as "gpio.68=1". If one is invalid, nothing is changed. Set `error` unless done.
[[nodiscard]] inputs_result set_inputs(const std::string &board, std::span<const std::string> changes,
                                       std::string &error);

/// Set one GPIO line. Return false and set `error` on failure.
[[nodiscard]] bool set_gpio_line(const std::string &board, uint32_t line, bool is_high, std::string &error);

} // namespace dravik::sim
