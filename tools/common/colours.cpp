// Names and numbers of colours.

#include "common/colours.hpp"

#include "dravik.h"

#include <charconv>

namespace dravik::tools {
namespace {

struct colour_name {
  std::string_view name;
  uint16_t colour;
};

constexpr colour_name names[] = {
    {"white", DRAVIK_WHITE},   {"black", DRAVIK_BLACK},     {"red", DRAVIK_RED},
    {"green", DRAVIK_GREEN},   {"blue", DRAVIK_BLUE},       {"grey", DRAVIK_GREY},
    {"yellow", DRAVIK_YELLOW}, {"magenta", DRAVIK_MAGENTA}, {"cyan", DRAVIK_CYAN},
    {"orange", DRAVIK_ORANGE},
};

std::optional<uint32_t> hexadecimal(std::string_view digits) noexcept {
  uint32_t value = 0;
  const char *const end = digits.data() + digits.size();
  const auto [stop, status] = std::from_chars(digits.data(), end, value, 16);
  if (status != std::errc{} || stop != end)
    return {};
  return value;
}

constexpr uint16_t truncated(uint32_t rgb) noexcept {
  return static_cast<uint16_t>((rgb >> 8 & 0xF800) | (rgb >> 5 & 0x07E0) | (rgb >> 3 & 0x001F));
}

} // namespace

std::optional<uint16_t> colour_named(std::string_view text) noexcept {
  for (const colour_name &known : names)
    if (known.name == text)
      return known.colour;
  std::optional<uint32_t> value;
  if (text.starts_with("0x") && text.size() <= 6)
    value = hexadecimal(text.substr(2));
  else if (text.starts_with('#') && text.size() == 7)
    value = hexadecimal(text.substr(1));
  if (!value)
    return {};
  return text.starts_with('#') ? truncated(*value) : static_cast<uint16_t>(*value);
}

std::optional<uint16_t> background_named(std::string_view text) noexcept {
  if (text == "theme")
    return DRAVIK_THEME;
  if (text == "none")
    return DRAVIK_TRANSPARENT;
  return colour_named(text);
}

uint16_t colour_or_error(colour_reader *read, const std::string &text, std::string &error) {
  const std::optional<uint16_t> colour = read(text);
  if (!colour)
    error = "invalid colour '" + text + "'; must be a name, 0x and RGB565, or # and RGB" +
            (read == background_named ? ", theme or none" : "");
  return colour.value_or(0);
}

} // namespace dravik::tools
