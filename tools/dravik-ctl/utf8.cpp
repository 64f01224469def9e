// Decoding of UTF-8, strictly: no overlong forms, no surrogates, nothing above U+10FFFF.

#include "dravik-ctl/utf8.hpp"

#include <algorithm>

namespace dravik::ctl {
namespace {

struct utf8_form {
  uint8_t mask, marks;  ///< of the first byte
  uint32_t least, most; ///< of the codes that are written so
};

constexpr utf8_form forms[] = {
    {0x80, 0x00, 0, 0x7F},
    {0xE0, 0xC0, 0x80, 0x7FF},
    {0xF0, 0xE0, 0x800, 0xFFFF},
    {0xF8, 0xF0, 0x10000, 0x10FFFF},
};

/// The code of `bytes`, the first of which has the marks of `form`; more than any when they do not
/// fit together.
uint32_t code_of(std::string_view bytes, const utf8_form &form) noexcept {
  uint32_t code = static_cast<uint8_t>(bytes.front()) & static_cast<uint8_t>(~form.mask);
  for (const char next : bytes.substr(1)) {
    if ((next & 0xC0) != 0x80)
      return UINT32_MAX;
    code = code << 6 | (static_cast<uint8_t>(next) & 0x3F);
  }
  return code;
}

bool is_surrogate(uint32_t code) noexcept {
  return code >= 0xD800 && code <= 0xDFFF;
}

} // namespace

utf8_character take_character(std::string_view &text) noexcept {
  const auto first = static_cast<uint8_t>(text.front());
  const auto *const form =
      std::ranges::find_if(forms, [first](const utf8_form &f) { return (first & f.mask) == f.marks; });
  const size_t length = static_cast<size_t>(form - forms) + 1;
  if (form != std::end(forms) && length <= text.size()) {
    const std::string_view bytes = text.substr(0, length);
    const uint32_t code = code_of(bytes, *form);
    if (code >= form->least && code <= form->most && !is_surrogate(code)) {
      text.remove_prefix(length);
      return {bytes, code};
    }
  }
  text.remove_prefix(1);
  return {{}, 0};
}

} // namespace dravik::ctl
