// Reports of the board's drivers in text files.

#include "host/reports.hpp"
#include "board/settings_text.hpp"

#include <array>
#include <cstdio>

namespace dravik::sim::reports {
namespace {

std::string line_of(uint32_t channel, uint32_t code) {
  std::array<char, 32> text;
  const int length = std::snprintf(text.data(), text.size(), "adc%u = 0x%03x", channel, code & largest_code);
  return std::string(text.data(), static_cast<size_t>(length)) + std::string{"\0\n", 2};
}

} // namespace

std::string with_adc_code(std::string_view report, uint32_t channel, uint32_t code) {
  std::string changed;
  for (uint32_t line = 0; line <= channel || !report.empty(); ++line) {
    const bool is_there = !report.empty();
    const std::string_view before = take_until(report, '\n');
    if (line == channel)
      changed += line_of(channel, code);
    else
      changed += is_there ? std::string{before} + '\n' : line_of(line, 0);
  }
  return changed;
}

uint32_t adc_code(std::string_view report, uint32_t channel) noexcept {
  for (uint32_t line = 0; line < channel; ++line)
    take_until(report, '\n');
  std::string_view text = take_until(report, '\n');
  take_until(text, '=');
  text = trimmed(text.substr(0, text.find('\0')));
  uint32_t code = 0;
  if (!text.starts_with("0x") || !read_number(text.substr(2), code, 16))
    return 0;
  return code & largest_code;
}

} // namespace dravik::sim::reports
