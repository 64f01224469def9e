// Hexadecimal text as numbers.

#include "dravik.h"

extern "C" {

uint32_t atohex(const char *text) noexcept {
  uint32_t value = 0;
  uint32_t digit = 0;
  for (; *text != '\0'; ++text) {
    // Any other character counts as a place too, and repeats the digit before it.
    if (*text >= '0' && *text <= '9')
      digit = static_cast<uint32_t>(*text - '0');
    if (*text >= 'a' && *text <= 'f')
      digit = static_cast<uint32_t>(*text - 'a' + 10);
    if (*text >= 'A' && *text <= 'F')
      digit = static_cast<uint32_t>(*text - 'A' + 10);
    value = (value << 4) + digit;
  }
  return value;
}

} // extern "C"
