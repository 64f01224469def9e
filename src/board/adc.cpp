// ADC, read from the driver's text file.

#include "base/unique_file.hpp"
#include "board/temperature_table.hpp"
#include "dravik.h"

#include <array>
#include <cstring>
#include <span>

namespace dravik::board {
namespace {

constexpr const char *adc_file = "/proc/ambarella/adc";
constexpr uint32_t code_mask = DRAVIK_ADC_CODE_MAX;
constexpr size_t value_position = 9;
constexpr size_t longest_value = 3;
constexpr size_t channels = DRAVIK_ADC_CHANNELS;
constexpr int line_limit = DRAVIK_ADC_LINE_SIZE; ///< with its NUL: a longer line is read in pieces

using line = std::array<char, 32>;

/// Read lines from the start of the file. A missing line leaves its buffer unchanged. Return false if the
/// file cannot be opened.
bool read_lines(std::span<line> lines) noexcept {
  const unique_file file = open_file(adc_file, "r");
  if (file == nullptr) {
    std::fprintf(stderr, "open /proc/ambarella/adc error!\n");
    return false;
  }
  for (line &next : lines)
    if (std::fgets(next.data(), line_limit, file.get()) == nullptr)
      break;
  return true;
}

using value_text = std::array<char, longest_value + 1>;

void take_value(const line &from, size_t count, value_text &text) noexcept {
  text = {};
  std::memcpy(text.data(), from.data() + value_position, count);
}

int32_t code_of(const char *text) noexcept {
  return static_cast<int32_t>(atohex(text) & code_mask);
}

} // namespace
} // namespace dravik::board

extern "C" {

using namespace dravik::board;

int32_t read_adc_str(int32_t channel, char *dst) noexcept {
  std::array<line, channels> lines = {};
  if (!read_lines(lines))
    return -1;
  std::strcpy(dst, lines[static_cast<size_t>(channel) & (channels - 1)].data());
  return 0;
}

int32_t read_adc_hex(int32_t channel) noexcept {
  line text = {};
  read_adc_str(channel, text.data());
  return text[0] == '\0' ? -1 : code_of(text.data());
}

int32_t read_adc(uint32_t *codes) noexcept {
  std::array<line, channels> lines = {};
  if (!read_lines(lines))
    return -1;
  value_text value = {};
  for (size_t channel = 0; channel < channels; ++channel) {
    // Intentional: a line of any other length repeats the value of the line before it.
    const size_t length = std::strlen(lines[channel].data());
    if (length > value_position && length <= value_position + longest_value)
      take_value(lines[channel], length - value_position, value);
    codes[channel] = static_cast<uint32_t>(code_of(value.data()));
  }
  return 0;
}

int32_t read_temperature() noexcept {
  std::array<line, DRAVIK_ADC_TEMP_CHANNEL + 1> lines = {};
  if (!read_lines(lines))
    return -1;
  value_text value;
  take_value(lines[DRAVIK_ADC_TEMP_CHANNEL], longest_value, value);
  return temperature_of_code(static_cast<uint32_t>(code_of(value.data())));
}

} // extern "C"
